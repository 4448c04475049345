#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The public headers document without a warning.
set -euo pipefail
cd "$SOURCE_DIR"
mkdir -p "$WORK_DIR/doxygen"
VIREO_VERSION="$VERSION" DOXYGEN_OUTPUT="$WORK_DIR/doxygen" doxygen docs/Doxyfile
