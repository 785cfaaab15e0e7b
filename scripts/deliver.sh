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

# try_package FILE: unpacks it into an empty folder and builds against what is there.
try_package() {
  local folder prefix
  folder=$ROOT/build/packages/tried/$(basename "$1")
  rm -rf "$folder"
  mkdir -p "$folder/root"
  if [[ $1 == *.deb ]]; then
    dpkg-deb --extract "$1" "$folder/root"
    prefix=$folder/root/usr
  else
    (cd "$folder/root" && cmake -E tar xf "$1")
    prefix=$(echo "$folder"/root/*)
  fi
  scripts/check_package.sh "$prefix" "$folder/projects"
}

run_package() {
  local preset package packages
  allow_arguments 0 "$@"
  ensure_packages "${BUILD_PACKAGES[@]}" "${WINDOWS_PACKAGES[@]}" "${WINE_PACKAGES[@]}" \
    "${DELIVERY_PACKAGES[@]}"
  rm -rf build/packages
  for preset in windows-x86 linux; do
    say "Packing $preset"
    # What is delivered looks for the family's modules where systems keep libraries.
    build_preset "$preset" -DQMSD_TESTS=OFF -DQMSD_SYSTEM_DIRECTORY=/usr/lib
    (cd "build/$preset" && cpack)
  done
  packages=("$ROOT"/build/packages/*.{zip,tar.gz,deb})
  keep_wine_server "$ROOT/build/wine"
  for package in "${packages[@]}"; do
    say "Trying $(basename "$package")"
    try_package "$package"
  done
  ls -l "${packages[@]}"
}
