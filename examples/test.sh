#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# examples/test.sh BUILD_FOLDER: installs the build, copies the prefix elsewhere, builds the examples
# against the copy and runs them.
set -euo pipefail
examples=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/examples.XXXXXX")
trap 'kill $(jobs -p) 2>/dev/null; rm -rf "$work"' EXIT

cmake --install "$1" --prefix "$work/first" --strip >/dev/null
prefix="$work/copied prefix"
mv "$work/first" "$prefix"
# Static libraries keep debug information.
if grep -rlF --exclude='*.a' -e "$work/first" -e "${examples%/examples}/" "$prefix"; then
    echo "these files name the folder they were made in"
    exit 1
fi

build() {
    cp -r "$examples/$1" "$work/$1"
    cmake -S "$work/$1" -B "$work/$1/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
    cmake --build "$work/$1/build" >"$work/$1.log" || { cat "$work/$1.log"; exit 1; }
}
build client
build own-service
mkdir "$work/pkg-config"
flags=$(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --cflags --libs wireless_charger)
eval "g++ -std=c++20 '$examples/client/main.cpp' -o '$work/pkg-config/client' $flags"

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
PYTHONPATH="$prefix/lib/python3/dist-packages" /usr/bin/python3 -B -m pytest -q -p no:cacheprovider \
    -p wireless_charger.pytest_plugin "$examples/pytest/test_dock.py" >"$work/pytest.log" ||
    { cat "$work/pytest.log"; exit 1; }
echo "the examples work"
