# shellcheck shell=bash
# Fuzzing, benchmarks and coverage.

run_bench() {
  ensure_packages "${BUILD_PACKAGES[@]}" "${BENCH_PACKAGES[@]}"
  say "Building the benchmarks"
  build_preset bench
  local program
  for program in build/bench/bench/*_bench; do
    say "$(basename "$program")"
    "$program" "$@"
  done
}

# fuzz_one PROGRAM SECONDS: new inputs are kept in the build folder, findings beside them. The
# corpus of the project is read only.
fuzz_one() {
  local name corpus
  name=$(basename "$1" _fuzz)
  corpus=build/fuzz/corpus/$name
  mkdir -p "$corpus" build/fuzz/findings
  say "Fuzzing $name for $2 s"
  "$1" -max_total_time="$2" -timeout=10 -rss_limit_mb=4096 -print_final_stats=1 \
    -artifact_prefix="build/fuzz/findings/$name-" "$corpus" "fuzz/corpus/$name"
}

run_fuzz() {
  local seconds=${1:-} program programs failed=0
  allow_arguments 1 "$@"
  [[ $seconds =~ ^[1-9][0-9]*$ ]] || die_of_usage "How long? ./run fuzz SECONDS"
  ensure_packages "${BUILD_PACKAGES[@]}" "${FUZZ_PACKAGES[@]}"
  say "Building the fuzz targets"
  build_preset fuzz
  programs=(build/fuzz/fuzz/*_fuzz)
  for program in "${programs[@]}"; do
    fuzz_one "$program" $((seconds / ${#programs[@]} + 1)) || failed=1
  done
  ((failed == 0)) || die "A fuzz target failed; its input is in build/fuzz/findings."
}

run_coverage() {
  allow_arguments 0 "$@"
  ensure_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}" "${COVERAGE_PACKAGES[@]}"
  say "Building with coverage"
  build_preset coverage
  find build/coverage -name '*.gcda' -delete
  say "Testing"
  ctest --preset coverage --progress
  say "Coverage"
  gcovr --root . --object-directory build/coverage --exclude-throw-branches \
    --filter '(include|kernel|library|memory|modules|platform|services|variant)/' \
    --html-details build/coverage/index.html --print-summary --output build/coverage/coverage.txt
  echo "build/coverage/coverage.txt, build/coverage/index.html"
}
