#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# With VIREO_FRAMEWORK_DIR only the plug-in is built, against the framework that is installed there; here that
# is a prefix with our own framework libraries and nothing else of ours.
set -euo pipefail
framework="$WORK_DIR/framework"
build="$WORK_DIR/framework-build"
rm -rf "$framework" "$build"
mkdir -p "$framework/$LIBDIR"
cp -r "$WORK_DIR/tree/include" "$framework/"
rm "$framework/include/vireo/genicam/adapter.h"
for library in brioFndDefs vireo_com vireo_genicam; do
  cp "$WORK_DIR/tree/$LIBDIR/lib$library.so" "$framework/$LIBDIR/"
done

"$CMAKE" -S "$SOURCE_DIR" -B "$build" -DVIREO_FRAMEWORK_DIR="$framework" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_INSTALL_LIBDIR="$LIBDIR"
"$CMAKE" --build "$build"

built=$(find "$build/bin" -type f -printf '%f\n')
[ "$built" = libvireo_genicam_arv.so ] || { echo "built more than the plug-in: $built" >&2; exit 1; }
"$CMAKE" --install "$build" --prefix "$framework" >/dev/null
plugin="$framework/$LIBDIR/libvireo_genicam_arv.so"
# The plug-in finds the framework beside itself, and a host that uses the same framework gets frames.
ldd "$plugin" | grep -E 'brioFndDefs|vireo' | sed 's/ (0x.*//'
[ "$(ldd "$plugin" | grep -cF "$framework/$LIBDIR/")" = 3 ]
rm -rf "$WORK_DIR/framework-frames"
"$WORK_DIR/tree/bin/vireo-cam" --adapter "$plugin" --simulate grab -n 2 -o "$WORK_DIR/framework-frames"
