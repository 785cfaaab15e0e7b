# shellcheck shell=bash
# The test suites: one per build, each built, run by ctest and counted.

readonly SUITES=(windows linux asan tsan)
PASSED=0
FAILED=0
SKIPPED=0
BROKEN=()

ensure_test_packages() {
  local packages=("${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}")
  [[ " $* " != *\ windows\ * ]] || packages+=("${WINDOWS_PACKAGES[@]}" "${WINE_PACKAGES[@]}")
  [[ " $* " != *\ checks\ * ]] || packages+=("${LAYER_PACKAGES[@]}" "${FORMAT_PACKAGES[@]}")
  ensure_packages "${packages[@]}"
}

# count_results LOG: adds up ctest's summary; false when there is none or no test ran.
count_results() {
  local line failed all skipped pattern='([0-9]+) tests failed out of ([0-9]+)'
  line=$(grep -E "$pattern" "$1" | tail -n 1)
  [[ $line =~ $pattern ]] || return 1
  failed=${BASH_REMATCH[1]} all=${BASH_REMATCH[2]}
  skipped=$(grep -cE '^\s+[0-9]+ - .* \((Skipped|Disabled)\)$' "$1" || true)
  FAILED=$((FAILED + failed))
  SKIPPED=$((SKIPPED + skipped))
  PASSED=$((PASSED + all - failed - skipped))
  ((all > skipped))
}

# run_suite NAME [CMAKE-OPTION...]: a suite that cannot be built or run at all counts as broken.
run_suite() {
  local name=$1 preset log tries=() started=$SECONDS
  shift
  preset=$(preset_of "$name")
  log=$(log_file "$preset-tests")
  say "Building $preset"
  build_preset "$preset" -DQMSD_TESTS=ON "$@" || { BROKEN+=("$name (build)"); return 0; }
  say "Testing $preset"
  # On an overloaded machine Wine lets about one process in a thousand end in a fault after its last
  # line. Such a test gets a second try; the first one is shown all the same.
  [[ $name != windows ]] || tries=(--repeat until-pass:2)
  ctest --preset "$preset" "${tries[@]}" >"$log" 2>&1 || true
  # The passing tests are in the log; here go the failures and ctest's own closing lines.
  grep -vE '^ *(Start +[0-9]+:|[0-9]+/[0-9]+ Test .* Passed )' "$log" || true
  count_results "$log" || BROKEN+=("$name (tests)")
  echo "$preset took $((SECONDS - started)) s; full log: build/logs/$(basename "$log")"
}

run_check() {
  say "Checking $1"
  if "$2"; then PASSED=$((PASSED + 1)); else FAILED=$((FAILED + 1)); fi
}

run_source_checks() {
  run_check "layers" check_layers
  run_check "text rules" check_text_rules
  run_check "reference" check_reference
  run_check "format" check_format
}

close_tests() {
  say "All results"
  ((${#BROKEN[@]} == 0)) || printf 'could not be run: %s\n' "${BROKEN[@]}"
  echo "$PASSED passed, $((FAILED + ${#BROKEN[@]})) failed, $SKIPPED skipped"
  ((FAILED + ${#BROKEN[@]} == 0))
}

run_all_tests() {
  ensure_test_packages "${SUITES[@]}" checks
  run_source_checks
  keep_wine_server "$ROOT/build/wine"
  run_suite windows -DQMSD_UNIT_TESTS=ON
  # The rooms are tested natively under both sanitizers; here goes the library as it is delivered.
  run_suite linux -DQMSD_UNIT_TESTS=OFF
  run_suite asan -DQMSD_UNIT_TESTS=ON
  run_suite tsan -DQMSD_UNIT_TESTS=ON
  close_tests
}

run_tests() {
  local name
  if (($# == 0)); then
    run_all_tests
    return
  fi
  for name in "$@"; do preset_of "$name" >/dev/null; done
  ensure_test_packages "$@"
  [[ " $* " != *\ windows\ * ]] || keep_wine_server "$ROOT/build/wine"
  for name in "$@"; do run_suite "$name" -DQMSD_UNIT_TESTS=ON; done
  close_tests
}
