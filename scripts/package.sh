#!/usr/bin/env bash
# Installs what is missing, builds, and makes the Debian package
# build/tavi-excel-exporter_<version>_<architecture>.deb.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh
cd build
cpack -G DEB
