#!/usr/bin/env bash
# Installs what is missing, builds, and exports the built-in demo recording to demo.xlsx
# (or the file named as the first argument).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh tavi-export
out="${1:-demo.xlsx}"
build/host/tavi-export --demo "$out"
