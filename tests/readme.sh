#!/bin/sh
# readme.sh SOURCE-DIR: the program in the README must be the example that the tests run.
set -eu
cd "$1"
sed -n '/^```java$/,/^```$/p' README.md | sed '1d;$d' | diff - examples/triangle/Triangle.java
