# Shared by the scripts beside it: where the tree is, what must be installed, how to build a preset.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc)

# Installs the packages of scripts/packages.txt that are missing; quiet and quick when there are none.
install_packages() {
  local wanted missing=() name
  mapfile -t wanted < <(grep -vE '^\s*(#|$)' "$root/scripts/packages.txt")
  for name in "${wanted[@]}" "$@"; do
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$name" 2>/dev/null)" = installed ] || missing+=("$name")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "Installing: ${missing[*]}" >&2
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "error: run as root, or install: ${missing[*]}" >&2; return 1; }
    as_root=(sudo)
  fi
  "${as_root[@]}" apt-get update -qq >&2
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
}

# build_preset <preset> [target...]: configures and builds; says what it does on standard error only.
build_preset() {
  local preset=$1 log="$root/build/$1.log"
  shift
  mkdir -p "$root/build"
  (cd "$root" && cmake --preset "$preset" && cmake --build --preset "$preset" -j "$jobs" ${1:+--target "$@"}) >"$log" 2>&1 || {
    echo "error: building preset '$preset' failed, the end of $log:" >&2
    tail -n 40 "$log" >&2
    return 1
  }
}
