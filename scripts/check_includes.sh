#!/usr/bin/env bash
# Checks that each file includes the headers of what it names, and no others:
#   scripts/check_includes.sh BUILD_FOLDER
# Of what include-what-you-use says, just what is certain counts. Tests and examples include what gathers
# the rest for them.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${1:?usage: scripts/check_includes.sh BUILD_FOLDER}

mapfile -t sources < <(git ls-files '*.cpp' ':!tests' ':!examples' | while read -r file; do
  if grep -qF "\"$PWD/$file\"" "$build/compile_commands.json"; then echo "$file"; fi
done)
# Its exit status says only that it has something to say.
findings=$({ iwyu_tool -p "$build" -j "$(nproc)" "${sources[@]}" -- -Xiwyu --no_fwd_decls -Xiwyu --max_line_length=999 \
  -Xiwyu --check_also="$PWD/*.h" -Wno-error || true; } | awk -v root="$PWD/" '
    / should (add|remove) these lines:$/ {
      file = substr($1, length(root) + 1)
      mode = index($1, root) != 1 || file ~ /^build\// ? "" : $3
      text = ""
      while ((getline line < $1) > 0) text = text line "\n"
      close($1)
    }
    /^The full include-list/ { mode = "" }
    # What it does not see: defaulted comparisons, concepts, ranges, some moves, the use of a macro, what only Windows takes
    # from a header, and that some headers stand for others.
    mode == "remove" && /^- #include/ && !/<(compare|concepts|chrono|cwchar|[fs]stream|nlohmann\/.*|CLI\/.*|[a-z\/]+\.h)>/ &&
      !(/<algorithm>/ && text ~ /std::ranges::/) && !(/<utility>/ && text ~ /std::move/) && !(/plenar/ && text ~ /#define/) {
      print file ": includes " $3 " without need"
    }
    mode == "add" && /^#include/ && !/<[^>]*\/|<(ranges|iterator|ratio|iosfwd)>|_export\.h/ {
      scope = $2 ~ /^</ ? "std::" : "(^|[^A-Za-z_0-9])"
      names = $0
      sub(/.*\/\/ for /, "", names)
      count = split(names, name, ", ")
      for (i = 1; i <= count; i++) {
        sub(/.*::/, "", name[i])
        if (name[i] ~ /^[A-Za-z_0-9]+$/ && text ~ scope name[i] "($|[^A-Za-z_0-9])") {
          print file ": names " name[i] ", and does not include " $2
          break
        }
      }
    }
    END { if (NR == 0) print "include-what-you-use said nothing" }' | sort -u)
[ -z "$findings" ] && exit
printf '%s\n' "$findings" >&2
exit 1
