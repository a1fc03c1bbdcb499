# How script/test builds, runs and counts. To be sourced after lib.sh; expects the number of jobs in `jobs`, and how
# long to fuzz in `fuzzSeconds`.

minLineCoverage=95
minBranchCoverage=85

passed=0
failed=0
skipped=0
broken=false # something other than a test has failed

# A sanitizer's run time maps memory at fixed places, and gives up where the kernel has put something else there
# before it. That happens with more random bits than Debian's kernels had at the time of these compilers.
without_random_addresses() {
  if [ "$(cat /proc/sys/vm/mmap_rnd_bits 2>/dev/null || echo 0)" -gt 28 ] && setarch -R true 2>/dev/null; then
    setarch -R "$@"
  else
    "$@"
  fi
}

# for_step STEP COMMAND...: runs the command as the programs of that step need it.
for_step() {
  local step=$1
  shift
  case $step in
  *san* | fuzz) without_random_addresses "$@" ;;
  *) "$@" ;;
  esac
}

count() {
  grep --count --extended-regexp "$1" "$2" || true
}

# add_totals STEP REPORT STATUS BUILD_SECONDS TEST_SECONDS: counts the tests in a report of ctest, and prints the
# step's line. A test that could not be run has failed; skipped is only what asked for it.
add_totals() {
  local step=$1 report=$2 status=$3 buildSeconds=$4 testSeconds=$5
  local all=0 good=0 left=0 bad
  if [ -f "$report" ]; then
    all=$(count '^\s*<testcase ' "$report")
    good=$(count '^\s*<testcase .*status="run"' "$report")
    left=$(count '^\s*(<skipped message="SKIP_|<testcase .*status="disabled")' "$report")
  fi
  bad=$((all - good - left))
  if [ "$status" != 0 ] && [ "$bad" = 0 ]; then
    bad=1 # no test at all, or ctest itself failed
  fi
  passed=$((passed + good))
  failed=$((failed + bad))
  skipped=$((skipped + left))
  printf '%-22s %s; built in %d s, run in %d s\n' "$step" "$(sum_up "$good" "$bad" "$left")" \
    "$buildSeconds" "$testSeconds"
}

sum_up() {
  printf '%d passed, %d failed' "$1" "$2"
  if [ "$3" != 0 ]; then
    printf ', %d skipped' "$3"
  fi
}

# build_and_test STEP TREE COMMAND...: the command builds the tree; then its tests are run. Does not stop at a
# failure: the other steps tell more. (So `set -e` does not reach the command: it must chain what it does.)
build_and_test() {
  local step=$1 tree=$2 status=0 start=$SECONDS built
  shift 2
  local log=$buildDir/log/test-$step.log report=$buildDir/log/test-$step.xml
  mkdir -p "$buildDir/log"
  : >"$log"
  rm -f "$report"
  say "$step: building ..."
  if ! run_logged "$log" "$@"; then
    failed=$((failed + 1))
    printf '%-22s does not build\n' "$step"
    return 0
  fi
  built=$SECONDS
  say "$step: running the tests ..."
  for_step "$step" ctest --test-dir "$tree" --output-on-failure --no-tests=error --timeout 300 --parallel "$jobs" \
    --output-junit "$report" >>"$log" 2>&1 || status=$?
  if [ "$status" != 0 ]; then
    # What passed is of no interest now.
    grep --invert-match --extended-regexp '^ *Start +[0-9]+: | +Passed +[0-9.]+ sec$' "$log" | tail -n 200 >&2
    say "(all of it: $log)"
  fi
  add_totals "$step" "$report" "$status" $((built - start)) $((SECONDS - built))
}

build_preset() {
  local preset=$1
  # The build asks each test program for its tests, and so runs it.
  cmake --preset "$preset" -S "$projectDir" -DTOVRINTIMER_WERROR=ON -DTOVRINTIMER_BUILD_TESTS=ON \
    && for_step "$preset" cmake --build "$buildDir/$preset" --parallel "$jobs"
}

test_preset() {
  local preset=$1
  if [ "$preset" = coverage ] && [ -d "$buildDir/coverage" ]; then
    # Else what an earlier run has reached would be counted in.
    find "$buildDir/coverage" -name '*.gcda' -delete
  fi
  build_and_test "$preset" "$buildDir/$preset" build_preset "$preset"
}

report_coverage() {
  gcovr --root "$projectDir" --filter "$projectDir/timer_src/" \
    --exclude-throw-branches --exclude-unreachable-branches \
    --print-summary --fail-under-line "$minLineCoverage" --fail-under-branch "$minBranchCoverage" \
    "$buildDir/coverage" || broken=true
}

# The library is built without the embedded host and installed; then a host that knows only the package.
build_external_host() {
  local compiler=$1 tree=$2
  local configure=(cmake -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Release)
  rm -rf "$tree/prefix" "$tree/program"
  "${configure[@]}" -S "$projectDir" -B "$tree/library" -DTOVRINTIMER_WERROR=ON \
    -DTOVRINTIMER_BUILD_EMBEDDED_HOST=OFF -DTOVRINTIMER_BUILD_TESTS=OFF \
    && cmake --build "$tree/library" --parallel "$jobs" \
    && cmake --install "$tree/library" --prefix "$tree/prefix" \
    && "${configure[@]}" -S "$projectDir/tests/external_host" -B "$tree/program" \
      -DCMAKE_PREFIX_PATH="$tree/prefix" \
    && cmake --build "$tree/program" --parallel "$jobs"
}

test_external_host() {
  local compiler=$1
  local tree=$buildDir/external-host/$compiler
  build_and_test "external-host-$compiler" "$tree/program" build_external_host "$compiler" "$tree"
}

# The corpus of the tree is where it begins; what it finds besides stays in the build folder, and so do the bytes that
# made it fail. The script that they stand for is at the end of the log.
test_fuzz() {
  local tree=$buildDir/fuzz log=$buildDir/log/test-fuzz.log start=$SECONDS built
  local binary=$tree/tests/simulation/simulation_fuzz
  mkdir -p "$buildDir/log"
  : >"$log"
  say "fuzz: building ..."
  if ! run_logged "$log" cmake --preset fuzz -S "$projectDir" -DTOVRINTIMER_WERROR=ON \
    -DTOVRINTIMER_BUILD_TESTS=ON \
    || ! run_logged "$log" cmake --build --preset fuzz --parallel "$jobs"; then
    failed=$((failed + 1))
    printf '%-22s does not build\n' fuzz
    return 0
  fi
  built=$SECONDS
  say "fuzz: running for $fuzzSeconds s ..."
  mkdir -p "$tree/corpus" "$tree/found"
  if run_logged "$log" for_step fuzz "$binary" -max_total_time="$fuzzSeconds" -max_len=400 -len_control=0 \
    -timeout=60 -artifact_prefix="$tree/found/" "$tree/corpus" "$projectDir/tests/simulation/fuzz/corpus"; then
    passed=$((passed + 1))
    printf '%-22s %s; built in %d s, run in %d s: %s\n' fuzz "$(sum_up 1 0 0)" $((built - start)) \
      $((SECONDS - built)) "$(tail -n 1 "$log")"
  else
    failed=$((failed + 1))
    printf '%-22s %s; built in %d s\n' fuzz "$(sum_up 0 1 0)" $((built - start))
  fi
}

# The closing line. Fails where something failed, or nothing passed.
totals() {
  sum_up "$passed" "$failed" "$skipped"
  echo
  [ "$passed" -gt 0 ] && [ "$failed" = 0 ] && [ "$broken" = false ]
}
