#!/bin/sh
# library.sh LIBRARY FLOOR: the native library must export its twelve native methods, its
# version and nothing else, load with glibc FLOOR (2.17) and no C++ runtime, and be hardened.
set -eu
library=$1
floor=$2
status=0

fail() {
    printf '%s: %s\n' "$library" "$*" >&2
    status=1
}

# readelf reads the libraries of other machines, too.
symbols=$(readelf --wide --dyn-syms "$library" | awk '$5 == "GLOBAL" || $5 == "WEAK"')

expected=$( (echo kavril_version
    for method in initKavril killKavril printKavrilDB addNode addLink removeLink removeNode \
        addLSP addBackupLSP removeLSP computePath computeBackupPath; do
        echo "Java_velmor_repository_KAVRIL_JNIKAVRIL_jni$method"
    done) | sort)
exported=$(echo "$symbols" | awk '$7 != "UND" { print $8 }' | sort)
[ "$exported" = "$expected" ] ||
    fail exports $exported, not $expected

newest() { printf '%s\n' "$@" | sort -V | tail -n 1; }
imported=$(echo "$symbols" | awk '$7 == "UND" { print $8 }' | sed -n 's/@GLIBC_/ /p')
[ -n "$imported" ] || fail "takes nothing from glibc, which cannot be"
while read -r name version; do
    [ "$(newest "$version" "$floor")" = "$floor" ] || fail "$name needs glibc $version"
done <<SYMBOLS
$imported
SYMBOLS

dynamic=$(readelf --wide --dynamic "$library")
for needed in $(echo "$dynamic" | sed -n '/(NEEDED)/s/.*\[\(.*\)\]/\1/p'); do
    case $needed in
        libc.so.6 | libm.so.6 | ld-linux-*) ;;
        *) fail "needs $needed" ;;
    esac
done

echo "$dynamic" | grep -q BIND_NOW || fail "binds symbols lazily"
readelf --wide --segments "$library" | grep -q GNU_RELRO || fail "has no RELRO"
case "$symbols" in *__stack_chk_fail*) ;; *) fail "has no stack protector" ;; esac
case "$symbols" in *__*printf_chk*) ;; *) fail "is not built with FORTIFY" ;; esac
case $(readelf --file-header "$library") in
    *X86-64*) readelf --notes "$library" | grep -q SHSTK || fail "has no shadow stack" ;;
esac
exit $status
