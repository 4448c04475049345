#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# dump.sh PLUGIN LAYOUTS: prints the plug-in's binary interface as text, one fact a line.
set -euo pipefail
export LC_ALL=C
plugin=$1 layouts=$2

# Demangled and short; a constructor or destructor stands once for each of its two or three entry points.
readable() {
  c++filt | sed -E 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g
                    s/std::vector<([^<>]*), std::allocator<[^<>]*> >/std::vector<\1>/g
                    s/fmt::v[0-9]+::/fmt::/g; s/\[abi:cxx11\]//g'
}

echo "# Names that the plug-in gives away (those of the C++ library's templates aside)"
nm -D --defined-only "$plugin" | awk '{print $NF}' | grep -E '^[^_]|^_ZNK?5vireo|^_ZT[VIS]N5vireo' | readable | sort

echo
echo "# Names that the plug-in wants from the framework"
nm -D --undefined-only "$plugin" | awk '{print $NF}' | grep -E '5vireo|4brio' | readable | sort

echo
echo "# Virtual table of GenICamAdapter, slot by slot"
read -r address size <<<"$(nm -D -S "$plugin" | awk '/ _ZTVN5vireo7genicam14GenICamAdapterE$/ {print $1, $2}')"
readelf -rW "$plugin" | awk '$3 == "R_X86_64_64" {print $1, $5}' | while read -r offset name; do
  if ((16#$offset > 16#$address + 8 && 16#$offset < 16#$address + 16#$size)); then
    printf '%d %s\n' $(((16#$offset - 16#$address) / 8 - 2)) "$name"
  fi
done | readable

echo
echo "# Layouts: the record and its size in bytes; offset, size and name of its members"
"$layouts"
