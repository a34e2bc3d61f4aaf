#!/usr/bin/env bash
# Enables Debian source packages (deb-src) for bookworm, bookworm-updates and
# bookworm-security from the same mirrors the binary packages come from, so that
# `apt-get source` can fetch what the Windows build compiles. Idempotent.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$here/lib.sh"

file=/etc/apt/sources.list.d/zxut22-deb-src.sources
suites_re='^bookworm(-updates|-security)?$'

targets() {  # "<uri> <suite>" of the configured index targets of one kind
  apt-get indextargets --format '$(REPO_URI) $(RELEASE)' "Created-By: $1" 2>/dev/null |
    awk -v re="$suites_re" '$2 ~ re' | sort -u
}

if [[ -z $(targets Packages) ]]; then
  die "no bookworm binary sources configured in apt; is this Debian 12?"
fi
if [[ ! -f $file ]] && [[ $(targets Sources | awk '{print $2}' | sort -u | wc -l) -ge 3 ]]; then
  log "deb-src already enabled"
  exit 0
fi

keyring=/usr/share/keyrings/debian-archive-keyring.gpg
content=$(targets Packages | awk -v key="$keyring" '
  { uri[$1] = uri[$1] (uri[$1] ? " " : "") $2 }
  END {
    n = 0
    for (u in uri) {
      if (n++) print ""
      print "Types: deb-src"
      print "URIs: " u
      print "Suites: " uri[u]
      print "Components: main"
      print "Signed-By: " key
    }
  }')
content="# Written by zxUT22 scripts/enable-deb-src.sh: source packages for the Windows build.
$content"

if [[ -f $file ]] && [[ $(cat "$file") == "$content" ]]; then
  log "deb-src already enabled ($file)"
  exit 0
fi
need_root "enabling deb-src"
printf '%s\n' "$content" >"$file"
log "wrote $file; updating the package lists"
apt-get update -q
