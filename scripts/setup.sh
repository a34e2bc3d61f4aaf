#!/usr/bin/env bash
# Installs what building and testing zxUT22 needs on Debian 12 (bookworm), then
# cross-builds the Windows dependencies into a cache outside the repository.
# Idempotent: apt-get runs only when a package is missing, and the Windows
# dependencies are rebuilt only when their versions change.
#
#   bash scripts/setup.sh            everything (needs root for apt-get)
#   bash scripts/setup.sh --linux    only what the Linux build needs
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$here/lib.sh"

linux_only=0
[[ ${1:-} == --linux ]] && linux_only=1

linux_packages=(
  g++ cmake ninja-build pkg-config make file
  clang libclang-rt-14-dev llvm                 # libFuzzer, sanitizers, llvm-symbolizer
  zlib1g-dev libpcre2-dev libicu-dev libminizip-dev libexpat1-dev
  libdw-dev libcurl4-openssl-dev
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  libspdlog-dev libmimalloc-dev                 # peers of the debug and heap benchmarks
  libinih-dev libpugixml-dev                    # peers of the profile load benchmark
  libzip-dev p7zip-full                         # ZIP peer and oracle
  lynx w3m html2text                            # HTML-to-text oracles and peers
  libasio-dev libtbb-dev                        # peers of the job dispatcher benchmark
  python3 libxml2-utils unzip zip xz-utils bzip2 ca-certificates
  libpython3.11-testsuite                       # the mail corpus (Python's email test messages)
  dpkg-dev                                      # the Debian package (dpkg-shlibdeps), apt-get source
  lldb elfutils gdb                             # crash-dump and symbol oracles
  poppler-utils libimage-exiftool-perl          # PDF information oracles
  qpdf ghostscript python3-cairo python3-reportlab  # PDF producers of the test files
  golang-github-rwcarlsen-goexif-dev            # camera samples for the image readers
  python3-olefile                               # compound-file oracle (document properties)
  libarchive-zip-perl                           # the ZIP module exiftool reads office packages with
)
windows_packages=(
  g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
  mingw-w64-x86-64-dev libz-mingw-w64-dev
  wine wine64
)

packages=("${linux_packages[@]}")
((linux_only)) || packages+=("${windows_packages[@]}")

missing=()
for p in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Status}' "$p" 2>/dev/null || true)
  [[ $status == installed ]] || missing+=("$p")
done

if ((${#missing[@]})); then
  log "installing: ${missing[*]}"
  need_root "apt-get install"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -q
  apt-get install -y -q --no-install-recommends "${missing[@]}"
else
  log "all ${#packages[@]} packages present"
fi

((linux_only)) && exit 0

# Source packages for the Windows dependencies. Without root, build-win-deps.sh
# asks for them only when its cache lacks something.
[[ $(id -u) -eq 0 ]] && bash "$here/enable-deb-src.sh"
bash "$here/build-win-deps.sh" >/dev/null
