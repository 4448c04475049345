#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Debian has fmt 9. A copy of its headers is made as strict as fmt 11's interface (fmt/base.h in place of
# fmt/core.h, no rvalues for make_format_args, no enumerations as numbers), and every source that formats is
# checked against that copy.
set -euo pipefail
headers="$WORK_DIR/fmt11"
rm -rf "$headers"
mkdir -p "$headers"
cp -r "$(pkg-config --variable=includedir fmt)/fmt" "$headers/"
cd "$headers/fmt"

# replace OLD NEW FILE...: fails when nothing was there to replace.
replace() {
  local old=$1 new=$2
  shift 2
  grep -qE "$old" "$@"
  sed -Ei "s%$old%$new%" "$@"
}
mv core.h base.h
echo '#error "fmt/core.h is gone: include fmt/format.h"' >core.h
replace '"core.h"' '"base.h"' *.h
replace 'make_format_args\(Args&&\.\.\. args\)' 'make_format_args(Args\&... args)' base.h
replace 'return \{FMT_FORWARD\(args\)\.\.\.\};' 'return {args...};' base.h
replace 'std::is_enum<T>::value&& std::is_convertible<T, int>::value' 'false' base.h

# The compiler's lines of this build, with the strict headers first and no code made.
grep -h '"command"' "$BUILD_DIR/compile_commands.json" | grep -E '/(foundation|common|genicam|host)/[^ ]*\.cpp",?$' |
  sed -E 's/^ *"command": "//; s/",?$//; s/\\(["\\])/\1/g' |
  sed -E "s% -o [^ ]+ -c % -isystem $headers -fsyntax-only -Werror %" >"$WORK_DIR/fmt11-commands.txt"
sed -Ei 's/^[^ ]*ccache //' "$WORK_DIR/fmt11-commands.txt"
# Only those that format something, each by its own name.
formatting=$(cd "$SOURCE_DIR" && git ls-files 'foundation/*.cpp' 'common/*.cpp' 'genicam/*.cpp' 'host/*.cpp' |
  xargs grep -lE 'fmt::|BRIO_(LOG|TRACE)')
grep -F "$(sed 's|^|/|' <<<"$formatting")" "$WORK_DIR/fmt11-commands.txt" >"$WORK_DIR/fmt11-formatting.txt"
mv "$WORK_DIR/fmt11-formatting.txt" "$WORK_DIR/fmt11-commands.txt"
cd "$BUILD_DIR"
xargs -P "$(nproc)" -d '\n' -n 1 bash -c <"$WORK_DIR/fmt11-commands.txt"
echo "$(wc -l <"$WORK_DIR/fmt11-commands.txt") sources compile against fmt 11's interface"
