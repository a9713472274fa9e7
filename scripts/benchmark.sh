#!/usr/bin/env bash
# Builds the release and runs the benchmarks: scripts/benchmark.sh [ARGUMENTS OF qvs_benchmarks]
# Compare within one run only: machines are noisy.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/setup.sh

install_missing "${build_packages[@]}" libbenchmark-dev
configure_and_build release qvs_benchmarks
exec build/release/bin/qvs_benchmarks "$@"
