# Shared by the commands: says what is done, installs what is missing, configures and builds. All of
# that goes to standard error, and there is none of it when there is nothing to do.
# To be sourced by a bash script that has changed into the project's folder.

say() { printf '== %s\n' "$*" >&2; }

fail() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

build_packages=(g++ cmake ninja-build openssl libssl-dev libcli11-dev nlohmann-json3-dev libgtest-dev libgmock-dev)
windows_packages=(g++-mingw-w64-x86-64-posix googletest osslsigncode wine64)
# What the benchmarks measure with, and measure beside.
benchmark_packages=(libbenchmark-dev rapidjson-dev nlohmann-json3-dev libjsoncpp-dev libspdlog-dev libuv1-dev libasio-dev qtbase5-dev gnuplot-nox)

# Two commands at once would break each other's build, so the second one waits; one that is started by
# another goes on. Whatever outlives the command must not hold the lock, descriptor 8.
if [ -z "${QVS_HAS_LOCK-}" ]; then
  export QVS_HAS_LOCK=1
  mkdir -p build
  exec 8>build/lock
  flock -n 8 || {
    say "waiting for another command to end"
    flock 8
  }
fi

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo -n "$@"; fi
}

# Installs those of the named Debian packages that are not there.
install_missing() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f '${Status}\n' "$package" 2>/dev/null | grep -q '^install ok installed$' || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  say "installing ${missing[*]}"
  command -v apt-get >/dev/null || fail "these packages are missing and there is no apt-get: ${missing[*]}"
  [ "$(id -u)" -eq 0 ] || sudo -n true 2>/dev/null || fail "run this as root or with password-less sudo to install: ${missing[*]}"
  local log apt=(as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=600)
  log=$(mktemp)
  if ! { "${apt[@]}" update && "${apt[@]}" install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1 </dev/null; then
    tail -n 20 "$log" >&2
    rm -f "$log"
    fail "could not install ${missing[*]}"
  fi
  rm -f "$log"
}

# What the build says even when there is nothing to do.
without_idle_lines() {
  grep --line-buffered -vE '^ninja: (no work to do|Entering directory)|Re-checking globbed directories' || true
}

# configure_and_build PRESET [TARGET...]: everything when no target is named.
configure_and_build() {
  local preset=$1 targets=()
  shift
  [ $# -gt 0 ] && targets=(--target "$@")
  if [ ! -e "build/$preset/build.ninja" ]; then
    say "configuring build/$preset"
    cmake --preset "$preset" >/dev/null || fail "could not configure build/$preset"
  fi
  cmake --build --preset "$preset" "${targets[@]}" 2>&1 | without_idle_lines >&2 || fail "could not build build/$preset"
}
