#!/usr/bin/env bash
# Builds with sanitizers into build-sanitize-<kind>/ and runs the tests: under
# address,undefined every program and the whole suite; under thread the archive tests
# (deflated parts included) and the exporter tests.
# Usage: scripts/sanitize.sh thread | address,undefined
set -euo pipefail
cd "$(dirname "$0")/.."
kind="${1:?usage: scripts/sanitize.sh thread|address,undefined}"
dir="build-sanitize-${kind//,/-}"
bash scripts/install-deps.sh
cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTAVI_SANITIZE="$kind" >/dev/null
if [ "$kind" = thread ]; then
    cmake --build "$dir" -j2 --target exporter_tests --target zip_tests
    selection='^(zip_tests|exporter_tests)\.'
    export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1"
    ctest --test-dir "$dir" -j2 --output-on-failure -R "$selection" -E "LibreOffice"
else
    # Address and undefined-behaviour sanitizers: every program, the whole suite.
    cmake --build "$dir" -j2
    export UBSAN_OPTIONS="halt_on_error=1 print_stacktrace=1"
    ctest --test-dir "$dir" -j2 --output-on-failure
fi
