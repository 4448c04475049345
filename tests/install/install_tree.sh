#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs into a fresh prefix; everything that belongs there is there, nothing else, and the tool runs from it.
set -euo pipefail
tree="$WORK_DIR/tree"
rm -rf "$tree"
"$CMAKE" --install "$BUILD_DIR" --prefix "$tree" >/dev/null

sed "s|@LIBDIR@|$LIBDIR|" "$SOURCE_DIR/tests/install/files.txt" | sort >"$WORK_DIR/expected-files.txt"
# CMake names the file of imported locations after the build type.
(cd "$tree" && find . -type f -printf '%P\n') | sed 's|-targets-[a-z]*\.cmake|-targets-TYPE.cmake|' | sort \
  >"$WORK_DIR/installed-files.txt"
diff -u "$WORK_DIR/expected-files.txt" "$WORK_DIR/installed-files.txt" || {
  echo "the installed files differ (- missing, + unexpected): mend the install rules or tests/install/files.txt" >&2
  exit 1
}

rm -rf "$WORK_DIR/frames"
"$tree/bin/vireo-cam" --version
"$tree/bin/vireo-cam" --simulate grab -n 2 -o "$WORK_DIR/frames"
