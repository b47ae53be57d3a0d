#!/usr/bin/env bash
# Builds the exporter and archive tests with sanitizers into build-sanitize-<kind>/ and runs
# them (LibreOffice's run left out: it tests the file, not the code).
# Usage: scripts/sanitize.sh thread | address,undefined
set -euo pipefail
cd "$(dirname "$0")/.."
kind="${1:?usage: scripts/sanitize.sh thread|address,undefined}"
dir="build-sanitize-${kind//,/-}"
tests=(exporter_tests zip_tests deflatedpart_tests)
bash scripts/install-deps.sh
cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTAVI_SANITIZE="$kind" >/dev/null
cmake --build "$dir" -j2 $(printf -- '--target %s ' "${tests[@]}")
export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1"
export UBSAN_OPTIONS="halt_on_error=1 print_stacktrace=1"
ctest --test-dir "$dir" -j2 --output-on-failure \
    -R "^($(IFS='|'; echo "${tests[*]}"))\\." -E "LibreOffice"
