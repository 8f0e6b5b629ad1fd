#!/usr/bin/env bash
# The installed manual pages: found by man under their names, formatted
# without a warning at 80 columns, and naming every command and option the
# programs' own help lists, each option in the entry of its command.
source "$(dirname "$0")/lib.sh"
need man

pages=$share/man
for name in tessel tessel-app; do
    MANPATH=$pages man -w "$name" >/dev/null 2>&1 || fail "man finds no page for $name under $pages"
done
for page in "$pages"/man1/*.1.gz; do
    warnings=$(MANWIDTH=80 man --warnings -l "$page" 2>&1 >/dev/null)
    [ -z "$warnings" ] || fail "$page formats with warnings: $warnings"
done

tool_page=$(MANWIDTH=80 man -l "$pages/man1/tessel.1.gz" 2>/dev/null)
for section in "EXIT STATUS" ENVIRONMENT FILES EXAMPLES; do
    grep -q "^$section" <<<"$tool_page" || fail "tessel(1) has no $section"
done
commands=$(tool_commands)
[ -n "$commands" ] || fail "tessel --help lists no commands"
for command in $commands; do
    # From its heading to the next command's or the next section.
    entry=$(awk -v heading="   tessel $command " '
        index($0, heading) == 1 || $0 == substr(heading, 1, length(heading) - 1) { inside = 1; print; next }
        inside && (/^   tessel / || /^[A-Z]/) { exit }
        inside { print }' <<<"$tool_page")
    if [ -z "$entry" ]; then
        fail "tessel(1) has no entry for $command"
        continue
    fi
    for option in $(tool_options "$command"); do
        grep -q -- "$option\b" <<<"$entry" || fail "tessel(1) does not give $option in the entry of $command"
    done
done

app_page=$(MANWIDTH=80 man -l "$pages/man1/tessel-app.1.gz" 2>/dev/null)
app_options=$(ASAN_OPTIONS=detect_leaks=0 QT_QPA_PLATFORM=offscreen "$bin/tessel-app" --help |
              sed -n 's/^ *\(-[a-z], \)\?\(--[a-z][a-z0-9-]*\).*/\2/p')
[ -n "$app_options" ] || fail "tessel-app --help lists no options"
for option in $app_options; do
    grep -qE -- "^       (-[a-z], )?$option\b" <<<"$app_page" || fail "tessel-app(1) does not describe $option"
done
exit $failed
