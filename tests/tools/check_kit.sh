#!/usr/bin/env bash
# The Windows kit of a cross build: CPack's zip holds exactly the DLL, its import
# library and .def file, the headers, zxut.exe and the CMake and pkg-config files;
# the C example built with the mingw compiler against the kit (import library
# only) and zxut.exe from the kit run under wine.
#   check_kit.sh BUILD-DIR SOURCE-DIR VERSION C-COMPILER WINE-RUNNER...
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$here/install_lib.sh"
build=$1 src=$2 version=$3 cc=$4
shift 4
wine=("$@")
scratch=$(mktemp -d "${TMPDIR:-/tmp}/zxut_kit.XXXXXX")
trap 'rm -rf "$scratch"' EXIT

(cd "$scratch" && cpack --config "$build/CPackConfig.cmake" -G ZIP -B "$scratch/packages") \
  >"$scratch/cpack.log" 2>&1 || { cat "$scratch/cpack.log"; fail "cpack -G ZIP"; }
top=zxUT22-$version-win64
zip=$scratch/packages/$top.zip
[[ -f $zip ]] || fail "no $top.zip: $(ls "$scratch/packages")"

expected=$(
  {
    echo bin/zxUT22.dll
    echo bin/zxut.exe
    echo include/zxUT22.h
    (cd "$src/include" && ls zxut22/*.h | sed 's|^|include/|')
    echo lib/cmake/zxUT22/zxUT22Config.cmake
    echo lib/cmake/zxUT22/zxUT22ConfigVersion.cmake
    echo lib/cmake/zxUT22/zxUT22Targets.cmake
    echo "lib/cmake/zxUT22/zxUT22Targets-$(sed -n 's/^CMAKE_BUILD_TYPE:[A-Z]*=//p' "$build/CMakeCache.txt" | tr 'A-Z' 'a-z').cmake"
    echo lib/libzxUT22.dll.a
    echo lib/pkgconfig/zxUT22.pc
    echo lib/zxUT22.def
  } | sort)
actual=$(python3 -c 'import sys, zipfile
for n in zipfile.ZipFile(sys.argv[1]).namelist():
    if not n.endswith("/"): print(n)' "$zip" | sed "s|^$top/||" | sort)
[[ $actual == "$expected" ]] || fail "kit files differ:$(diff <(echo "$expected") <(echo "$actual"))"
python3 -m zipfile -e "$zip" "$scratch" || fail "the kit does not unzip"
kit=$scratch/$top

# The .def file names exactly the exports.
diff <(listed_exports "$src") <(sed -n '/^EXPORTS/,$p' "$kit/lib/zxUT22.def" | sed 1d | tr -d ' \r' | sort) \
  >"$scratch/def.diff" || { cat "$scratch/def.diff"; fail "zxUT22.def differs from src/exports/exports.list"; }

# A client of the kit: headers and the import library, the DLL beside the program.
mkdir -p "$scratch/run"
"$cc" -std=c11 -Wall -Wextra -Werror "$src/examples/hello.c" -I"$kit/include" "$kit/lib/libzxUT22.dll.a" \
  -o "$scratch/run/hello.exe" || fail "hello.c does not build against the kit"
cp "$kit/bin/zxUT22.dll" "$scratch/run/"
(cd "$scratch/run" && "${wine[@]}" hello.exe hello.prof) >"$scratch/hello.out" 2>&1 ||
  { cat "$scratch/hello.out"; fail "hello.exe under wine"; }
tr -d '\r' <"$scratch/hello.out" | grep -x 'printer/name = Laser 5' >/dev/null || fail "hello.exe printed: $(cat "$scratch/hello.out")"
iconv -f UTF-16 -t UTF-8 "$scratch/run/hello.prof" | tr -d '\r' | grep '^ *copies=2$' >/dev/null ||
  fail "hello.exe's profile: $(iconv -f UTF-16 -t UTF-8 "$scratch/run/hello.prof")"
"${wine[@]}" "$kit/bin/zxut.exe" version >"$scratch/zxut.out" 2>&1 || { cat "$scratch/zxut.out"; fail "zxut.exe"; }
grep -q "^zxUT22 $version " "$scratch/zxut.out" || fail "zxut.exe version: $(cat "$scratch/zxut.out")"
echo "windows kit: ok ($top.zip, $(stat -c %s "$zip") bytes)"
