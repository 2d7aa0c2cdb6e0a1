#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-3.0-or-later
# Runs every benchmark of a build with its default sizes, one after the other (they measure
# against baselines taken in the same run, so nothing else heavy should run meanwhile), and
# repeats the summary lines at the end.
#
#   scripts/run-benchmarks.sh [BUILD_DIR]     (default: build)
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-build}
[[ $build = /* ]] || build=$root/$build
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}

log=$(mktemp)
trap 'rm -f "$log"' EXIT
status=0
for bench in "$build"/bench/bench_*; do
    [[ -x $bench && -f $bench ]] || continue
    echo "== $(basename "$bench")"
    "$bench" 2>&1 | tee -a "$log" || status=1
done
echo "== summaries"
grep ' summary: ' "$log" || true
exit $status
