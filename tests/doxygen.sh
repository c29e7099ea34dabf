#!/bin/sh
# doxygen.sh SOURCE-DIR OUTPUT-DIR: the core's documentation must build without a warning,
# and carry the comments of the headers.
set -eu
cd "$1"
mkdir -p "$2"
{
    cat docs/Doxyfile
    echo "OUTPUT_DIRECTORY = \"$2\""
} | doxygen -
grep -q 'Admits an LSP: tests every link it concerns' "$2/html/lsp__setup_8h.html" || {
    echo "the comments of lsp_setup.h are not in its page" >&2
    exit 1
}
