#!/usr/bin/env bash
# Installs what is missing (apt-get, needs root), builds the library and the
# `zxut` tool natively on Linux, and runs the demo on data the repository carries.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$here/lib.sh"

bash "$here/setup.sh" --linux
b=${ZXUT_OUT:-$ZXUT_ROOT/out}/demo
mkdir -p "$b"
cmake -S "$ZXUT_ROOT" -B "$b" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZXUT_TESTS=OFF \
  >"$b.configure.log" 2>&1 || { cat "$b.configure.log" >&2; exit 1; }
ninja -C "$b" -j"$(ncores)" zxut >"$b.build.log" 2>&1 || { tail -40 "$b.build.log" >&2; exit 1; }

# The demo keeps its registry files in a folder of its own, not in ~/.config.
export ZXUT_REGISTRY_DIR=$b/registry
mkdir -p "$ZXUT_REGISTRY_DIR"
zxut() { echo "\$ zxut $*"; "$b/zxut" "$@"; echo; }
cd "$ZXUT_ROOT"
zxut version
zxut help
