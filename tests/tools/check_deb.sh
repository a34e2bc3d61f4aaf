#!/usr/bin/env bash
# The Debian package of a Linux build: CPack's DEB, its control fields and files,
# then installed with dpkg into a scratch root (never the machine's /usr), used
# there (zxut, a find_package and a pkg-config client) and removed without a trace.
#   check_deb.sh BUILD-DIR SOURCE-DIR VERSION
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$here/install_lib.sh"
build=$1 src=$2 ZXUT_VERSION=$3
major=${ZXUT_VERSION%%.*}
scratch=$(mktemp -d "${TMPDIR:-/tmp}/zxut_deb.XXXXXX")
trap 'rm -rf "$scratch"' EXIT

# A package directory of this run's own, so that parallel runs do not meet.
(cd "$scratch" && cpack --config "$build/CPackConfig.cmake" -G DEB -B "$scratch/packages") \
  >"$scratch/cpack.log" 2>&1 || { cat "$scratch/cpack.log"; fail "cpack -G DEB"; }
deb=$scratch/packages/zxut22_${ZXUT_VERSION}_amd64.deb
[[ -f $deb ]] || fail "no $(basename "$deb"): $(ls "$scratch/packages")"

field() { dpkg-deb -f "$deb" "$1"; }
[[ $(field Package) == zxut22 && $(field Version) == "$ZXUT_VERSION" && $(field Architecture) == amd64 ]] ||
  fail "control: $(dpkg-deb -f "$deb")"
# Dependencies come from the libraries the binaries need (dpkg-shlibdeps).
for dep in libc6 libstdc++6 libicu72 libpcre2-16-0 zlib1g; do
  field Depends | grep "\b$dep\b" >/dev/null || fail "Depends lacks $dep: $(field Depends)"
done
contents=$(dpkg-deb -c "$deb")
grep -q "\./usr/lib/libzxUT22.so.$major -> libzxUT22.so.$ZXUT_VERSION" <<<"$contents" || fail "no SONAME link"
for f in usr/bin/zxut usr/include/zxUT22.h usr/lib/pkgconfig/zxUT22.pc usr/lib/cmake/zxUT22/zxUT22Config.cmake; do
  grep -q " \./$f\$" <<<"$contents" || fail "the package lacks /$f"
done
grep -q '/libzxut_\|/test_\|/bench_' <<<"$contents" && fail "internals in the package"
dpkg-deb -I "$deb" shlibs | grep -x "libzxUT22 $major zxut22 (>= $ZXUT_VERSION)" >/dev/null || fail "shlibs: $(dpkg-deb -I "$deb" shlibs)"

# dpkg into a root of its own: its own database, dependencies not checked (they
# are this machine's). The maintainer scripts run outside a chroot with an
# ldconfig of ours first in PATH, which notes that it was called.
root=$scratch/root
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates" "$root/var/log" "$scratch/bin"
touch "$root/var/lib/dpkg/status"
printf '#!/bin/sh\necho "ldconfig $*" >>"%s"\n' "$scratch/ldconfig.calls" >"$scratch/bin/ldconfig"
chmod +x "$scratch/bin/ldconfig"
dpkg_root() { PATH=$scratch/bin:$PATH:/usr/sbin:/sbin dpkg --root="$root" --log="$root/var/log/dpkg.log" \
  --force-not-root --force-depends --force-script-chrootless "$@"; }
dpkg_root -i "$deb" >"$scratch/dpkg.log" 2>&1 || { cat "$scratch/dpkg.log"; fail "dpkg -i"; }
dpkg_root -s zxut22 | grep '^Status: install ok installed' >/dev/null || fail "not installed: $(dpkg_root -s zxut22)"
[[ $(wc -l <"$scratch/ldconfig.calls") == 1 ]] || fail "postinst did not call ldconfig"

"$root/usr/bin/zxut" version | grep "^zxUT22 $ZXUT_VERSION " >/dev/null || fail "zxut from the package"
build_and_run_examples "$src" "$root/usr" "$scratch/examples"

dpkg_root --purge zxut22 >>"$scratch/dpkg.log" 2>&1 || { cat "$scratch/dpkg.log"; fail "dpkg --purge"; }
[[ $(wc -l <"$scratch/ldconfig.calls") == 2 ]] || fail "postrm did not call ldconfig"
left=$(find "$root/usr" ! -type d 2>/dev/null || true)
[[ -z $left ]] || fail "left after removal: $left"
echo "debian package: ok ($(basename "$deb"), $(stat -c %s "$deb") bytes)"
