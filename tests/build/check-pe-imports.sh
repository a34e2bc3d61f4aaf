#!/usr/bin/env bash
# Fails when a Windows binary of the build imports a MinGW runtime or a
# dependency DLL: zxUT22.dll and the programs must run with nothing beside them
# but each other and the system's DLLs.
#   check-pe-imports.sh <objdump> file.dll|file.exe...
set -euo pipefail
objdump=$1; shift
bad='^(lib.*|zlib.*|.*pcre.*|.*expat.*|.*minizip.*|.*gtest.*|.*gmock.*|.*stdc\+\+.*|.*winpthread.*)\.dll$'
status=0
for f in "$@"; do
  dlls=$("$objdump" -p "$f" | awk '/DLL Name:/ {print $3}')
  [[ -n $dlls ]] || { echo "$f: no imports found (not a PE file?)"; status=1; continue; }
  while read -r d; do
    if [[ ${d,,} =~ $bad ]]; then
      echo "$f imports $d"
      status=1
    fi
  done <<<"$dlls"
  echo "$(basename "$f"): $(tr '\n' ' ' <<<"$dlls")"
done
exit $status
