# Shared helpers of the scripts in this folder (sourced, not run).
ZXUT_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

log() { printf '[%s] %s\n' "$(basename "$0" .sh)" "$*" >&2; }
die() { log "error: $*"; exit 1; }

need_root() {
  [[ $(id -u) -eq 0 ]] || die "$1 needs root: run this script as root (e.g. with sudo)"
}

# Number of parallel jobs: all cores, as the machine is ours during a run.
ncores() { nproc 2>/dev/null || echo 2; }
