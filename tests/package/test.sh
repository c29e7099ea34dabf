#!/usr/bin/env bash
# test.sh SOURCE-DIR BUILD-DIR: makes the Debian packages, installs them into an empty root,
# builds and runs C++ and Java programs against them, and removes them.
set -euo pipefail
source=$1
build=$2
export PATH=$PATH:/usr/sbin:/sbin LC_ALL=C.UTF-8

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root

# dpkg has to be root, or to believe it.
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(fakeroot)

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

expect() { # WHAT EXPECTED ACTUAL
    [ "$2" = "$3" ] || fail "$1: expected '$2', found '$3'"
}

echo "== packages"
cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work/cpack" >"$work/log" 2>&1 ||
    { cat "$work/log"; fail "cpack"; }
debs=("$work"/cpack/*.deb)
names=$(for deb in "${debs[@]}"; do dpkg-deb --field "$deb" Package; done | sort)
grep -qx libkavril-java <<<"$names" || fail "packages:" $names

if command -v lintian >/dev/null; then
    echo "== lintian"
    lintian --allow-root --fail-on error "${debs[@]}" || fail "lintian"
fi

# A root that has what the packages depend on besides each other, or says so, and nothing else.
mkdir -p "$root"/var/lib/dpkg/{info,updates,triggers}
for deb in "${debs[@]}"; do dpkg-deb --field "$deb" Depends; done |
    sed 's/([^)]*)//g; s/, */\n/g' | tr -d ' ' | sort -u | grep -vxF -e "$names" -e "" |
    xargs dpkg-query --status >"$root/var/lib/dpkg/status"
"${as_root[@]}" dpkg --root="$root" --log="$work/dpkg.log" --install "${debs[@]}" \
    >"$work/log" 2>&1 || { cat "$work/log"; fail "dpkg --install"; }

echo "== the same files as cmake --install"
cmake --install "$build" --prefix "$work/local" --strip >/dev/null
list() { (cd "$1" && find . -type f -o -type l | sort); }
expect "installed files" "$(list "$work/local")" "$(list "$root/usr")"

lib=$(echo "$root"/usr/lib/*/libkavril_core.a)
lib=${lib%/*}
[ -f "$lib/jni/libkavril.so" ] || fail "no native library in $lib/jni"
"$source/tests/library.sh" "$lib/jni/libkavril.so" 2.17
newest=$(objdump -T "$lib"/libkavril_core.so | grep -o 'GLIBC_[0-9.]*' | sort -V | tail -n 1)
expect "what the shared library needs" GLIBC_2.14 "$newest"
include=$root/usr/include/kavril
jar=$root/usr/share/java/kavril.jar
triangle="0 > 2 protected by 0 > 1 > 2"
raw_triangle="[0, 2] protected by [[0, 1, 2]]"

echo "== every header alone"
(cd "$include" && find . -name '*.h') | sed 's|^\./\(.*\)|#include "\1"|' >"$work/headers"
while read -r line; do
    echo "$line" | c++ -std=c++20 -Wall -Wextra -Wpedantic -Werror -I"$include" -x c++ \
        -fsyntax-only - || fail "$line"
done <"$work/headers"

echo "== C++ with find_package"
cmake -G Ninja -S "$source/tests/package/consumer" -B "$work/consumer" \
    -DEXAMPLE="$source/examples/triangle/triangle.cpp" -DCMAKE_PREFIX_PATH="$root/usr" \
    -DCMAKE_FIND_USE_CMAKE_SYSTEM_PATH=OFF >"$work/log" &&
    cmake --build "$work/consumer" >>"$work/log" || { cat "$work/log"; fail "consumer"; }
expect "found by CMake" "$lib/cmake/KAVRIL $jar" "$(xargs <"$work/consumer/found")"
expect "C++ with CMake" "$triangle" "$("$work/consumer/triangle")"
expect "C++, shared library" "$triangle" "$("$work/consumer/triangle_shared")"
readelf -d "$work/consumer/triangle_shared" | grep -q 'NEEDED.*libkavril_core\.so\.1' ||
    fail "the shared library is not used"
version=$(dpkg-deb --field "${debs[0]}" Version)
expect "version" "$version $version" "$("$work/consumer/version")"

echo "== C++ with pkg-config"
export PKG_CONFIG_LIBDIR=$lib/pkgconfig
expect "version" "$version" "$(pkg-config --modversion kavril)"
c++ $(pkg-config --cflags kavril) "$source/examples/triangle/triangle.cpp" \
    $(pkg-config --libs kavril) -o "$work/triangle"
expect "C++ with pkg-config" "$triangle" "$(LD_LIBRARY_PATH=$lib "$work/triangle")"

echo "== Java"
[ "$(pkg-config --variable=jar kavril)" -ef "$jar" ] || fail "jar of pkg-config"
javac -Xlint:all -Werror -cp "$jar" -d "$work/classes" "$source"/examples/triangle/*.java
run_class() { # LIBRARY-PATH CLASS
    java -Djava.library.path="$1" -Dvelmor.kavril.directory="$work/copies" \
        -cp "$jar:$work/classes" "$2"
}
expect "Java, installed library" "$triangle" "$(run_class "$lib/jni" Triangle)"
[ ! -e "$work/copies" ] || fail "the installed library was not used"
expect "Java, library in the jar" "$triangle" "$(run_class /nowhere Triangle)"
expect "Java, native methods" "$raw_triangle" "$(run_class "$lib/jni" RawTriangle)"

echo "== jars"
jars=$root/usr/share/java
java -p "$jar" --describe-module velmor.kavril | grep -q "^velmor.kavril@$version " ||
    fail "the module has not version $version"
(cd "$work" && jar xf "$jar" META-INF/MANIFEST.MF)
grep -q "^Implementation-Version: $version" "$work/META-INF/MANIFEST.MF" ||
    fail "the manifest has not version $version"
jar tf "$jars/kavril-sources-$version.jar" >"$work/sources"
grep -q '^velmor/kavril/Session.java$' "$work/sources" || fail "sources"
jar tf "$jars/kavril-javadoc-$version.jar" >"$work/javadoc"
grep -q '^velmor.kavril/velmor/kavril/Session.html$' "$work/javadoc" || fail "Javadoc"

echo "== removal"
"${as_root[@]}" dpkg --root="$root" --log="$work/dpkg.log" --purge $names \
    >"$work/log" 2>&1 || { cat "$work/log"; fail "dpkg --purge"; }
left=$(find "$root" -path "$root/var/lib/dpkg" -prune -o -type f -print -o -type l -print)
expect "files left" "" "$left"
echo "done"
