#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# cpack makes the Debian packages; their dependencies can be had here; in a root of their own they install, grab
# frames and leave nothing behind when they are removed.
set -euo pipefail
packages="$WORK_DIR/packages"
root="$WORK_DIR/root"
rm -rf "$packages" "$root"
"$(dirname "$CMAKE")/cpack" --config "$BUILD_DIR/CPackConfig.cmake" -B "$packages"
debs=("$packages"/*.deb)
for deb in "${debs[@]}"; do
  echo "== $(basename "$deb")"
  dpkg-deb -f "$deb" Package Version Depends
  dpkg-deb -c "$deb" | awk '$1 !~ /^d/ {print $3, $6}'
done
for wanted in libaravis-0.8-0 libfmt9 libpugixml1v5 libpng16-16 libtiff6; do
  dpkg-deb -f "$packages"/vireo-genicam_*.deb Depends | grep -qF "$wanted" || { echo "no $wanted in Depends" >&2; exit 1; }
done
apt-get install --simulate --no-install-recommends "${debs[@]}" | grep '^Inst vireo'

mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates"
touch "$root/var/lib/dpkg/status"
in_root() {
  # The root has no dependencies of its own; the packages use this machine's.
  dpkg --root="$root" --log="$WORK_DIR/dpkg.log" --force-not-root --force-depends --force-script-chrootless "$@" 2>&1 |
    grep -v 'depends on\|dependency problems\|is not installed\|^$'
}
in_root --install "${debs[@]}"
rm -rf "$WORK_DIR/package-frames"
"$root/usr/bin/vireo-cam" --simulate grab -n 2 -o "$WORK_DIR/package-frames"
in_root --purge vireo-genicam-dev vireo-genicam
left=$(find "$root" -path "$root/var" -prune -o -type f -print)
[ -z "$left" ] || { echo "left behind: $left" >&2; exit 1; }
