#!/usr/bin/env bash
# Cross-builds the Windows (mingw-w64, x86_64) dependencies of zxUT22 as static
# libraries into a cache outside the repository and prints the install prefix:
#   PCRE2 10.42, 16-bit     from Debian's source package pcre2
#   minizip                 from Debian's source package zlib (contrib/minizip)
#   expat 2.5.0             from Debian's source package expat
#   googletest + gmock      from /usr/src/googletest (package googletest)
# zlib itself is Debian's libz-mingw-w64-dev. The prefix is named after a hash of
# every version that goes into it (sources, compiler, this recipe), so a second
# run only prints the path. Cache root: ZXUT_DEPS_CACHE (default
# ${XDG_CACHE_HOME:-~/.cache}/zxut22-win-deps).
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$here/lib.sh"

# Pinned upstream versions and the SHA-256 of Debian's .orig tarballs of them.
# Debian revisions may move (security updates): any bookworm revision of the pinned
# upstream version is accepted, newest first, and recorded in the manifest.
PCRE2_UPSTREAM=10.42
PCRE2_ORIG_SHA256=c33b418e3b936ee3153de2c61cc638e7e4fe3156022a5c77d0711bcbb9d64f1f
ZLIB_UPSTREAM=1.2.13.dfsg
ZLIB_ORIG_SHA256=71feb7947e3c00ef125f83b79a4e529bde31171e5babe48b391f06758d1ab0a1
EXPAT_UPSTREAM=2.5.0
EXPAT_ORIG_SHA256=ab00ee05c7067fd10a35c5d2a4922ebba746ddd50ff83b79c828da17bbdf1757
GTEST_UPSTREAM=1.12.1

triple=x86_64-w64-mingw32
toolchain=$ZXUT_ROOT/cmake/mingw-w64-x86_64.cmake
cache=${ZXUT_DEPS_CACHE:-${XDG_CACHE_HOME:-${HOME:-/tmp}/.cache}/zxut22-win-deps}
mkdir -p "$cache/src"

pkg_version() { dpkg-query -W -f='${Version}' "$1" 2>/dev/null || die "package $1 is not installed (run scripts/setup.sh)"; }

# ---- the versions that make up the cache key
gtest_version=$(pkg_version googletest)
[[ $gtest_version == "$GTEST_UPSTREAM"-* ]] || die "googletest $gtest_version is not $GTEST_UPSTREAM"
# The build steps (from the "recipe" line on) and the toolchain file are part of the key.
recipe=$( (sed -n '/^# ---- recipe/,$p' "$0"; cat "$toolchain") | sha256sum | cut -c1-16)
manifest_base="recipe $recipe
compiler g++-mingw-w64-x86-64-posix $(pkg_version g++-mingw-w64-x86-64-posix), mingw-w64-x86-64-dev $(pkg_version mingw-w64-x86-64-dev)
zlib (mingw) $(pkg_version libz-mingw-w64-dev)
googletest $gtest_version"

exec 9>"$cache/.lock"
flock 9
rm -rf "$cache"/*.partial "$cache"/build-*  # left by an interrupted run

# Source package versions: resolved once per upstream pin and remembered, so a
# cached build does not need the package lists.
source_revisions() {  # source upstream -> bookworm versions of that upstream, newest first
  apt-cache showsrc "$1" 2>/dev/null | awk '/^Version:/ {print $2}' |
    grep -E "^([0-9]+:)?$(sed 's/\./\\./g' <<<"$2")-" | sort -u -r -V
}

fetch() {  # source upstream orig_sha256 -> prints the unpacked source folder
  local name=$1 upstream=$2 sha=$3 dir="$cache/src/$1-$2"
  if [[ -f $dir/.zxut-verified ]]; then
    echo "$dir/$(cat "$dir/.zxut-verified")"
    return
  fi
  local versions
  versions=$(source_revisions "$name" "$upstream")
  if [[ -z $versions ]]; then
    bash "$here/enable-deb-src.sh" >&2
    versions=$(source_revisions "$name" "$upstream")
  fi
  [[ -n $versions ]] || die "no bookworm source package $name $upstream (is deb-src enabled?)"
  rm -rf "$dir"; mkdir -p "$dir"
  local v got=""
  for v in $versions; do
    log "fetching source package $name=$v"
    if (cd "$dir" && apt-get source -q --download-only "$name=$v" >"$dir/apt.log" 2>&1); then
      got=$v; break
    fi
    log "  $name=$v is not downloadable, trying an older revision"
    find "$dir" -maxdepth 1 -type f ! -name apt.log -delete
  done
  [[ -n $got ]] || { cat "$dir/apt.log" >&2; die "could not download $name $upstream"; }
  local orig
  orig=$(ls "$dir"/"${name}_${upstream}".orig.tar.*)
  echo "$sha  $orig" | sha256sum -c --quiet - >&2 ||
    die "$orig does not have the pinned SHA-256 $sha"
  local dsc=$dir/${name}_${got#*:}.dsc
  # dpkg-source checks every file against the checksums of the .dsc, which apt
  # verified against the signed archive index.
  (cd "$dir" && dpkg-source -x "$dsc" unpacked >"$dir/dpkg-source.log" 2>&1) ||
    { cat "$dir/dpkg-source.log" >&2; die "unpacking $dsc failed"; }
  printf 'unpacked\n' >"$dir/.zxut-verified"
  printf '%s\n' "$got" >"$dir/.zxut-version"
  echo "$dir/unpacked"
}

pcre2_src=$(fetch pcre2 "$PCRE2_UPSTREAM" "$PCRE2_ORIG_SHA256")
zlib_src=$(fetch zlib "$ZLIB_UPSTREAM" "$ZLIB_ORIG_SHA256")
expat_src=$(fetch expat "$EXPAT_UPSTREAM" "$EXPAT_ORIG_SHA256")
gtest_src=/usr/src/googletest

manifest="$manifest_base
pcre2 $(cat "$cache/src/pcre2-$PCRE2_UPSTREAM/.zxut-version") (16-bit, static, JIT)
minizip from zlib $(cat "$cache/src/zlib-$ZLIB_UPSTREAM/.zxut-version") (static)
expat $(cat "$cache/src/expat-$EXPAT_UPSTREAM/.zxut-version") (static)"
key=$(sha256sum <<<"$manifest" | cut -c1-12)
prefix=$cache/win64-$key

if [[ -f $prefix/manifest.txt ]]; then
  log "Windows dependencies are cached in $prefix"
  echo "$prefix"
  exit 0
fi

log "building the Windows dependencies into $prefix"
work=$cache/build-$key
stage=$prefix.partial
rm -rf "$work" "$stage"
mkdir -p "$work" "$stage"

# ---- recipe: what follows decides what is built (hashed into the cache key)
cmake_configure() {  # name source [cmake options...]
  local name=$1 src=$2; shift 2
  log "  $name"
  cmake -S "$src" -B "$work/$name" -G Ninja -Wno-dev \
    -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX="$stage" -DBUILD_SHARED_LIBS=OFF "$@" >"$work/$name.log" 2>&1 ||
    { tail -40 "$work/$name.log" >&2; die "configuring $name failed (log: $work/$name.log)"; }
}
cmake_install() {  # name
  ninja -C "$work/$1" -j"$(ncores)" install >>"$work/$1.log" 2>&1 ||
    { tail -40 "$work/$1.log" >&2; die "building $1 failed (log: $work/$1.log)"; }
}

cmake_configure pcre2 "$pcre2_src" \
  -DBUILD_STATIC_LIBS=ON -DPCRE2_BUILD_PCRE2_8=OFF -DPCRE2_BUILD_PCRE2_16=ON \
  -DPCRE2_BUILD_PCRE2_32=OFF -DPCRE2_SUPPORT_UNICODE=ON -DPCRE2_SUPPORT_JIT=ON \
  -DPCRE2_BUILD_PCRE2GREP=OFF -DPCRE2_BUILD_TESTS=OFF
cmake_install pcre2

cmake_configure expat "$expat_src/expat" \
  -DEXPAT_SHARED_LIBS=OFF -DEXPAT_BUILD_TOOLS=OFF -DEXPAT_BUILD_EXAMPLES=OFF \
  -DEXPAT_BUILD_TESTS=OFF -DEXPAT_BUILD_DOCS=OFF -DEXPAT_BUILD_FUZZERS=OFF
# Debian's security patches test "#if XML_DTD == 1" as its autotools build defines
# the feature macros to 1; expat 2.5.0's CMake build defines them empty.
sed -i -E 's/^#define (XML_DTD|XML_NS)$/#define \1 1/' "$work/expat/expat_config.h"
cmake_install expat

cmake_configure googletest "$gtest_src" -DBUILD_GMOCK=ON -DINSTALL_GTEST=ON
cmake_install googletest

# minizip has no CMake build: compile its library sources directly, as Debian's
# libminizip does, plus the Win32 file functions.
log "  minizip"
mz=$zlib_src/contrib/minizip
mkdir -p "$work/minizip" "$stage/include/minizip" "$stage/lib"
for c in ioapi unzip zip mztools iowin32; do
  "$triple-gcc-posix" -O2 -Wno-unused -I"$mz" -c "$mz/$c.c" -o "$work/minizip/$c.o" \
    2>>"$work/minizip.log" || { cat "$work/minizip.log" >&2; die "building minizip failed"; }
done
"$triple-gcc-ar-posix" rcs "$stage/lib/libminizip.a" "$work/minizip"/*.o
cp "$mz"/{ioapi,unzip,zip,mztools,iowin32,crypt}.h "$stage/include/minizip/"

# Verify what was built: every archive is a static PE-COFF x86-64 library and
# the headers carry the pinned versions.
for lib in libpcre2-16.a libexpat.a libminizip.a libgtest.a libgtest_main.a libgmock.a; do
  [[ -f $stage/lib/$lib ]] || die "$lib is missing from $stage/lib"
  formats=$("$triple-objdump" -f "$stage/lib/$lib" | awk '/file format/ {print $NF}' | sort -u)
  [[ $formats == pe-x86-64 ]] || die "$lib is not an x86-64 PE archive ($formats)"
done
header_has() { grep -Eq "$2" "$stage/include/$1" || die "$1 lacks '$2': not the pinned version"; }
header_has pcre2.h '^#define PCRE2_MAJOR +10$'
header_has pcre2.h '^#define PCRE2_MINOR +42$'
header_has expat.h '^#define XML_MAJOR_VERSION 2$'
header_has expat.h '^#define XML_MINOR_VERSION 5$'
header_has expat.h '^#define XML_MICRO_VERSION 0$'
header_has minizip/unzip.h 'unzOpen2_64'
[[ -f $stage/lib/cmake/GTest/GTestConfig.cmake ]] || die "GTestConfig.cmake is missing"

printf '%s\n' "$manifest" >"$stage/manifest.txt"
rm -rf "$prefix"
mv "$stage" "$prefix"
rm -rf "$work"
log "done: $prefix"
echo "$prefix"
