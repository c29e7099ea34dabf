#!/bin/sh
# readme.sh SOURCE-DIR: the program in the README must be the example that the tests run, and
# what the guide to sessions says of the examples must be in them.
set -eu
cd "$1"
sed -n '/^```java$/,/^```$/p' README.md | sed '1d;$d' | diff - examples/triangle/Triangle.java

# Prints the code in a column of the guide's last table, a line each.
column() {
    sed -n '/^| RawTriangle.java/,/^$/p' docs/migration.md | sed '1,2d' | cut -d '|' -f "$1" |
        sed -n 's/^ *`\(.*\)` *$/\1/p'
}
for pair in 2:RawTriangle 3:Triangle; do
    [ "$(column "${pair%:*}" | wc -l)" -ge 7 ]
    column "${pair%:*}" | while read -r code; do
        grep -qF -- "$code" "examples/triangle/${pair#*:}.java" || { echo "not there: $code"; exit 1; }
    done
done
