#!/usr/bin/env bash
# A host built for Windows and one built for this machine hear each other over the virtual radio, two
# built for Windows over the system's:
#   hear_each_other.sh NATIVE_HOST WINDOWS_HOST [EMULATOR...]
set -uo pipefail

native=("${1:?no native host was named}")
windows=("${@:3}" "${2:?no host for Windows was named}")
[ -x "${native[0]}" ] || {
  echo "error: ${native[0]} is not built" >&2
  exit 1
}

# hears SCANNER ADVERTISER RADIO DATA: whether the first hears the other.
hears() {
  local -n scanner=$1 advertiser=$2
  local uuid scan advertise heard
  uuid=$(cat /proc/sys/kernel/random/uuid)
  exec 3< <(exec "${scanner[@]}" scan --radio "$3" --uuid "$uuid" --for 200)
  scan=$!
  "${advertiser[@]}" advertise --radio "$3" --uuid "$uuid" --data "$4" --for 200 >/dev/null &
  advertise=$!
  timeout 150 grep -m 1 -F -e "data \"$4\"" <&3
  heard=$?
  kill "$scan" "$advertise" 2>/dev/null
  wait "$advertise" 2>/dev/null
  exec 3<&-
  [ "$heard" -eq 0 ] || echo "error: $1 did not hear \"$4\" from $2 over the radio $3" >&2
  return "$heard"
}

hears native windows virtual "to native" && hears windows native virtual "to windows" || exit
for data in "" 8_bytes_ 9_bytes__ 11_bytes___ 12_bytes____; do
  hears windows windows system "$data" || exit
done
