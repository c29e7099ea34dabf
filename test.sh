#!/usr/bin/env bash
# Builds and runs all tests: the core under AddressSanitizer and UBSan, then everything,
# with the native interface in a real virtual machine. Options go to ctest.
set -euo pipefail
cd "$(dirname "$0")"
. scripts/need.sh

need_build_tools /usr/include/gtest/gtest.h:libgtest-dev /usr/include/gmock/gmock.h:libgmock-dev \
    /usr/share/java/junit-jupiter-api.jar:junit5 python3:python3 valgrind:valgrind \
    dpkg-shlibdeps:dpkg-dev pkg-config:pkg-config doxygen:doxygen fakeroot:fakeroot \
    node:nodejs npm:npm chromium:chromium \
    /usr/include/benchmark/benchmark.h:libbenchmark-dev
need_workbench_libraries
test_preset() {
    local preset=$1
    shift
    echo "Building $preset ..."
    scripts/build.sh "$preset" -DBUILD_TESTING=ON "$@"
    ctest --preset "$preset" "${ctest_options[@]}"
}
ctest_options=("$@")
test_preset asan
test_preset release -DKAVRIL_REPORT=ON -DKAVRIL_BENCH=ON
