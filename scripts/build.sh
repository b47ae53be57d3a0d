#!/usr/bin/env bash
# Configures and builds the project into build/ (Release, two jobs): every target, or the
# targets named as arguments.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release >/dev/null
targets=()
for t in "$@"; do targets+=(--target "$t"); done
cmake --build build -j2 "${targets[@]}"
