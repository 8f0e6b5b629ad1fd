# What the install checks share: the staged install they look at, the tool's
# own list of commands and options to hold the files against, and the way a
# check that cannot run here says so (ctest shows it as skipped).

stage=${TESSEL_STAGE:?TESSEL_STAGE names the folder the install was staged in}
bin=$stage/usr/bin
share=$stage/usr/share
failed=0

skip() {
    echo "skipped: $*"
    exit 77
}

need() {
    command -v "$1" >/dev/null || skip "$1 is not installed (scripts/install-deps installs it)"
}

fail() {
    echo "FAIL: $*" >&2
    failed=1
}

# wait_for SECONDS WHAT COMMAND...: polls COMMAND until it succeeds.
wait_for() {
    local seconds=$1 what=$2
    shift 2
    for ((tenths = 0; tenths < seconds * 10; tenths++)); do
        "$@" && return 0
        sleep 0.1
    done
    fail "$what did not happen within $seconds seconds"
    return 1
}

# The commands, as "tessel --help" lists them.
tool_commands() {
    "$bin/tessel" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z][a-z0-9-]*\) .*/\1/p'
}

# The options of one command, as its help lists them.
tool_options() {
    "$bin/tessel" "$1" --help | sed -n 's/^  \(--[a-z][a-z0-9-]*\).*/\1/p'
}

# The app id: the name the desktop entry is installed under.
app_id() {
    local entries=("$share"/applications/*.desktop)
    [ ${#entries[@]} -eq 1 ] && [ -f "${entries[0]}" ] || { echo "no single desktop entry in $share/applications" >&2; return 1; }
    basename "${entries[0]}" .desktop
}
