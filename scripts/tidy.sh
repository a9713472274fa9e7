#!/usr/bin/env bash
# Runs clang-tidy over the project's own sources: scripts/tidy.sh BUILD_FOLDER
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${1:?usage: scripts/tidy.sh BUILD_FOLDER}
# Only what the build compiles: sources for other platforms are not in its database.
git ls-files '*.cpp' | while read -r file; do
  if grep -qF "\"$PWD/$file\"" "$build/compile_commands.json"; then printf '%s\0' "$file"; fi
done | xargs -0 -P "$(nproc)" -n 4 clang-tidy-14 --quiet -p "$build" 2>/dev/null
