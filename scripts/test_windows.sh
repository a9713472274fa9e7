#!/usr/bin/env bash
# Cross-builds for Windows and tests that under Wine, without a display:
#   scripts/test_windows.sh [ARGUMENTS OF ctest]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/setup.sh

install_missing "${build_packages[@]}" "${windows_packages[@]}"
configure_and_build debug qvs_host # which the one for Windows is to hear, and to be heard by
configure_and_build windows

wine=$PWD/build/windows/wine
trap 'scripts/wine.sh "$wine" remove' EXIT
scripts/wine.sh "$wine" remove # what an earlier run left when it was killed
say "testing build/windows under Wine"
ctest --preset windows --parallel "$(nproc)" "$@" 8>&- || fail "a test failed under Wine"
