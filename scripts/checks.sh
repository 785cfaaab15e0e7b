# shellcheck shell=bash
# Checks of the sources themselves.

readonly TIDY_FOLDERS='(kernel|library|memory|modules|platform|services|variant)'

# The C and C++ files of the tree, new ones included, each ended by a zero.
project_sources() {
  local file
  git ls-files -z --cached --others --exclude-standard '*.cpp' '*.hpp' '*.h' '*.c' |
    while IFS= read -r -d '' file; do
      [[ ! -f $file ]] || printf '%s\0' "$file"
    done
}

check_layers() { python3 scripts/check_layers.py; }

check_text_rules() { python3 scripts/check_text.py; }

check_format() { project_sources | xargs -0 clang-format-14 --dry-run --Werror; }

check_scripts() { shellcheck --external-sources run scripts/wine .ci/run; }

check_tidy() {
  local log
  log=$(log_file clang-tidy)
  cmake --preset linux >/dev/null || return 1
  if run-clang-tidy-14 -quiet -p build/linux -j "$(nproc)" "^$ROOT/$TIDY_FOLDERS/" >"$log" 2>&1; then
    return 0
  fi
  grep -vE '^(clang-tidy-14 |[0-9]+ warnings? generated)' "$log"
  return 1
}

run_format() {
  ensure_packages "${FORMAT_PACKAGES[@]}"
  if [[ ${1:-} == --check ]]; then
    check_format
  else
    project_sources | xargs -0 clang-format-14 -i
  fi
}

run_lint() {
  ensure_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}" "${LAYER_PACKAGES[@]}" \
    "${FORMAT_PACKAGES[@]}" "${LINT_PACKAGES[@]}"
  run_source_checks
  run_check "scripts" check_scripts
  run_check "clang-tidy" check_tidy
  close_tests
}
