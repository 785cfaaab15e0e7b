# shellcheck shell=bash
# Brings a fresh Debian machine to where a command of `run` can work. What is there already is only
# looked at: no network, no root.

readonly BUILD_PACKAGES=(cmake ninja-build g++ ccache pkg-config libtomlplusplus-dev libcli11-dev
  nlohmann-json3-dev)
readonly WINDOWS_PACKAGES=(g++-mingw-w64-i686-posix)
readonly WINE_PACKAGES=(wine wine32:i386)
# The tests make locales of their own from the sources in "locales", and programs from the examples of
# the documents.
readonly TEST_PACKAGES=(googletest locales python3)
readonly FORMAT_PACKAGES=(clang-format-14)
readonly LAYER_PACKAGES=(python3)
readonly LINT_PACKAGES=(clang-tidy-14 shellcheck)
readonly FUZZ_PACKAGES=(clang-14 libclang-rt-14-dev)
readonly BENCH_PACKAGES=(libbenchmark-dev libglib2.0-dev nlohmann-json3-dev)
readonly COVERAGE_PACKAGES=(gcovr)
readonly DELIVERY_PACKAGES=(dpkg-dev file python3)

is_installed() {
  [[ $(dpkg-query --show --showformat='${db:Status-Abbrev}' "$1" 2>/dev/null) == 'ii '* ]]
}

as_root() {
  if ((EUID == 0)); then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    die "Packages have to be installed: run this as root, or install sudo."
  fi
}

apt_get() { as_root env DEBIAN_FRONTEND=noninteractive apt-get "$@" </dev/null; }

refresh_package_lists() {
  # One index of many being out of step on a mirror is an error to apt; the others are good.
  apt_get update || say "A package index could not be had; going on with the others."
}

install_packages() {
  local release
  apt_get install --yes --no-install-recommends "$@" && return
  # The two architectures of one library must have the same version. When security updates have
  # reached only one of them, the release's own version is what both have.
  release=$(. /etc/os-release && printf '%s' "${VERSION_CODENAME:-}")
  [[ -n $release ]] || return 1
  say "Trying again with the versions of the release '$release' itself."
  apt_get install --yes --no-install-recommends --allow-downgrades -t "$release" "$@"
}

# ensure_packages PACKAGE...: all of them are installed afterwards, or the script ends.
ensure_packages() {
  local package missing=()
  [[ -z ${QMSD_SKIP_SETUP:-} ]] || return 0
  if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    die "This machine has no apt. Install the equivalents of these Debian packages yourself:" \
      "  $*" "then set QMSD_SKIP_SETUP=1 and run the command again."
  fi
  for package in "$@"; do
    is_installed "$package" || missing+=("$package")
  done
  ((${#missing[@]})) || return 0

  say "Installing: ${missing[*]}"
  if [[ " ${missing[*]} " == *:i386\ * ]]; then
    as_root dpkg --add-architecture i386
  fi
  refresh_package_lists
  install_packages "${missing[@]}" ||
    die "Not all of these packages could be installed: ${missing[*]}" \
      "apt's own messages above say why. Without them '$COMMAND' cannot work;" \
      "check the network and /etc/apt/sources.list, then run the command again."
}
