#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# packaging/chroot_test.sh FOLDER: installs the packages in FOLDER on a bare Debian 12 in a chroot, and
# builds and runs the examples there as an ordinary user. Root only; takes a few minutes.
set -euo pipefail
((EUID == 0)) || { echo "chroot_test.sh: only root can make a chroot" >&2; exit 1; }
source=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
packages=("$1"/*.deb)
# shellcheck disable=SC2016
mirror=$(apt-get indextargets --format '$(SITE)' 'Created-By: Packages' 'Release: bookworm' | head -n 1)
[[ -n $mirror ]] || { echo "chroot_test.sh: apt knows no mirror of bookworm" >&2; exit 1; }

root=$(mktemp -d "${TMPDIR:-/tmp}/chroot.XXXXXX")
chmod 755 "$root"
clean() {
    if mountpoint -q "$root/proc"; then umount "$root/proc"; fi
    rm -rf --one-file-system "$root" "$root.log"
}
trap clean EXIT
# step TEXT COMMAND...: the output only when it fails.
step() {
    local start=$SECONDS text=$1
    shift
    "$@" >"$root.log" 2>&1 </dev/null || { cat "$root.log"; echo "FAILED: $text"; exit 1; }
    printf '%4d s  %s\n' $((SECONDS - start)) "$text"
}
inside() { chroot "$root" env -i PATH="$PATH" DEBIAN_FRONTEND=noninteractive HOME=/home/user "$@"; }
get() { inside apt-get install -y -qq --no-install-recommends "$@"; }
user() { inside setpriv --reuid 1000 --regid 1000 --clear-groups env -C /home/user "$@"; }

step "a bare Debian 12" debootstrap --variant=minbase bookworm "$root" "$mirror"
# The host's proxies, whose names may hold a password.
(umask 077 && apt-config dump Acquire >"$root/etc/apt/apt.conf.d/99host")
mountpoint -q "$root/proc" || mount -t proc proc "$root/proc"
install -d -o 1000 -g 1000 "$root/home/user"
install -d "$root/packages"
cp "${packages[@]}" "$root/packages"
step "package lists" inside apt-get update -qq
step "the packages alone" get "${packages[@]/#*\//\/packages\/}"
# shellcheck disable=SC2016
step "the service and its tools" user bash -ec '
    export ANDROID_HOST_DIR=$PWD/run
    trap "kill %1" EXIT
    vendor.zorvak.wireless_charger-service &
    wlc --wait 30 status
    dockctl status
    /usr/lib/wireless-charger/bin/dumpsys vendor.zorvak.wireless_charger.IWirelessCharger/default'
step "systemd, compiler, CMake and pytest" get systemd g++ cmake make \
    pkg-config python3-pytest
step "the systemd units" inside env XDG_RUNTIME_DIR=/tmp \
    systemd-analyze --user --man=no verify /usr/lib/systemd/user/wireless-charger.service
cp "$source/examples/test.sh" "$root/home/user"
step "the examples" user bash test.sh /usr
step "removal" inside apt-get purge -y -qq '*wireless-charger*'
left=$(find "$root/usr" -path '*wireless?charger*')
[[ -z $left ]] || { echo "left behind: $left"; exit 1; }
echo "the packages work on a bare Debian 12"
