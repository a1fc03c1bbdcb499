# What programs rely on that were compiled against a library: described, kept, compared. To be sourced after lib_package.sh.

abiDir=$projectDir/tests/package/abi

# describe_abi SOURCES TREE [CMAKE_ARGUMENT...]: into TREE/lib*.abi, out of a build of its own, that has debug information.
describe_abi() {
  local sources=$1 tree=$2 log=$buildDir/log/abi.log
  shift 2
  check_place "$tree" \
    && run_logged "$log" cmake --preset release -S "$sources" -B "$tree" -DCMAKE_BUILD_TYPE=None "-DCMAKE_CXX_FLAGS=-O0 -g" \
      -DTOVRINTIMER_BUILD_TESTS=OFF -DTOVRINTIMER_BUILD_EMBEDDED_HOST=OFF -DTOVRINTIMER_PRECOMPILED_HEADERS=OFF "$@" \
    && run_build "$log" cmake --build "$tree" --parallel "$jobs" --target abi_descriptions
}

prepare_abi() {
  install_packages "${buildPackages[@]}" abigail-tools
  mkdir -p "$buildDir/log"
  : >"$buildDir/log/abi.log"
  say "Reading the interface ..."
  describe_abi "$projectDir" "$buildDir/abi"
}

renew_abi() {
  prepare_abi
  mkdir -p "$abiDir"
  cp "$buildDir"/abi/*.abi "$abiDir/"
  ls "$abiDir"/*.abi
}

check_abi() {
  local file
  prepare_abi
  for file in "$buildDir"/abi/*.abi; do
    check "$(basename "$file"): what programs rely on is as described" abidiff "$abiDir/$(basename "$file")" "$file"
  done
  check "a change of what they rely on is noticed" notices_seeded_change
}

# An operation more in front of the others of a class, as somebody adds one without a thought.
notices_seeded_change() {
  local sources=$buildDir/abi-seeded/sources tree=$buildDir/abi-seeded/tree report=$buildDir/log/abi-seeded.txt
  local header=$sources/timer_src/main/TimerObserver.hpp
  copy_sources_to "$sources"
  sed -i 's/^    virtual void queued(/    virtual void added() noexcept { }\n&/' "$header"
  grep -q 'void added' "$header" && describe_abi "$sources" "$tree" -DTOVRINTIMER_BUILD_C_INTERFACE=OFF || return
  if abidiff "$abiDir/libtovrintimer.abi" "$tree/libtovrintimer.abi" >"$report"; then
    return 1
  fi
  sed 's/^/  /' "$report"
}
