# What the scripts of this folder share. To be sourced, after `set -euo pipefail`.

projectDir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
buildDir=$projectDir/build

# What the library, the embedded host and the program need.
buildPackages=(g++ cmake ninja-build pkg-config libboost-log-dev libboost-thread-dev libboost-system-dev
  libboost-filesystem-dev liblua5.4-dev libcli11-dev)

# Progress and complaints. Standard output is for results.
say() {
  echo "$*" >&2
}

# Wrong usage.
refuse() {
  say "$(basename "$0"): $*"
  exit 2
}

as_root() {
  if [ "$(id -u)" = 0 ]; then
    "$@"
  else
    sudo "$@"
  fi
}

# run_logged LOG COMMAND...: what the command writes goes to the log, whose end is shown only if it fails.
run_logged() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  if "$@" >>"$log" 2>&1; then
    return 0
  fi
  say "failed: $*"
  tail -n 60 "$log" >&2
  say "(all of it: $log)"
  return 1
}

is_installed() {
  [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# install_packages PACKAGE...: installs what is missing. Where all is there, it neither asks for root nor for the
# network.
install_packages() {
  local package missing=()
  if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
    say "This is no Debian system. Please see to it that these packages' contents are installed: $*"
    return 0
  fi
  for package in "$@"; do
    is_installed "$package" || missing+=("$package")
  done
  if [ ${#missing[@]} = 0 ]; then
    return 0
  fi
  if [ "$(id -u)" != 0 ] && ! command -v sudo >/dev/null; then
    say "These packages are missing: ${missing[*]}"
    say "Neither root nor sudo is at hand. As root: apt-get install ${missing[*]}"
    return 1
  fi
  say "Installing ${missing[*]} ..."
  local log=$buildDir/log/install.log
  mkdir -p "$buildDir/log"
  : >"$log"
  # Another apt-get may be at work: wait for it instead of giving up.
  local apt=(as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300 -qq)
  run_logged "$log" "${apt[@]}" update
  run_logged "$log" "${apt[@]}" install --yes --no-install-recommends "${missing[@]}"
}
