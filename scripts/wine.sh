#!/usr/bin/env bash
# Runs Windows programs without a display, in a Windows of their own:
#   scripts/wine.sh FOLDER run PROGRAM [ARGUMENTS]      FOLDER is made on first use
#   scripts/wine.sh FOLDER collect PROGRAM [ARGUMENTS]  the same, the output comes when it has ended
#   scripts/wine.sh FOLDER remove                       ends every program that still runs in it, too
set -euo pipefail

folder=${1:?usage: scripts/wine.sh FOLDER run|collect|remove [PROGRAM ARGUMENTS]}
action=${2:?no action was named}
shift 2

unset DISPLAY WAYLAND_DISPLAY
export WINEPREFIX=$folder/prefix
export HOME=$folder/home # where the user's folders in it lead
export WINEARCH=win64
export WINEDEBUG=${WINEDEBUG--all}
export LC_ALL=C.UTF-8 # otherwise names of files outside of ASCII cannot be opened
# Nothing asks to be installed, no menu of the user's is touched, and a crash ends the program instead
# of waiting for a debugger. A radio finder that stands beside a program takes the system's place.
export WINEDLLOVERRIDES='mscoree=;mshtml=;winemenubuilder.exe=;winedbg.exe=;bthprops.cpl=n,b'
PATH=$PATH:/usr/lib/wine
command -v wine64 >/dev/null || {
  echo "error: wine64 is not installed" >&2
  exit 1
}

stop() {
  [ -d "$WINEPREFIX" ] || return 0
  wineserver -k 2>/dev/null || true # fails when nothing runs
  wineserver -w
}

# The folder is complete when the file `ready` is in it.
make() {
  stop
  rm -rf "$WINEPREFIX"
  mkdir -p "$WINEPREFIX" "$HOME"
  wine64 wineboot --init &&
    wine64 reg add 'HKCU\Software\Wine' /v Version /d win10 /f &&
    wine64 reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f || return
  stop # the settings count from the next start on
  touch "$folder/ready"
}

# Debian's server ends with its last program, and a program that starts just then may hang: this one
# stays for a minute. Nothing that stays may hold the output of the program that is run.
start() {
  [ -e "$folder/ready" ] || make || return
  if wineserver -p60; then wine64 wineboot; fi # otherwise it runs already
}

ensure_started() {
  mkdir -p "$folder"
  (
    flock 9
    start 9>&- </dev/null >"$folder/log" 2>&1
  ) 9>"$folder/lock" || {
    tail -n 5 "$folder/log" >&2
    echo "error: could not start Wine in $folder" >&2
    exit 1
  }
}

case $action in
run)
  ensure_started
  exec wine64 "$@"
  ;;
collect)
  # The desktop, which the first window brings up, holds the output open for longer than the program
  # runs: who waits for its end would wait for the desktop's.
  ensure_started
  output=$(mktemp "$folder/output.XXXXXX")
  status=0
  wine64 "$@" >"$output" 2>&1 || status=$?
  cat "$output"
  rm "$output"
  exit "$status"
  ;;
remove)
  stop
  rm -rf "$folder"
  ;;
*)
  echo "error: unknown action $action" >&2
  exit 2
  ;;
esac
