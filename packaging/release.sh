#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# packaging/release.sh OUT: the source archive of the commit, and the packages built from that archive.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
fail() {
    echo "release: $*" >&2
    exit 1
}
[[ -z $(git status --porcelain) ]] ||
    fail "there are changes that are not committed; commit or stash them: git status"
version=$(sed -n 's/^project(.* VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
noted=$(sed -n 's/^## //p' CHANGELOG.md | head -n 1)
[[ $version == "$noted" ]] ||
    fail "CMakeLists.txt has version $version, the first heading of CHANGELOG.md is '$noted'"

rm -rf "$1"
mkdir -p "$1"
out=$(cd "$1" && pwd)
name=wireless-charger-$version
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH
git archive --prefix="$name/" HEAD | gzip -9n >"$out/$name.tar.gz"

work=$(mktemp -d "${TMPDIR:-/tmp}/release.XXXXXX")
trap 'rm -rf "$work"' EXIT
tar -xzf "$out/$name.tar.gz" -C "$work"
echo "building $name.tar.gz"
"$work/$name/dev" build package >"$out/build.log" 2>&1 ||
    { tail -n 40 "$out/build.log"; fail "the archive does not build"; }
rm "$out/build.log"
"$work/$name/packaging/package.sh" "$work/$name/build/package" "$out"

# Unpacked side by side, without their scripts: files of two packages must not collide.
mkdir -p "$work/root/var/lib/dpkg"/{info,updates}
touch "$work/root/var/lib/dpkg/status"
fakeroot dpkg --root="$work/root" --log=/dev/null --force-depends --force-not-root --unpack \
    "$out"/*.deb >"$work/dpkg.log" 2>&1 || { cat "$work/dpkg.log"; fail "the packages do not install"; }
said=$("$work/root/usr/bin/wlc" --version)
[[ $said == *" $version" ]] || fail "the packaged wlc says '$said' instead of $version"
(cd "$out" && sha256sum -- * >SHA256SUMS && cat SHA256SUMS)
