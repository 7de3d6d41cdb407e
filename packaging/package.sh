#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# packaging/package.sh BUILD_FOLDER OUT: makes the Debian packages of a build and checks them.
set -euo pipefail
build=$(cd "$1" && pwd)
mkdir -p "$2"
out=$(cd "$2" && pwd)
rm -rf "$out"/*.deb "$out/_CPack_Packages"
(cd "$build" && cpack -B "$out") >"$build/cpack.log" 2>&1 || { cat "$build/cpack.log"; exit 1; }
rm -rf "$out/_CPack_Packages"
lintian --allow-root --fail-on error --display-level error "$out"/*.deb
ls "$out"/*.deb
