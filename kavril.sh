#!/usr/bin/env bash
# Builds the workbench and runs it with the arguments given: ./kavril.sh --help
set -euo pipefail
cd "$(dirname "$0")"

scripts/need.sh core workbench
[ -e build/release/bin/kavril ] ||
    echo "Compiling kavril and the library, which takes some minutes, once ..." >&2
scripts/build.sh release -DKAVRIL_WORKBENCH=ON -DKAVRIL_JAVA=OFF -DBUILD_TESTING=OFF kavril_program

# File names are meant from where it was called.
cd "$OLDPWD"
exec "$(dirname "${BASH_SOURCE[0]}")/build/release/bin/kavril" "$@"
