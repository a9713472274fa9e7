#!/usr/bin/env bash
# Installs a build and uses what was installed as somebody else would: runs the host program, and
# compiles the example of the README against the installed headers: scripts/check_install.sh BUILD_FOLDER
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/setup.sh

build=${1:?usage: scripts/check_install.sh BUILD_FOLDER}
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT

cmake --install "$build" --prefix "$prefix" >/dev/null || fail "could not install $build"
"$prefix/bin/qvs_host" demo >"$prefix/demo.txt" || fail "the installed demo failed: $(tail -n 1 "$prefix/demo.txt")"
g++ -std=c++20 -Wall -Wextra -Werror -I "$prefix/include" -I "$prefix/include/non_windows" examples/minimal_host.cpp \
  -o "$prefix/bin/minimal_host" -L "$prefix/bin" -lplenar_base -lsimulated_pc -Wl,-rpath,'$ORIGIN' ||
  fail "the example does not compile against the installed headers"
"$prefix/bin/minimal_host" >/dev/null || fail "the example failed beside the installed libraries"
say "the installed program and the example work"
