#!/usr/bin/env bash
# Installs a build and uses what was installed as somebody else would: runs the host program, builds the
# README's example with CMake's package and with pkg-config, and follows the links of the documents.
#   scripts/check_install.sh BUILD_FOLDER [TOOLCHAIN_FILE EMULATOR...]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/setup.sh

build=${1:?usage: scripts/check_install.sh BUILD_FOLDER [TOOLCHAIN_FILE EMULATOR...]}
toolchain=${2:+-DCMAKE_TOOLCHAIN_FILE=$PWD/$2}
emulator=("${@:3}")
exe=${2:+.exe}
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT

# run PROGRAM ARGUMENTS: under the emulator, if there is one.
run() { "${emulator[@]}" "$@" >"$prefix/output.txt" 2>&1 || fail "$*: $(tail -n 1 "$prefix/output.txt")"; }

cmake --install "$build" --prefix "$prefix" >/dev/null || fail "could not install $build"
run "$prefix/bin/qvs_host$exe" demo

cmake -S examples/package -B "$prefix/consumer" -G Ninja ${toolchain:+"$toolchain"} \
  -D qvs_windows_ble_DIR="$prefix/lib/cmake/qvs_windows_ble" >"$prefix/output.txt" 2>&1 &&
  cmake --build "$prefix/consumer" >"$prefix/output.txt" 2>&1 ||
  fail "the example does not build with the CMake package: $(tail -n 3 "$prefix/output.txt")"
run "$prefix/consumer/minimal_host$exe"
[ -n "$toolchain" ] || run "$prefix/consumer/poll_host"

if [ -z "$toolchain" ]; then
  install_missing pkg-config
  read -ra flags < <(PKG_CONFIG_PATH=$prefix/lib/pkgconfig pkg-config --cflags --libs qvs_windows_ble)
  g++ -std=c++20 examples/minimal_host.cpp -o "$prefix/bin/minimal_host" "${flags[@]}" -Wl,-rpath,'$ORIGIN' ||
    fail "the example does not build with pkg-config"
  run "$prefix/bin/minimal_host"
fi

documents=$(dirname "$(find "$prefix" -name THIRD_PARTY_NOTICES.md)")
find "$documents" -name '*.md' | while read -r document; do
  { grep -oE '\]\([^)#: ]+[)#]' "$document" || true; } | sed 's/^..//; s/.$//' | while read -r link; do
    [ -e "$(dirname "$document")/$link" ] || fail "${document#"$documents/"} links to $link, which is not installed"
  done
done
say "what $build installs works"
