# How script/test builds, runs and counts. To be sourced after lib.sh; expects the number of jobs in `jobs`.

ctestArguments=() # which tests of a tree are run: all
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

# tests_of STEP TREE: what became of each test, "passed NAME", "failed NAME" or "skipped NAME" a line; a reason after
# what was skipped, behind a tab. An entry of ctest is one test, or one run of a program of GoogleTest's, which has left
# a report of its tests: without a report it has broken down, and is a test that failed. Neither may a program fail all
# of whose tests have passed.
tests_of() {
  local step=$1 tree=$2 name status tests
  sed -n 's/^\s*<testcase name="\([^"]*\)".* status="\([a-z]*\)".*/\2 \1/p' "$buildDir/log/test-$step.xml" \
    | while read -r status name; do
      case $status,$name in
      disabled,*) echo "skipped $name" ;;
      *,*-of-[0-9]*)
        tests=$(tests_in_report "$tree/test-reports/$name.xml")
        [ -z "$tests" ] || echo "$tests"
        if [ -z "$tests" ] || { [ "$status" != run ] && ! grep -q '^failed ' <<<"$tests"; }; then
          echo "failed $name"
        fi
        ;;
      run,*) echo "passed $name" ;;
      *) echo "failed $name" ;;
      esac
    done
}

# tests_in_report FILE: the same for a report of GoogleTest's.
tests_in_report() {
  [ ! -f "$1" ] || awk -F '"' '
    function tell() { if (name != "") print outcome " " name }
    /^    <testcase / {
      tell()
      name = $0; sub(/.* classname="/, "", name); sub(/".*/, "", name); name = name "." $2
      outcome = / result="completed"/ ? "passed" : "skipped"
    }
    /^      <failure / { outcome = "failed" }
    /^      <skipped / { reason = $2; sub(/.*&#x0A;/, "", reason); name = name "\t" reason }
    END { tell() }' "$1"
}

count() {
  grep --count "^$1 " "$buildDir/log/test-$2.txt" || true
}

# add_totals STEP TREE STATUS BUILD_SECONDS TEST_SECONDS: counts the tests, and prints the step's line.
add_totals() {
  local step=$1 tree=$2 status=$3 buildSeconds=$4 testSeconds=$5 good bad left
  tests_of "$step" "$tree" >"$buildDir/log/test-$step.txt"
  good=$(count passed "$step")
  bad=$(count failed "$step")
  left=$(count skipped "$step")
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

# run_tests STEP TREE ARGUMENT...: by ctest.
run_tests() {
  local step=$1 tree=$2
  shift 2
  for_step "$step" ctest --test-dir "$tree" --output-on-failure --no-tests=error --timeout 300 "$@"
}

# pass_alone STEP TREE: a few tests that have failed are run again, up to twice, with nothing beside them, and have to pass
# then: a test of time may fail where the machine was busy elsewhere. That is told. What a sanitizer has found, a program
# that breaks down or does not end, and many that fail, are no matter of time.
pass_alone() {
  local step=$1 tree=$2 number name attempt
  local log=$buildDir/log/test-$step.log report=$buildDir/log/test-$step.xml again=$buildDir/log/test-$step-again.log
  local failures=$tree/Testing/Temporary/LastTestsFailed.log
  if [ ! -f "$failures" ] || [ "$(wc -l <"$failures")" -gt 5 ] \
    || grep -qE 'Sanitizer:|runtime error:|\*\*\*(Exception|Timeout)' "$log"; then
    return 1
  fi
  local names=()
  while IFS=: read -r number name; do
    names+=("$name")
  done <"$failures"
  say "$step: failed beside others, and run again: ${names[*]}"
  grep -E '^\[  FAILED  \] |: Failure$' "$log" | sort -u >&2
  for attempt in 1 2; do
    if run_tests "$step" "$tree" --rerun-failed --parallel 1 "${ctestArguments[@]}" >"$again" 2>&1; then
      printf '%-22s passed only when run alone: %s\n' "$step" "${names[*]}"
      sed -i 's/ status="fail"/ status="run"/' "$report"
      return
    fi
  done
  say "$step: failed alone, too:"
  tail -n 50 "$again" >&2
  for name in "${names[@]}"; do
    grep -q ":$name\$" "$failures" || sed -i "/name=\"$name\"/s/ status=\"fail\"/ status=\"run\"/" "$report"
  done
  return 1
}

# build_and_test STEP TREE COMMAND...: the command builds the tree; then its tests are run. Does not stop at a
# failure: the other steps tell more. (So `set -e` does not reach the command: it must chain what it does.)
build_and_test() {
  local step=$1 tree=$2 status=0 start=$SECONDS built
  shift 2
  local log=$buildDir/log/test-$step.log report=$buildDir/log/test-$step.xml
  mkdir -p "$buildDir/log"
  : >"$log"
  rm -rf "$report" "$buildDir/log/test-$step.txt" "$tree/test-reports"
  say "$step: building ..."
  if ! run_build "$log" "$@"; then
    failed=$((failed + 1))
    printf '%-22s does not build\n' "$step"
    return 0
  fi
  built=$SECONDS
  say "$step: running the tests ..."
  run_tests "$step" "$tree" --parallel $((2 * jobs)) --output-junit "$report" "${ctestArguments[@]}" >>"$log" 2>&1 \
    || status=$?
  if [ "$status" != 0 ] && pass_alone "$step" "$tree"; then
    status=0
  fi
  if [ "$status" != 0 ]; then
    # What passed is of no interest now.
    grep --invert-match --extended-regexp '^ *Start +[0-9]+: | +Passed +[0-9.]+ sec$|^\[ *(RUN|OK) *\]' "$log" \
      | tail -n 200 >&2
    say "(all of it: $log)"
  fi
  add_totals "$step" "$tree" "$status" $((built - start)) $((SECONDS - built))
}

build_preset() {
  configure "$1" -DTOVRINTIMER_BUILD_TESTS=ON && cmake --build "$buildDir/$1" --parallel "$jobs"
}

test_preset() {
  build_and_test "$1" "$buildDir/$1" build_preset "$1"
}

# install_for_hosts TREE PREFIX: without the embedded host.
install_for_hosts() {
  cmake --install "$1" --component library --prefix "$2" && cmake --install "$1" --component development --prefix "$2"
}

# The host that is installed as an example, and which knows only the package: that is moved after it has been installed,
# to a folder with a space in its name. For g++ the library comes out of the release build; for clang++ it is built on its
# own, as somebody does who has no use for the embedded host.
build_external_host() {
  local compiler=$1 tree=$2
  local use=(cmake -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Release)
  rm -rf "$tree"/{built,prefix}* "$tree/program"
  if [ "$compiler" = g++ ]; then
    build_preset release \
      && install_for_hosts "$buildDir/release" "$tree/built for here" || return
  else
    check_place "$tree/library" \
      && "${use[@]}" -S "$projectDir" -B "$tree/library" -DTOVRINTIMER_WERROR=$warningsAreErrors \
        -DTOVRINTIMER_BUILD_EMBEDDED_HOST=OFF -DTOVRINTIMER_BUILD_C_INTERFACE=OFF -DTOVRINTIMER_BUILD_TESTS=OFF \
        -DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=12 \
      && cmake --build "$tree/library" --parallel "$jobs" \
      && install_for_hosts "$tree/library" "$tree/built for here" || return
  fi
  mv "$tree/built for here" "$tree/prefix moved"
  "${use[@]}" -S "$projectDir/tests/package" -B "$tree/program" -DCMAKE_PREFIX_PATH="$tree/prefix moved" \
    && cmake --build "$tree/program" --parallel "$jobs"
}

test_external_host() {
  local compiler=$1
  local tree=$buildDir/external-host/$compiler
  build_and_test "external-host-$compiler" "$tree/program" build_external_host "$compiler" "$tree"
}

# test_fuzz SECONDS: as many fuzzers as there are jobs. The corpus of the tree is where it begins; what it finds besides stays in the build folder, and so
# do the bytes that made it fail. The program that they stand for is at the end of the log.
test_fuzz() {
  local seconds=$1 built start=$SECONDS
  local tree=$buildDir/clang-asan-ubsan log=$buildDir/log/test-fuzz.log
  local found=$tree/fuzz
  mkdir -p "$buildDir/log" "$found/corpus" "$found/failures"
  : >"$log"
  say "fuzz: building ..."
  if ! run_build "$log" build_preset clang-asan-ubsan; then
    failed=$((failed + 1))
    printf '%-22s does not build\n' fuzz
    return 0
  fi
  built=$SECONDS
  say "fuzz: running for $seconds s ..."
  if (cd "$found" && run_logged "$log" for_step fuzz "$tree/bin/simulation_fuzz" -jobs="$jobs" -workers="$jobs" \
    -max_total_time="$seconds" -max_len=400 -len_control=0 -timeout=60 -artifact_prefix="$found/failures/" \
    "$found/corpus" "$projectDir/tests/simulation/fuzz/corpus"); then
    passed=$((passed + 1))
    printf '%-22s %s; built in %d s, run in %d s: %d programs\n' fuzz "$(sum_up 1 0 0)" $((built - start)) \
      $((SECONDS - built)) "$(awk '/^Done [0-9]+ runs/ { runs += $2 } END { print runs }' "$log")"
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
