#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# docs/demo.sh BIN: the service on the virtual dock in a folder of its own, real calls from other
# processes, and a check of what each of them shows. Leaves nothing running and nothing behind.
# DEMO_UEVENT_SOCKET=1 for users to whom the kernel's uevents are closed. `./dev demo` does it all.
# DEMO_RECORD=FOLDER records a trace of each dock there. With DEMO_REPLAY=FOLDER such traces take the
# docks' place, and whatever the services ask otherwise makes it fail.
set -euo pipefail
bin=$(cd "$1" && pwd)
PATH=$bin:$PATH
# The requests of two runs are the same, so that recordings of them can be compared.
nonce=000102030405060708090a0b0c0d0e0f
instance=vendor.zorvak.wireless_charger.IWirelessCharger/default

ANDROID_HOST_DIR=$(mktemp -d "${TMPDIR:-/tmp}/dock-demo.XXXXXX")
export ANDROID_HOST_DIR
home=$ANDROID_HOST_DIR
export XDG_STATE_HOME=$home/state
uevents="the kernel's netlink socket"
if [[ -n ${DEMO_UEVENT_SOCKET:-} ]]; then
    export ANDROID_HOST_UEVENT_SOCKET=$ANDROID_HOST_DIR/uevent
    uevents="a datagram socket"
fi
log=$home/service.log
children=()
record=${DEMO_RECORD:-}
replay=${DEMO_REPLAY:-}

cleanup() {
    local status=$? pid
    trap - EXIT
    for pid in "${children[@]}"; do kill "$pid" 2>/dev/null || true; done
    for pid in "${children[@]}"; do
        for _ in {1..50}; do
            kill -0 "$pid" 2>/dev/null || break
            sleep 0.1
        done
        kill -KILL "$pid" 2>/dev/null && echo "process $pid did not end by itself" && status=1
        wait "$pid" 2>/dev/null || true
    done
    if ((status)) && [[ -s $log ]]; then
        printf '\nthe service said at the end:\n'
        tail -n 20 "$log"
    fi
    rm -rf "$home"
    ((status)) && printf '\ndemo: something went wrong (%d)\n' "$status"
    exit "$status"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

tell() { printf '\n\033[1m# %s\033[0m\n' "$*"; }
indent() { sed 's/^/    /'; }
fail() {
    printf 'demo: %s\n' "$*"
    exit 1
}

# show EXPECTED COMMAND...: runs it, prints it with what it says; EXPECTED has to be in that.
show() {
    local expected=$1 said status=0
    shift
    printf '$ %s\n' "$*"
    said=$("$@" 2>&1) || status=$?
    printf '%s\n' "$said" | indent
    ((status == 0)) || fail "'$*' ended with $status"
    grep -qE -- "$expected" <<<"$said" || fail "'$*' did not say '$expected'"
}

# refused STATUS EXPECTED COMMAND...: the same for a command that has to be refused.
refused() {
    local wanted=$1 expected=$2 said status=0
    shift 2
    printf '$ %s\n' "$*"
    said=$("$@" 2>&1) || status=$?
    printf '%s\n' "$said" | indent
    printf '    (exit %d)\n' "$status"
    ((status == wanted)) || fail "'$*' ended with $status, not $wanted"
    grep -qE -- "$expected" <<<"$said" || fail "'$*' did not say '$expected'"
}

# wait_for FILE TEXT COUNT: until that many lines of the file hold the text.
wait_for() {
    for _ in {1..100}; do
        (($(grep -cE -- "$2" "$1" 2>/dev/null || true) >= $3)) && return
        sleep 0.1
    done
    cat "$1"
    fail "waited 10 s for '$2' in ${1##*/}"
}

# start COMMAND...: in the background; $! is its process. Ended by reap, stop or the end of the demo.
start() {
    "$@" &
    children+=($!)
}

# reap PID: waits until the process has ended; fails when it failed.
reap() {
    local each left=() status=0
    wait "$1" || status=$?
    for each in "${children[@]}"; do [[ $each == "$1" ]] || left+=("$each"); done
    children=("${left[@]}")
    return "$status"
}

# stop [-SIGNAL] PID
stop() {
    kill "$@"
    reap "${*: -1}"
}

start_service() {
    start vendor.zorvak.wireless_charger-service >>"$log" 2>&1
    service=$!
}

# at_dock EXPECTED COMMAND...: show, but nothing in a replay: what happens at the dock is in the trace.
at_dock() { [[ -n $replay ]] || show "$@"; }

# record_dock NAME, replay_dock NAME: from here on, when that was asked for; until end_trace.
record_dock() { [[ -z $record ]] || dockctl record "$record/$1.trace"; }
replay_dock() {
    [[ -n $replay ]] || return 0
    start dockctl replay --strict "$replay/$1.trace" >"$home/replay" 2>&1
    replayed=$!
    wait_for "$home/replay" 'replaying at' 1
}
end_trace() {
    [[ -z $record ]] || show ' lines' dockctl record stop
    [[ -n $replay ]] || return 0
    stop "$replayed" && return
    cat "$home/replay"
    fail "the services did not ask what is in the trace"
}

tell "The service starts on the virtual dock, in $ANDROID_HOST_DIR"
replay_dock first
start_service
show '^version +8' wlc --wait 10 version
record_dock first
show "$instance" service list
show ': found' service check "$instance"

tell "Another process asks about fans, and the dock answers"
show '^ +7  yes' wlc fan list
show '^level +80$' wlc fan set 2 manual 80
show '"fan":2,"valid":true,"level":80' wlc --json fan get 2
at_dock '0f ?0a ?50 ?00' dockctl log
refused 1 'error 1 ' wlc fan get 8
show '^presence +on a dock' wlc status

tell "Something happens at the dock: uevents come through $uevents, subscribers are called"
watched=$ANDROID_HOST_DIR/watched
start wlc watch --initial --timeout 60 >"$watched" 2>&1
watcher=$!
wait_for "$watched" ' fan +initial yes' 1
at_dock '' dockctl align 0
wait_for "$watched" ' align +status 0' 1
at_dock '' dockctl fan-level 4
wait_for "$watched" ' fan +level 4' 1
at_dock '' dockctl rtx connect
wait_for "$watched" ' rtx +mode .*connected yes' 1
at_dock '' dockctl remove
wait_for "$watched" ' align +status 3' 1
at_dock '' dockctl place
wait_for "$watched" ' align +status 0' 2
show '^1$' getprop vendor.wlcservice.start
stop "$watcher" || fail "wlc watch ended with $?"
echo "and this is what wlc watch printed:"
indent <"$watched"

tell "The dock authenticates itself; a chain under a different root fails"
show 'The dock is genuine' wlc auth --virtual-dock --nonce "$nonce"
refused 1 'dock authentication failed' wlc auth --virtual-dock --nonce "$nonce" --slot 3

tell "New firmware for the dock, sent compressed"
image=$ANDROID_HOST_DIR/image
head -c 100000 < <(seq 100000) >"$image"
head -c 100000 /dev/zero >>"$image"
start wlc watch align >"$home/restart" 2>&1
watcher=$!
wait_for "$home/restart" '^watching' 1
show 'done: 200000 bytes, version 2\.1' \
    wlc firmware update "$image" --fw-version 2.1 --compress --reboot
# Until the service has heard that the dock went and came back.
wait_for "$home/restart" ' align +status 0' 1
stop "$watcher" || fail "wlc watch ended with $?"
show 'version major +2' wlc firmware info

tell "A look inside"
show 'IWirelessCharger Service:' dumpsys "$instance"
end_trace

tell "A service is killed during an update; the dock, now a process of its own, remembers"
export ANDROID_HOST_DIR=$home/second
mkdir -m 700 "$ANDROID_HOST_DIR"
if [[ -n ${DEMO_UEVENT_SOCKET:-} ]]; then
    export ANDROID_HOST_UEVENT_SOCKET=$ANDROID_HOST_DIR/uevent
fi
if [[ -z $replay ]]; then
    start virtual-dock 2>"$home/dock.log"
    wait_for "$home/dock.log" listening 1
fi
replay_dock second
record_dock second
start_service
show '^version +8' wlc --wait 10 version
at_dock '' dockctl delay sendPropRequest:26 3000 1 197
start wlc --json firmware update "$image" --fw-version 2.2 >"$home/progress" 2>&1
updater=$!
wait_for "$home/progress" '"percent":23' 1
# Until the dock has the next chunk, which it holds back.
sleep 1
# The shell would report it, too.
stop -KILL "$service" 2>/dev/null || true
reap "$updater" && fail "the update ended as if nothing had happened"
echo "and this is how its update ended:"
tail -n 1 "$home/progress" | indent
# Until the dock has dealt with it.
sleep 3
start_service
show 'done: 200000 bytes, version 2\.2' \
    wlc --wait 10 firmware update "$image" --fw-version 2.2 --resume
executed_image() { dockctl status | grep '^firmware target 0'; }
at_dock "executedDigest $(sha256sum "$image" | cut -d ' ' -f 1)" executed_image
end_trace

tell "Done; nothing is left running"
