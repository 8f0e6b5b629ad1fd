#!/usr/bin/env bash
# The installed desktop entry, icons and AppStream metadata: valid by the
# desktop's own validators, named by one app id, and running programs that
# are installed, at the version the programs say.
source "$(dirname "$0")/lib.sh"
need desktop-file-validate
need appstreamcli

id=$(app_id) || exit 1
entry=$share/applications/$id.desktop
metainfo=$share/metainfo/$id.metainfo.xml

desktop-file-validate "$entry" || fail "desktop-file-validate found fault with $entry"
[[ $id =~ ^[a-z]+(\.[a-zA-Z0-9_-]+){2,}$ ]] || fail "the app id \"$id\" is not a reverse-DNS name"
grep -qx "Icon=$id" "$entry" || fail "$entry does not name the icon $id"
grep -q "^Categories=.*System;" "$entry" || fail "$entry is not in the System category"
grep -q "^Keywords=..*" "$entry" || fail "$entry has no keywords"

# Every program an entry or an action runs is installed, and every action is described.
while IFS= read -r program; do
    [ -x "$bin/$program" ] || fail "$entry runs $program, which is not installed in $bin"
done < <(sed -n 's/^Exec=\([^ ]*\).*/\1/p' "$entry")
actions=$(sed -n 's/^Actions=//p' "$entry" | tr ';' ' ')
[ -n "$actions" ] || fail "$entry offers no actions"
for action in $actions; do
    group=$(sed -n "/^\[Desktop Action $action\]/,/^\[/p" "$entry")
    grep -q '^Name=.' <<<"$group" && grep -q '^Exec=.' <<<"$group" || fail "the action $action has no Name or no Exec"
done

# The icon: scalable, and each fixed size drawn at its size (a PNG's width and height are bytes 17 to 24).
[ -f "$share/icons/hicolor/scalable/apps/$id.svg" ] || fail "no scalable icon $id.svg"
for size in 16 24 32 48 64 128 256; do
    png=$share/icons/hicolor/${size}x${size}/apps/$id.png
    if [ ! -f "$png" ]; then
        fail "no ${size}px icon"
        continue
    fi
    read -r width height < <(od -An -tu1 -j16 -N8 "$png" | awk '{print $3*256+$4, $7*256+$8}')
    [ "$width x $height" = "$size x $size" ] || fail "$png is $width x $height pixels"
done

appstreamcli validate --no-net "$metainfo" || fail "appstreamcli found fault with $metainfo"
# The tree as a software centre reads it: metadata, entry and icon together.
appstreamcli validate-tree --no-net "$stage" || fail "appstreamcli found fault with the installed tree"
grep -q "<id>$id</id>" "$metainfo" || fail "$metainfo is not for $id"
grep -q "<launchable type=\"desktop-id\">$id.desktop</launchable>" "$metainfo" || fail "$metainfo does not launch $id.desktop"

# One version number: the newest release of the metadata is the one both programs print.
version=$("$bin/tessel" --version | awk '{print $2}')
[ "$("$bin/tessel-app" --version)" = "tessel-app $version" ] || fail "tessel-app --version does not say $version"
grep -q "<release version=\"$version\"" "$metainfo" || fail "$metainfo has no release $version"
exit $failed
