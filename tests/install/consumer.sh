#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# A separate project builds against the installed tree, through find_package and through pkg-config; it loads
# the plug-in as a host does and links its classes.
set -euo pipefail
tree="$WORK_DIR/tree"
consumer="$SOURCE_DIR/tests/install/consumer"
build="$WORK_DIR/consumer-build"
rm -rf "$build"
"$CMAKE" -S "$consumer" -B "$build" -DCMAKE_PREFIX_PATH="$tree" -DVIREO_WANTED_VERSION="$VERSION"
"$CMAKE" --build "$build"

export PKG_CONFIG_PATH="$tree/$LIBDIR/pkgconfig"
[ "$(pkg-config --modversion vireo_genicam)" = "$VERSION" ]
plugin=$(pkg-config --variable=plugin vireo_genicam)
# shellcheck disable=SC2046  # the flags are separate words
"$CXX" -std=c++20 "$consumer/linking_host.cpp" -o "$build/linking_host_pkg_config" \
  $(pkg-config --cflags --libs vireo_genicam) -Wl,-rpath,"$tree/$LIBDIR"

# expect TEXT PROGRAM...: the program ends well and prints exactly that.
expect() {
  local wanted=$1 printed
  shift
  printed=$("$@")
  printf '%s\n' "$printed"
  [ "$printed" = "$wanted" ] || { printf '%s should print:\n%s\n' "$1" "$wanted" >&2; exit 1; }
}
loads="protocol: genicam
connection: GenICamAdapter is not connected
read: GenICamAdapter: not connected"
links="parsed: Width = 640
linked: genicam, 1 disconnect, no device, error ''"
expect "$loads" "$build/loading_host" "$plugin"
expect "$links" "$build/linking_host"
expect "$links" "$build/linking_host_pkg_config"
