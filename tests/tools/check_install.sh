#!/usr/bin/env bash
# The install tree of a Linux build: `cmake --install` into a scratch prefix gives
# exactly the expected files, the library's SONAME and exports, a working zxut, and
# a find_package and a pkg-config client that build and run.
#   check_install.sh BUILD-DIR SOURCE-DIR VERSION
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$here/install_lib.sh"
build=$1 src=$2 ZXUT_VERSION=$3
major=${ZXUT_VERSION%%.*}
scratch=$(mktemp -d "${TMPDIR:-/tmp}/zxut_install.XXXXXX")
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix

cmake --install "$build" --prefix "$prefix" >"$scratch/install.log" || { cat "$scratch/install.log"; fail "install"; }

# Exactly these files: the library and its links, the public headers, the tool, the
# CMake package and the .pc file; nothing of the static layers, tests or benchmarks.
expected=$(
  {
    echo bin/zxut
    echo include/zxUT22.h
    (cd "$src/include" && ls zxut22/*.h | sed 's|^|include/|')
    echo lib/cmake/zxUT22/zxUT22Config.cmake
    echo lib/cmake/zxUT22/zxUT22ConfigVersion.cmake
    echo lib/cmake/zxUT22/zxUT22Targets.cmake
    echo "lib/cmake/zxUT22/zxUT22Targets-$(sed -n 's/^CMAKE_BUILD_TYPE:[A-Z]*=//p' "$build/CMakeCache.txt" | tr 'A-Z' 'a-z').cmake"
    echo lib/libzxUT22.so
    echo "lib/libzxUT22.so.$major"
    echo "lib/libzxUT22.so.$ZXUT_VERSION"
    echo lib/pkgconfig/zxUT22.pc
  } | sort)
actual=$(cd "$prefix" && find . ! -type d | sed 's|^\./||' | sort)
[[ $actual == "$expected" ]] || fail "installed files differ:$(diff <(echo "$expected") <(echo "$actual"))"
[[ $(readlink "$prefix/lib/libzxUT22.so") == "libzxUT22.so.$major" ]] || fail "libzxUT22.so link"
[[ $(readlink "$prefix/lib/libzxUT22.so.$major") == "libzxUT22.so.$ZXUT_VERSION" ]] || fail "SONAME link"

# The SONAME carries the major version; the tool needs that name and finds it in
# its own prefix.
readelf -d "$prefix/lib/libzxUT22.so.$ZXUT_VERSION" | grep "Library soname: \[libzxUT22.so.$major\]" >/dev/null ||
  fail "SONAME: $(readelf -d "$prefix/lib/libzxUT22.so.$ZXUT_VERSION" | grep SONAME)"
readelf -d "$prefix/bin/zxut" | grep "Shared library: \[libzxUT22.so.$major\]" >/dev/null || fail "zxut's NEEDED"
env -u LD_LIBRARY_PATH "$prefix/bin/zxut" version | grep "^zxUT22 $ZXUT_VERSION " >/dev/null || fail "installed zxut version"

# The exports are exactly the list, nothing more (the static layers stay hidden).
diff <(listed_exports "$src") <(exported_names "$prefix/lib/libzxUT22.so.$ZXUT_VERSION") >"$scratch/exports.diff" ||
  { cat "$scratch/exports.diff"; fail "the installed library's exports differ from src/exports/exports.list"; }

build_and_run_examples "$src" "$prefix" "$scratch"
"$prefix/bin/zxut" prof get "$scratch/hello.prof" printer/copies | grep -x 2 >/dev/null || fail "the example's saved profile"
echo "install tree: ok ($(echo "$actual" | wc -l) files)"
