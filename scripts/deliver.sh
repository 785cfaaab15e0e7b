# shellcheck shell=bash
# The demonstration and the packages.

run_demo() {
  local preset=windows-x86 start=("$ROOT/scripts/wine") ending=.exe
  allow_arguments 1 "$@"
  ensure_packages "${BUILD_PACKAGES[@]}"
  case ${1:-} in
    --native)
      preset=linux start=() ending=
      ;;
    "") ensure_packages "${WINDOWS_PACKAGES[@]}" "${WINE_PACKAGES[@]}" ;;
    *) die_of_usage "demo knows only the option --native." ;;
  esac
  say "Building the demonstration ($preset)"
  build_preset "$preset" -DQMSD_TESTS=OFF
  [[ $preset == linux ]] || keep_wine_server "$ROOT/build/wine"
  local program
  for program in qm_hello qm_demo; do
    say "build/$preset/$program$ending"
    "${start[@]}" "build/$preset/$program$ending"
  done
}

run_package() {
  local preset
  allow_arguments 0 "$@"
  ensure_packages "${BUILD_PACKAGES[@]}" "${WINDOWS_PACKAGES[@]}"
  for preset in windows-x86 linux; do
    say "Packing $preset"
    # What is delivered looks for the family's modules where systems keep libraries.
    build_preset "$preset" -DQMSD_TESTS=OFF -DQMSD_SYSTEM_DIRECTORY=/usr/lib
    (cd "build/$preset" && cpack)
  done
  ls -l build/packages/*.{zip,tar.gz}
}
