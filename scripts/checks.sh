# shellcheck shell=bash
# Checks of the sources themselves.

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

check_reference() { python3 scripts/check_reference.py; }

check_format() { project_sources | xargs -0 clang-format-14 --dry-run --Werror; }

check_scripts() { shellcheck --external-sources run scripts/wine .ci/run; }

# A build in which each source passes clang-tidy before it is compiled: what has passed is not looked
# at again until it changes.
check_tidy() { build_preset lint; }

run_format() {
  allow_arguments 1 "$@"
  case ${1:-} in
    "")
      ensure_packages "${FORMAT_PACKAGES[@]}"
      project_sources | xargs -0 clang-format-14 -i
      ;;
    --check)
      ensure_packages "${FORMAT_PACKAGES[@]}"
      check_format
      ;;
    *) die_of_usage "format knows only the option --check." ;;
  esac
}

run_lint() {
  allow_arguments 0 "$@"
  ensure_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}" "${LAYER_PACKAGES[@]}" \
    "${FORMAT_PACKAGES[@]}" "${LINT_PACKAGES[@]}"
  run_source_checks
  run_check "scripts" check_scripts
  run_check "clang-tidy" check_tidy
  close_tests
}
