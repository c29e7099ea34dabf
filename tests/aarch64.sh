#!/bin/sh
# aarch64.sh NATIVE-BUILD CROSS-BUILD QEMU: the library for 64-bit ARM is like the one for
# this machine, passes the tests of the core and computes the same bits, call by call.
set -eu
native=$1 cross=$2 qemu=$3
emulated() { "$qemu" -L /usr/aarch64-linux-gnu "$@"; }

"$(dirname "$0")/library.sh" "$cross/lib/libkavril.so" 2.17
# The random networks take minutes under the emulator.
emulated "$cross/tests/kavril_tests" --gtest_brief=1 --gtest_filter=-RandomNetwork.*
here=$("$native/tests/fuzz/fuzz_seeded" 1 20)
there=$(emulated "$cross/tests/fuzz/fuzz_seeded" 1 20)
[ "$here" = "$there" ] || {
    echo "The seeded calls give $here here and $there on aarch64" >&2
    exit 1
}
