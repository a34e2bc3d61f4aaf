# Shared steps of the install, package and README checks (sourced).
set -euo pipefail

fail() { echo "FAIL: $*" >&2; exit 1; }

# The export names of src/exports/exports.list, sorted.
listed_exports() {  # source-dir
  sed -e 's/#.*//' -e 's/[[:space:]]//g' "$1/src/exports/exports.list" | grep -v '^$' | sort
}

# The names a shared library exports (its defined dynamic symbols), sorted.
exported_names() {  # library
  nm -D --defined-only "$1" | awk '$2 ~ /^[TWDBRV]$/ { print $3 }' | sort
}

# Builds the examples against an installed prefix in both ways a user would and
# runs them: CMake's find_package(zxUT22 CONFIG), then pkg-config.
build_and_run_examples() {  # source-dir prefix scratch-dir
  local src=$1 prefix=$2 scratch=$3 pcdir=$2/lib/pkgconfig
  mkdir -p "$scratch"
  cmake -S "$src/examples" -B "$scratch/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF >"$scratch/cmake.log" 2>&1 ||
    { cat "$scratch/cmake.log" >&2; fail "find_package(zxUT22) did not configure"; }
  grep -q "zxUT22_DIR:PATH=$prefix/lib/cmake/zxUT22" "$scratch/cmake/CMakeCache.txt" ||
    fail "find_package found another zxUT22: $(grep zxUT22_DIR "$scratch/cmake/CMakeCache.txt")"
  ninja -C "$scratch/cmake" >"$scratch/ninja.log" 2>&1 || { cat "$scratch/ninja.log" >&2; fail "examples did not build"; }
  "$scratch/cmake/hello_c" "$scratch/hello.prof" >"$scratch/hello_c.out" || fail "hello_c (find_package) failed"
  grep -qx 'printer/name = Laser 5' "$scratch/hello_c.out" || fail "hello_c printed: $(cat "$scratch/hello_c.out")"
  "$scratch/cmake/hello_cpp" | grep -x 'all well' >/dev/null || fail "hello_cpp (find_package) failed"
  # Linked to the installed library, not the build tree's.
  ldd "$scratch/cmake/hello_c" | grep "libzxUT22.so.22 => $prefix/lib/" >/dev/null || fail "hello_c loads $(ldd "$scratch/cmake/hello_c" | grep zxUT22)"

  local flags libdir
  flags=$(PKG_CONFIG_PATH=$pcdir pkg-config --cflags --libs zxUT22) || fail "pkg-config knows no zxUT22"
  libdir=$(PKG_CONFIG_PATH=$pcdir pkg-config --variable=libdir zxUT22)
  [[ $(PKG_CONFIG_PATH=$pcdir pkg-config --modversion zxUT22) == "$ZXUT_VERSION" ]] || fail "pkg-config version"
  # shellcheck disable=SC2086
  cc -std=c11 -Wall -Wextra -Werror -pedantic "$src/examples/hello.c" $flags -Wl,-rpath,"$libdir" \
    -o "$scratch/hello_pc" || fail "hello.c does not build with pkg-config's flags: $flags"
  # shellcheck disable=SC2086
  c++ -std=c++17 -Wall -Wextra -Werror "$src/examples/hello.cpp" $flags -Wl,-rpath,"$libdir" \
    -o "$scratch/hello_pc_cpp" || fail "hello.cpp does not build with pkg-config's flags: $flags"
  "$scratch/hello_pc" | grep -x 'printer/copies = 2' >/dev/null || fail "hello (pkg-config) failed"
  "$scratch/hello_pc_cpp" | grep -x 'all well' >/dev/null || fail "hello_cpp (pkg-config) failed"
}
