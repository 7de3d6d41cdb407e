#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# demo_replay_test.sh DEMO BIN: the demo on replayed docks asks the same and shows the same, times apart.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export DEMO_UEVENT_SOCKET=1

# Without what is done at the dock itself, times and the name of the demo's folder.
shown() {
    awk '/^\$ / { skip = /^\$ (dockctl|executed_image)/ } /^[^ $]|^$/ { skip = 0 } !skip' "$1" |
        sed -E 's/[0-9]{2}:[0-9]{2}:[0-9]{2}\.[0-9]{3}/TIME/; s/  [0-9.]+ KiB\/s.*//; s/dock-demo\.\w+//'
}

DEMO_RECORD=$folder "$1" "$2" >"$folder/recorded" || { cat "$folder/recorded" && exit 1; }
DEMO_REPLAY=$folder "$1" "$2" >"$folder/replayed" || { cat "$folder/replayed" && exit 1; }
diff <(shown "$folder/recorded") <(shown "$folder/replayed")
# What was compared is the whole demo.
(($(shown "$folder/replayed" | grep -c '^\$ ') >= 15))
