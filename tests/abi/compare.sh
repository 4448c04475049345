#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# compare.sh PLUGIN LAYOUTS [--accept]: compares the binary interface with the reference beside this script.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
reference="$here/reference.txt"
now=$(mktemp)
trap 'rm -f "$now"' EXIT
bash "$here/dump.sh" "$1" "$2" >"$now"
if [ "${3:-}" = --accept ]; then
  cp "$now" "$reference"
  exit
fi
# What a framework must have: a deployment's own has these names and no others.
wanted() { sed -n '/wants from the framework/,/^$/p' "$1"; }
added=$(comm -13 <(wanted "$reference" | sort) <(wanted "$now" | sort))
[ -z "$added" ] || printf 'The plug-in wants a name that a framework of somebody else does not have:\n%s\n\n' "$added" >&2
diff -U 2 --label reference "$reference" --label "this build" "$now" && exit
cat >&2 <<END

The binary interface has changed: the lines above with - are gone, those with + are new. Hosts that were built
against the earlier one break where a line is gone or moved. To accept it on purpose:
  bash $0 $1 $2 --accept
then raise the minor version in the project() call and say in CHANGELOG.md what hosts have to do.
END
exit 1
