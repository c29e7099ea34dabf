#!/usr/bin/env bash
# Builds and runs all tests: the core under AddressSanitizer and UBSan, then everything,
# with the native interface in a real virtual machine. Options go to ctest.
set -euo pipefail
cd "$(dirname "$0")"
. scripts/need.sh

need_build_tools /usr/include/gtest/gtest.h:libgtest-dev /usr/include/gmock/gmock.h:libgmock-dev \
    /usr/share/java/junit-jupiter-api.jar:junit5 python3:python3 valgrind:valgrind \
    dpkg-shlibdeps:dpkg-dev pkg-config:pkg-config doxygen:doxygen fakeroot:fakeroot \
    node:nodejs npm:npm chromium:chromium
need_workbench_libraries
for preset in asan release; do
    echo "Building $preset ..."
    scripts/build.sh $preset -DBUILD_TESTING=ON -DKAVRIL_REPORT=ON
    ctest --preset $preset "$@"
done
