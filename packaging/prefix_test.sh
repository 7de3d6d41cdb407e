#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# packaging/prefix_test.sh BUILD_FOLDER: installs the build, moves the prefix to a path with a space in
# it and tests the examples there, with the source tree out of sight; as another user when run by root.
set -euo pipefail
source=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/prefix.XXXXXX")
trap 'rm -rf "$work"' EXIT

cmake --install "$1" --prefix "$work/first" --strip >/dev/null
prefix="$work/copied prefix"
mv "$work/first" "$prefix"
if grep -rlF -e "$work/first" -e "$source/" "$prefix"; then
    echo "these files name the folder they were made in"
    exit 1
fi
cp "$source/examples/test.sh" "$work"
mkdir "$work/home"
run=(env -C "$work" HOME="$work/home" TMPDIR="$work/home" CMAKE_GENERATOR=Ninja)
if ((EUID == 0)); then
    chmod 755 "$work"
    chown 65534:65534 "$work/home"
    run+=(setpriv --reuid 65534 --regid 65534 --clear-groups)
fi
run+=(bash "$work/test.sh" "$prefix")

# In a mount namespace of its own the source tree can be covered.
unshare=(unshare --mount)
((EUID == 0)) || unshare+=(--map-root-user)
if "${unshare[@]}" mount -t tmpfs none "$source" 2>/dev/null; then
    # shellcheck disable=SC2016
    "${unshare[@]}" bash -c 'mount -t tmpfs none "$0" && exec "$@"' "$source" "${run[@]}"
else
    echo "no mount namespaces here: the source tree stays in sight"
    "${run[@]}"
fi
