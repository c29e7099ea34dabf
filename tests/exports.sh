#!/bin/sh
# exports.sh LIBRARY: the library must export its twelve native methods and nothing else.
set -eu
expected=$(for method in initKavril killKavril printKavrilDB addNode addLink removeLink removeNode \
    addLSP addBackupLSP removeLSP computePath computeBackupPath; do
    echo "Java_velmor_repository_KAVRIL_JNIKAVRIL_jni$method"
done | sort)
exported=$(nm -D --defined-only "$1" | awk '{ print $3 }' | sort)
[ "$exported" = "$expected" ] || {
    printf 'Exported:\n%s\nExpected:\n%s\n' "$exported" "$expected" >&2
    exit 1
}
