#!/usr/bin/env bash
# A host built for Windows and one built for this machine hear each other:
#   hear_each_other.sh NATIVE_HOST WINDOWS_HOST [EMULATOR...]
set -uo pipefail

native=("${1:?no native host was named}")
windows=("${@:3}" "${2:?no host for Windows was named}")
[ -x "${native[0]}" ] || {
  echo "error: ${native[0]} is not built" >&2
  exit 1
}

# hears SECONDS_FROM... : a scanner is started, then an advertiser; whether the first hears the other.
hears() {
  local -n scanner=$1 advertiser=$2
  local uuid data scan advertise heard
  uuid=$(cat /proc/sys/kernel/random/uuid)
  data="${2:0:4}-$$"
  exec 3< <(exec "${scanner[@]}" scan --uuid "$uuid" --for 200)
  scan=$!
  "${advertiser[@]}" advertise --uuid "$uuid" --data "$data" --for 200 >/dev/null &
  advertise=$!
  timeout 150 grep -m 1 -F -e "$data" <&3
  heard=$?
  kill "$scan" "$advertise" 2>/dev/null
  wait "$advertise" 2>/dev/null
  exec 3<&-
  [ "$heard" -eq 0 ] || echo "error: $1 did not hear $2" >&2
  return "$heard"
}

hears native windows && hears windows native
