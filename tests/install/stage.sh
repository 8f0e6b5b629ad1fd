#!/usr/bin/env bash
# Installs the build into an empty folder, as a package build would: DESTDIR
# under the prefix /usr.
set -euo pipefail
build=$1 stage=$2
rm -rf "$stage"
DESTDIR=$stage cmake --install "$build" --prefix /usr >/dev/null
test -x "$stage/usr/bin/tessel" && test -x "$stage/usr/bin/tessel-app" && test -x "$stage/usr/libexec/tessel/tessel-reader"
