#!/usr/bin/env bash
# completion.sh bash|zsh|fish: the installed completion of tessel passes the
# shell's syntax check, and, where the shell can be asked from a script (bash,
# fish), completes every command, every option of each command, an option's
# choices, and file names where the help says PATH.
source "$(dirname "$0")/lib.sh"
shell=$1
need "$shell"

case $shell in
    bash) script=$share/bash-completion/completions/tessel ;;
    zsh) script=$share/zsh/vendor-completions/_tessel ;;
    fish) script=$share/fish/vendor_completions.d/tessel.fish ;;
    *) echo "completion.sh: no shell $shell" >&2; exit 2 ;;
esac
[ -f "$script" ] || { fail "no $shell completion at $script"; exit 1; }
"$shell" -n "$script" || fail "$shell -n finds fault with $script"

# What the shell offers for a command line whose last word is being typed.
offered() {
    case $shell in
        bash) bash -c 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _tessel; printf "%s\n" "${COMPREPLY[@]}"' \
                   - "$script" "$@" ;;
        fish) fish -c 'source $argv[1]; complete -C"$argv[2]"' "$script" "$*" | cut -f1 ;;
    esac
}

if [ "$shell" = zsh ]; then
    # zsh completes only inside its line editor; its list of commands must still be the tool's.
    for command in $(tool_commands); do
        grep -q "^ *'$command:" "$script" || fail "the zsh completion does not offer $command"
    done
    exit $failed
fi

commands=$(tool_commands)
all=$(offered tessel '')
for command in $commands; do
    grep -qx "$command" <<<"$all" || fail "$shell does not complete the command $command"
    options=$(offered tessel "$command" --)
    for option in $(tool_options "$command") --help; do
        grep -qx -- "$option" <<<"$options" || fail "$shell does not complete $option after tessel $command"
    done
done
[ "$(offered tessel sea)" = search ] || fail "$shell does not complete \"sea\" to search"
[ "$(offered tessel search --kind '' | sort | tr '\n' ' ')" = "files folders " ] ||
    fail "$shell does not offer the choices of search --kind"

# File names where a PATH goes, none where a number goes.
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/pictures"
cd "$folder" || exit 1
offered tessel scan pic | grep -q '^pictures' || fail "$shell does not complete a folder for the PATH of scan"
[ -z "$(offered tessel scan --workers pic)" ] || fail "$shell offers file names for the number --workers takes"
exit $failed
