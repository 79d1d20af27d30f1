#!/usr/bin/env bash
# Runs every libFuzzer target of a PX_FUZZ build for a few seconds each, starting from
# its kept corpus. A crash fails the run and leaves the input in build-fuzz/crashers/.
set -euo pipefail
build=${1:-build-fuzz}
seconds=${2:-20}
root=$(cd "$(dirname "$0")/.." && pwd)
mkdir -p "$build/crashers"
status=0
# Undefined behaviour ends a run like a crash does, instead of being printed and passed over.
export UBSAN_OPTIONS=halt_on_error=1:abort_on_error=1:print_stacktrace=1
export ASAN_OPTIONS=${ASAN_OPTIONS:-}:halt_on_error=1
for bin in "$build"/tests/fuzz/*_fuzz; do
  [ -x "$bin" ] || continue
  name=$(basename "$bin" _fuzz)
  work="$build/corpus/$name"
  mkdir -p "$work"
  seeds=()
  for d in "$root/tests/fuzz/${name}_corpus" "$root/tests/fuzz/${name}_crashers"; do
    [ -d "$d" ] && seeds+=("$d")
  done
  echo "fuzzing $name for ${seconds}s"
  if ! "$bin" "$work" "${seeds[@]}" -max_total_time="$seconds" -rss_limit_mb=2048 \
        -timeout=5 -artifact_prefix="$build/crashers/${name}-" -print_final_stats=0 \
        >"$build/fuzz-$name.log" 2>&1; then
    echo "fuzz target $name failed; see $build/fuzz-$name.log and $build/crashers/"
    tail -n 40 "$build/fuzz-$name.log"
    status=1
  fi
done
exit $status
