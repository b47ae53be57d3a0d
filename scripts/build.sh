#!/usr/bin/env bash
# Configures and builds the project into build/ (Release, two jobs).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j2
