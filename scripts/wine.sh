# shellcheck shell=bash
# The Wine prefix of the project: 32-bit, quiet, and never asking for add-ons.

use_wine_prefix() {
  export WINEPREFIX=${WINEPREFIX:-$1}
  export WINEARCH=win32
  export WINEDEBUG=${WINEDEBUG:--all}
  export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml,winemenubuilder.exe=}
  [[ ! -f $WINEPREFIX/system.reg ]] || return 0
  mkdir -p "$(dirname "$WINEPREFIX")"
  # Two programs started at once must not both make the prefix.
  (
    flock 9
    # The registry is on disk only when the server has gone.
    [[ -f $WINEPREFIX/system.reg ]] ||
      { wine wineboot --init </dev/null >/dev/null 2>&1 && wineserver --wait; } 9>&-
  ) 9>"$WINEPREFIX.lock"
  [[ -f $WINEPREFIX/system.reg ]] || die "Wine could not make its prefix $WINEPREFIX."
}

# Every start is some 50 times quicker while the server lives, so it is kept between programs and
# ended with the script. One that is left from before is on its way out, or stuck.
keep_wine_server() {
  use_wine_prefix "$1"
  wineserver --kill || true
  wineserver --wait
  wineserver --persistent
  trap 'wineserver --kill || true' EXIT
  wine wineboot </dev/null >/dev/null 2>&1
}
