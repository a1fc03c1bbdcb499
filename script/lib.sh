# What the scripts of this folder share. To be sourced, after `set -euo pipefail`.

projectDir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
buildDir=$projectDir/build

# What the library, the embedded host and the program need.
buildPackages=(g++ cmake ninja-build pkg-config libboost-log-dev libboost-thread-dev libboost-system-dev
  libboost-filesystem-dev liblua5.4-dev libcli11-dev nlohmann-json3-dev libncurses-dev libedit-dev)

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

# tell_of_failure LOG COMMAND...: the end of the log.
tell_of_failure() {
  local log=$1
  shift
  say "failed: $*"
  tail -n 60 "$log" >&2
  say "(all of it: $log)"
}

# run_logged LOG COMMAND...: what the command writes goes to the log, whose end is shown only if it fails.
run_logged() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  "$@" >>"$log" 2>&1 && return
  tell_of_failure "$log" "$@"
  return 1
}

# run_build LOG COMMAND...: the same, and shows how far the build has come.
run_build() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  "$@" 2>&1 | tee -a "$log" | show_progress && return
  tell_of_failure "$log" "$@"
  return 1
}

# Of what a build writes, its steps ("[12/258] Building ..."): on a terminal in one line, else every tenth part of them.
show_progress() {
  local line tenths shown=0 columns
  columns=$(tput cols 2>/dev/null || echo 80)
  while IFS= read -r line; do
    [[ $line =~ ^\[([0-9]+)/([0-9]+)\] ]] || continue
    tenths=$((10 * BASH_REMATCH[1] / BASH_REMATCH[2]))
    if [ -t 2 ]; then
      printf '\r\033[K%s' "${line:0:columns-1}" >&2
    elif [ "$tenths" -gt "$shown" ]; then
      shown=$tenths
      say "  step ${BASH_REMATCH[1]} of ${BASH_REMATCH[2]}"
    fi
  done
  [ ! -t 2 ] || printf '\r\033[K' >&2
}

# Warnings are errors with the compilers that have been seen to give none. All scripts have the same, so that they can
# use each other's builds.
if grep -qsx VERSION_CODENAME=bookworm /etc/os-release; then
  warningsAreErrors=ON
else
  warningsAreErrors=OFF
fi

# check_place TREE: a build folder is of use only where it was made.
check_place() {
  local tree=$1 made
  made=$(sed -n 's/^CMAKE_CACHEFILE_DIR:INTERNAL=//p' "$tree/CMakeCache.txt" 2>/dev/null) || return 0
  if ! [ "$made" -ef "$tree" ]; then
    say "$tree was made as $made, and has been moved or copied since. It is of no use here; remove it, and try again:"
    say "  rm -r $tree"
    return 1
  fi
}

# configure PRESET ARGUMENT...: sets a build up, in the folder of the preset.
configure() {
  local preset=$1
  shift
  check_place "$buildDir/$preset" \
    && cmake --preset "$preset" -S "$projectDir" -DTOVRINTIMER_WERROR=$warningsAreErrors "$@"
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
