# Checks of the sources themselves.

project_sources() { git ls-files --cached --others --exclude-standard '*.cpp' '*.h' '*.c'; }

check_layers() { python3 scripts/check_layers.py; }

check_text_rules() { python3 scripts/check_text.py; }

check_format() { project_sources | xargs clang-format-14 --dry-run --Werror; }

run_format() {
  ensure_packages "${FORMAT_PACKAGES[@]}"
  if [[ ${1:-} == --check ]]; then
    check_format
  else
    project_sources | xargs clang-format-14 -i
  fi
}
