# shellcheck shell=bash
# What the scripts say to whoever runs them.

say() { printf '\n==> %s\n' "$*"; }

die() {
  printf 'run: %s\n' "$@" >&2
  exit 1
}
