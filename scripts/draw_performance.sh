#!/usr/bin/env bash
# Draws cost against size, one picture below the other: scripts/draw_performance.sh POINTS.tsv PICTURE.svg
# POINTS.tsv has a line for each point: picture, side, size, nanoseconds.
set -euo pipefail
points=${1:?usage: scripts/draw_performance.sh POINTS.tsv PICTURE.svg}
picture=${2:?usage: scripts/draw_performance.sh POINTS.tsv PICTURE.svg}

mapfile -t pictures < <(cut -f 1 "$points" | uniq | awk '!seen[$0]++')
{
  echo "set terminal svg size 720,$((${#pictures[@]} * 300)) font 'sans-serif,12' background '#ffffff'"
  echo "set multiplot layout ${#pictures[@]},1"
  echo "set datafile separator '\t'"
  echo "set logscale xy; set grid; set key outside right; set ylabel 'ns for one'; set yrange [1:*]"
  for name in "${pictures[@]}"; do
    echo "set title '$name'"
    plots=()
    while IFS= read -r side; do
      plots+=("'< awk -F\"\\t\" \"\\\$1 == \\\"$name\\\" && \\\$2 == \\\"$side\\\"\" $points' using 3:4 with linespoints title '$side'")
    done < <(awk -F'\t' -v name="$name" '$1 == name && !seen[$2]++ { print $2 }' "$points")
    (IFS=,; echo "plot ${plots[*]}")
  done
} | gnuplot >"$picture"
