#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# examples/test.sh PREFIX: builds the installed examples by the commands of the installed guides, in a
# folder of their own, and runs them.
set -euo pipefail
prefix=$1
work=$(mktemp -d "${TMPDIR:-/tmp}/examples.XXXXXX")
trap 'kill $(jobs -p) 2>/dev/null; rm -rf "$work"' EXIT
cd "$prefix/share/doc/wireless-charger"

# The three lines of a guide that copy, configure and build an example.
build() {
    local commands
    commands=$(sed -n "/^cp -r examples/,+2p" "docs/$1" |
        sed "s|/tmp/$2|'$work/$2'|g; s|=PREFIX|='$prefix'|")
    [[ $commands == *"--build"* ]] || { echo "docs/$1 does not say how to build $2"; exit 1; }
    bash -ec "$commands" >"$work/build.log" 2>&1 || { cat "$work/build.log"; exit 1; }
}
build clients.md client
build own-service.md own-service
mkdir "$work/pkg-config"
flags=$(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --cflags --libs wireless_charger)
eval "g++ -std=c++20 examples/client/main.cpp -o '$work/pkg-config/client' $flags"

export ANDROID_HOST_DIR=$work/run ANDROID_HOST_UEVENT_SOCKET=$work/run/uevent
"$prefix/bin/vendor.zorvak.wireless_charger-service" 2>"$work/service.log" &
"$work/own-service/build/thermometer_service" &
"$prefix/bin/wlc" --wait 30 version >/dev/null
for client in "$work/client/build/charger_client" "$work/pkg-config/client"; do
    timeout 60 "$client" >"$work/client.out" &
    pid=$!
    for _ in {1..200}; do
        [[ $("$prefix/bin/wlc" dump) == *'Alignment: 1'* ]] && break
        sleep 0.1
    done
    grep -q "^fan level " "$work/client.out"
    for state in 0 1 2; do "$prefix/bin/dockctl" align "$state" >/dev/null; done
    wait "$pid"
    grep -c 'AlignInfo{' "$work/client.out" | grep -qx 3
done
# shellcheck source=/dev/null
. "$prefix/share/bash-completion/completions/wlc"
COMP_WORDS=(wlc --json fan s)
COMP_CWORD=3
_wlc
[[ ${COMPREPLY[*]} == set ]]
PATH="$prefix/lib/wireless-charger/bin:$PATH" service list | grep -q example.IThermometer
"$work/own-service/build/thermometer_client" 2 | grep -q 'temperature: 202'
if "$work/own-service/build/thermometer_client" 4 >/dev/null; then exit 1; fi

test_python() {
    PYTHONPATH="$prefix/lib/python3/dist-packages" /usr/bin/python3 -B -m pytest -q \
        -p no:cacheprovider -p wireless_charger.pytest_plugin "$@" >"$work/pytest.log" 2>&1
}
test_python examples/pytest/test_dock.py || { cat "$work/pytest.log"; exit 1; }
# A dock that talks nonsense is a readable failure.
mkdir "$work/broken"
printf '%s\n' '#!/bin/sh' 'echo nonsense' >"$work/broken/dockctl"
chmod +x "$work/broken/dockctl"
ln -s "$prefix"/bin/{wlc,vendor.*} "$work/broken"
if WIRELESS_CHARGER_BIN="$work/broken" test_python examples/pytest/test_dock.py ||
    ! grep -q "^E .*Error: .*dockctl .* said 'nonsense', not a JSON object" "$work/pytest.log"; then
    cat "$work/pytest.log"
    exit 1
fi
echo "the examples work"
