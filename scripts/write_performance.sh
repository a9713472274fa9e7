#!/usr/bin/env bash
# Prints docs/performance.md around a table of measurements: scripts/write_performance.sh TABLE.md
set -euo pipefail
table=${1:?usage: scripts/write_performance.sh TABLE.md}
cd "$(dirname "${BASH_SOURCE[0]}")/.."

cat <<EOF
# Performance

Each row is a piece of work, done by us and by what an engineer would use instead. All sides run
interleaved in one process; the least of many short repetitions counts. \`./bench\` measures again and
writes this page. Times of other machines differ; ratios say more.

- Machine: $(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1), $(nproc) cores
- Compiler: $(g++ --version | head -n 1), release build
- Date: $(date -u +%Y-%m-%d)

$(cat "$table")

Allocations are counted on the measuring thread, for one piece of work. What each peer does stands beside
its code in `benchmarks/`.

![Cost against size](performance.svg)
EOF
[ ! -e docs/performance_notes.md ] || { echo; cat docs/performance_notes.md; }
