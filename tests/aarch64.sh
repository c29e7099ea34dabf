#!/bin/sh
# aarch64.sh NATIVE-BUILD CROSS-BUILD QEMU: the library for 64-bit ARM is like the one for
# this machine, passes the tests of the core and computes the same bits, call by call.
set -eu
native=$1 cross=$2 qemu=$3
emulated() { "$qemu" -L /usr/aarch64-linux-gnu "$@"; }

"$(dirname "$0")/library.sh" "$cross/lib/libkavril.so" 2.17
emulated "$cross/tests/kavril_tests" --gtest_brief=1
here=$("$native/tests/player/kavril_play" --record 1 20 | cksum)
there=$(emulated "$cross/tests/player/kavril_play" --record 1 20 | cksum)
[ "$here" = "$there" ] || {
    echo "Random calls and their results come to $here here and to $there on aarch64" >&2
    exit 1
}
