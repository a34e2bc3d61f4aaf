#!/usr/bin/env bash
# Runs one Windows program of the cross build under wine, for ctest
# (CMAKE_CROSSCOMPILING_EMULATOR) and by hand:
#
#   wine-run.sh [--prefix=DIR] program.exe [arguments...]
#   wine-run.sh [--prefix=DIR] --init        create the prefix and start the server
#   wine-run.sh [--prefix=DIR] --shutdown    wineserver -k
#
# ctest waits for every process that holds its output pipes, and wine leaves
# background processes behind (wineserver, services, winedevice, explorer). So:
# the server is started once, under a lock, with every inherited descriptor
# closed; the program runs with stdin from /dev/null and its output going to a
# temporary file that is printed afterwards. The exit code is the program's, or 1
# when wine reports an unhandled exception.
# Headless: no DISPLAY, no mono/gecko installers, WINEDEBUG=-all.
set -u

prefix=${ZXUT_WINEPREFIX:-${TMPDIR:-/tmp}/zxut22-wine-$(id -u)}
if [[ ${1:-} == --prefix=* ]]; then
  prefix=${1#--prefix=}
  shift
fi
[[ $# -gt 0 ]] || { echo "usage: $0 [--prefix=DIR] program.exe [args] | --init | --shutdown" >&2; exit 2; }

export WINEPREFIX=$prefix WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
unset DISPLAY WAYLAND_DISPLAY

# Close every inherited descriptor but 0, 1 and 2 (ctest's pipes are dealt with below).
for fd in /proc/$$/fd/*; do
  fd=${fd##*/}
  if [[ $fd =~ ^[0-9]+$ ]] && ((fd > 2)); then eval "exec $fd>&-" 2>/dev/null; fi
done

if [[ $1 == --shutdown ]]; then
  [[ -d $prefix ]] && wineserver -k </dev/null >/dev/null 2>&1
  exit 0
fi

# Background helpers must not hold anything of ours: no lock (fd 9), no pipes.
quiet() { "$@" </dev/null >>"$prefix.log" 2>&1 9>&-; }

mkdir -p "$prefix"
{
  flock 9
  if [[ ! -f $prefix/.zxut-ready ]]; then
    quiet wineboot --init || { cat "$prefix.log" >&2; echo "wine-run: wineboot failed" >&2; exit 1; }
    # Report Windows 10 (wine's default prefix says 6.1); no crash dialogs.
    quiet wine reg add 'HKCU\Software\Wine' /v Version /t REG_SZ /d win10 /f
    quiet wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f
    quiet wineserver -w
    touch "$prefix/.zxut-ready"
  fi
  # Exits at once (status 2) when a server for the prefix is already running;
  # otherwise the server stays 60 s after its last client.
  quiet wineserver -p60
} 9>"$prefix.lock"

[[ $1 == --init ]] && exit 0

out=$(mktemp "${TMPDIR:-/tmp}/zxut22-wine-out.XXXXXX")
trap 'rm -f "$out"' EXIT
wine "$@" </dev/null >"$out" 2>&1
rc=$?
cat "$out"
# After an unhandled exception wine's exit status is not reliable (sometimes 0,
# sometimes the exception code modulo 256): its crash report decides. A program
# whose children crash on purpose (the crash-protection tests) says so with the
# line "wine-run: children crash on purpose"; its own status then decides.
if ((rc == 0)) && grep -Eq '^(wine: Unhandled|Unhandled exception:)' "$out" &&
   ! grep -q '^wine-run: children crash on purpose' "$out"; then
  echo "wine-run: $1 ended with an unhandled exception" >&2
  rc=1
fi
exit "$rc"
