# shellcheck shell=bash
# Configures and builds the presets of CMakePresets.json.

# preset_of NAME: the preset that a short name on the command line means.
preset_of() {
  case $1 in
    windows) echo windows-x86 ;;
    linux) echo linux ;;
    asan | tsan) echo "linux-$1" ;;
    *) die_of_usage "There is no build '$1': it is windows, linux, asan or tsan." ;;
  esac
}

# build_preset PRESET [CMAKE-OPTION...]
build_preset() {
  local preset=$1
  shift
  cmake --preset "$preset" "$@" >"$(log_file "$preset-configure")" ||
    { cat "$(log_file "$preset-configure")"; return 1; }
  cmake --build --preset "$preset"
}

log_file() {
  mkdir -p "$ROOT/build/logs"
  printf '%s' "$ROOT/build/logs/$1.log"
}

# ensure_build_packages NAME: what building the short name takes.
ensure_build_packages() {
  case $1 in
    windows) ensure_packages "${BUILD_PACKAGES[@]}" "${WINDOWS_PACKAGES[@]}" ;;
    *) ensure_packages "${BUILD_PACKAGES[@]}" ;;
  esac
}

run_build() {
  local name=${1:-windows} preset
  allow_arguments 1 "$@"
  preset=$(preset_of "$name")
  ensure_build_packages "$name"
  say "Building $preset"
  build_preset "$preset" -DQMSD_TESTS=OFF
  ls -l "build/$preset"/{*.dll,*.so} 2>/dev/null || true
}
