#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs the commands of the documentation and builds its code against the installed tree, page by page in a fresh
# folder: `cpp` blocks that begin with a file name become that file, `sh` blocks are run, in the page's order.
set -euo pipefail
tree="$WORK_DIR/tree"
work="$WORK_DIR/documentation"
rm -rf "$work"
mkdir -p "$work"
export PATH="$tree/bin:$PATH" PKG_CONFIG_PATH="$tree/$LIBDIR/pkgconfig" LD_LIBRARY_PATH="$tree/$LIBDIR"
cd "$SOURCE_DIR"

# Building and testing the sources from a test of theirs would never end: of these commands the names are checked.
export real_dev="$SOURCE_DIR/dev"
cat >"$work/prelude.sh" <<'END'
set -euo pipefail
trap 'kill $(jobs -p) 2>/dev/null || true' EXIT
dev() { "$real_dev" help | grep -qE "^  $1 " || { echo "./dev has no command '$1'" >&2; return 1; }; }
END

# blocks PAGE: puts the page's blocks into the current folder.
blocks() {
  awk '
    /^ *```/ && kind == "" { kind = $0; sub(/^ *```/, "", kind); if (kind == "") kind = "text"; name = ""; next }
    /^ *```/ { kind = ""; next }
    kind == "sh" {
      gsub(/\.\/dev /, "dev "); sub(/^\.ci\/run$/, "test -x \"$SOURCE_DIR/.ci/run\"")
      if (/^(cmake|ctest|run-clang-tidy|git|cd) /) next
      print > "commands.sh"
    }
    kind == "cpp" {
      if (name == "" && /^\/\/ [a-z_]+\.cpp$/) name = $2
      print > (name == "" ? "unnamed.cpp" : name)
    }' "$1"
}

failures=0
for page in README.md CONTRIBUTING.md docs/*.md; do
  [ -e "$page" ] || continue
  folder="$work/$(basename "$page" .md)"
  mkdir "$folder"
  (cd "$folder" && blocks "$SOURCE_DIR/$page")
  # Links to other files of the sources lead somewhere.
  for target in $(grep -oE '\]\([^)#: ]+' "$page" | cut -c3-); do
    [ -e "$(dirname "$page")/$target" ] || { echo "$page: no $target" >&2; failures=$((failures + 1)); }
  done
  if [ -e "$folder/unnamed.cpp" ]; then
    "$CXX" -std=c++20 -fsyntax-only -x c++ "$folder/unnamed.cpp" $(pkg-config --cflags vireo_genicam) ||
      { echo "$page: its code does not compile" >&2; failures=$((failures + 1)); }
  fi
  [ -e "$folder/commands.sh" ] || continue
  echo "== $page"
  # shellcheck disable=SC2016
  (cd "$folder" && timeout 120 bash -c 'source ../prelude.sh; set -v; source ./commands.sh') ||
    { echo "$page: a command failed" >&2; failures=$((failures + 1)); }
done

newest=$(sed -n 's/^## //p' CHANGELOG.md | head -n 1)
[ "$newest" = "$VERSION" ] || { echo "CHANGELOG.md begins with $newest, the project is $VERSION" >&2; failures=1; }
[ "$failures" -eq 0 ]
