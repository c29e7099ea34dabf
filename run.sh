#!/usr/bin/env bash
# Builds the library and runs the example operator on the Abilene network.
# Options go to the example: ./run.sh --help
set -euo pipefail
cd "$(dirname "$0")"

scripts/need.sh core java
lib=build/release/lib
[ -e $lib/operator.jar ] || echo "Building the library, which takes about a minute ..." >&2
scripts/build.sh release -DKAVRIL_JAVA=ON -DKAVRIL_WORKBENCH=OFF -DBUILD_TESTING=OFF operator_jar

# The Java that goes with the compiler: JAVA_HOME may be another than `java`.
java=$(sed -n 's/^Java_JAVA_EXECUTABLE:.*=//p' build/release/CMakeCache.txt)
exec "$java" -Djava.library.path=$lib -cp $lib/operator.jar:$lib/kavril.jar operator.Operator \
    examples/data/abilene.txt "$@"
