#!/usr/bin/env bash
# Runs the commands the README shows. Every ```sh block of README.md is marked:
#   ```sh {test}            run here, in order, as one script (set -e: each must succeed)
#   ```sh {run-by: WHAT}    run elsewhere (WHAT names the script or test that runs it,
#                           and must exist in the repository)
# The script runs in a scratch folder that looks like the repository to it
# (out/linux is the build folder, examples/ and scripts/ the sources), with HOME,
# TMPDIR and the registry folder (ZXUT_REGISTRY_DIR) in the scratch folder, so it
# touches nothing of the machine's or the user's.
#   check_readme.sh BUILD-DIR SOURCE-DIR
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$here/install_lib.sh"
build=$1 src=$2
scratch=$(mktemp -d "${TMPDIR:-/tmp}/zxut_readme.XXXXXX")
trap 'rm -rf "$scratch"' EXIT

readme=$src/README.md
# Every sh block carries a marker; a run-by marker names something that exists.
python3 - "$readme" "$src" <<'PY' || exit 1
import os, re, sys
readme, src = sys.argv[1], sys.argv[2]
bad = []
for n, line in enumerate(open(readme, encoding="utf-8"), 1):
    m = re.match(r"^```(\S+)(.*)$", line.rstrip("\n"))
    if not m or m.group(1) not in ("sh", "bash"):
        continue
    mark = m.group(2).strip()
    if mark == "{test}":
        continue
    r = re.fullmatch(r"\{run-by: ([^}]+)\}", mark)
    if not r:
        bad.append(f"README.md:{n}: an sh block without {{test}} or {{run-by: ...}}")
    elif not os.path.exists(os.path.join(src, r.group(1).split()[0])):
        bad.append(f"README.md:{n}: {r.group(1).split()[0]} does not exist")
for b in bad:
    print("FAIL:", b, file=sys.stderr)
sys.exit(1 if bad else 0)
PY
awk '/^```sh \{test\}$/ { on = 1; printf "# README.md:%d\n", NR; next } /^```/ { on = 0 } on' "$readme" \
  >"$scratch/readme.sh"
blocks=$(grep -c '^# README.md:' "$scratch/readme.sh")
((blocks >= 8)) || fail "only $blocks {test} blocks in README.md"

work=$scratch/work
mkdir -p "$work/out" "$scratch/home" "$scratch/tmp" "$scratch/registry"
ln -s "$build" "$work/out/linux"
ln -s "$src/examples" "$work/examples"
ln -s "$src/scripts" "$work/scripts"
(
  cd "$work"
  unset PKG_CONFIG_PATH LD_LIBRARY_PATH XDG_CONFIG_HOME ZXUT_ODS
  export HOME=$scratch/home TMPDIR=$scratch/tmp ZXUT_REGISTRY_DIR=$scratch/registry
  export ZXUT_SHM_PREFIX=zxut_readme_$$ PATH=$scratch/home/.local/bin:$PATH
  bash -euo pipefail -x "$scratch/readme.sh"
) >"$scratch/run.log" 2>&1 || { cat "$scratch/run.log"; fail "a README command failed (above)"; }
echo "README: ok ($blocks blocks run)"
