# shellcheck shell=bash
# What the scripts say to whoever runs them.

say() { printf '\n==> %s\n' "$*"; }

die() {
  printf 'run: %s\n' "$@" >&2
  exit 1
}

# For what the command line asks and nobody can do.
die_of_usage() {
  printf 'run: %s\n' "$@" "./run help tells what there is." >&2
  exit 2
}

# allow_arguments COUNT ARGUMENT...: there are no more than the command knows.
allow_arguments() {
  local allowed=$1
  shift
  (($# <= allowed)) || die_of_usage "'$COMMAND' does not know what '${*:allowed + 1}' means."
}
