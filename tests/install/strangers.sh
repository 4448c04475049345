#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# With VIREO_FRAMEWORK_DIR only the plug-in is built, against the framework that is installed there: here one of
# strangers. A host of that framework uses the plug-in and gets its records, byte for byte.
set -euo pipefail
sources="$SOURCE_DIR/tests/install/strangers"
framework="$WORK_DIR/framework"
rm -rf "$framework" "$WORK_DIR/strangers-build" "$WORK_DIR/framework-build"
install_into_framework() {
  "$CMAKE" -S "$1" -B "$2" -DVIREO_FRAMEWORK_DIR="$framework" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_LIBDIR="$LIBDIR"
  "$CMAKE" --build "$2"
  "$CMAKE" --install "$2" --prefix "$framework" >/dev/null
}
install_into_framework "$sources" "$WORK_DIR/strangers-build"
install_into_framework "$SOURCE_DIR" "$WORK_DIR/framework-build"

built=$(find "$WORK_DIR/framework-build/bin" -type f -printf '%f\n')
[ "$built" = libvireo_genicam_arv.so ] || { echo "built more than the plug-in: $built" >&2; exit 1; }
plugin="$framework/$LIBDIR/libvireo_genicam_arv.so"
# The plug-in finds the framework beside itself.
[ "$(ldd "$plugin" | grep -cF "$framework/$LIBDIR/")" = 3 ]
"$framework/bin/strangers_host" "$plugin" "$SOURCE_DIR/host/share/simulated_camera.xml" | diff -u "$sources/expected.txt" -
