#!/usr/bin/env bash
# Builds and runs all tests: the core under AddressSanitizer and UBSan, its sessions in
# several threads under ThreadSanitizer, then everything, with the native interface in a
# real virtual machine. Options go to ctest.
set -euo pipefail
cd "$(dirname "$0")"
ctest_options=("$@")
export CTEST_PARALLEL_LEVEL=${CTEST_PARALLEL_LEVEL:-$(nproc)}

test_preset() {
    local preset=$1
    shift
    echo "Building $preset ..."
    scripts/build.sh --times "$preset" -DBUILD_TESTING=ON "$@"
    ctest --preset "$preset" "${ctest_options[@]}"
}

scripts/need.sh all
test_preset asan
test_preset tsan kavril_play
test_preset release -DKAVRIL_JAVA=ON -DKAVRIL_WORKBENCH=ON -DKAVRIL_REPORT=ON -DKAVRIL_BENCH=ON
