#!/usr/bin/env bash
# Reads every user table of an Access file with our engine ("pergonix-yedek mdb satirlar")
# and with mdbtools' mdb-export, REPEAT times each, and prints the total times.
#   bench/mdb_vs_mdbexport.sh [BINARY] [FILE] [REPEAT]
# Uses hyperfine when installed, timed loops otherwise. The sample files are small, so the
# default file is the largest sample and the loop repeats it to get measurable times.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
bin="${1:-$here/build/pergonix-yedek}"
file="${2:-$here/../shared/samples/mdb/testV2000.mdb}"
repeat="${3:-50}"
for tool in mdb-tables mdb-export; do
  command -v "$tool" >/dev/null || { echo "$tool (mdbtools) is not installed" >&2; exit 2; }
done
[ -x "$bin" ] || { echo "no program at $bin (build it first)" >&2; exit 2; }
[ -f "$file" ] || { echo "no file $file" >&2; exit 2; }

mapfile -t tables < <(mdb-tables -1 "$file")
ours() { for t in "${tables[@]}"; do "$bin" mdb satirlar "$file" "$t" >/dev/null; done; }
theirs() { for t in "${tables[@]}"; do mdb-export "$file" "$t" >/dev/null; done; }
export bin file
export TABLES="${tables[*]}"

echo "file: $file (${#tables[@]} tables), $repeat runs each"
if command -v hyperfine >/dev/null; then
  hyperfine --warmup 3 --runs "$repeat" \
    -n "pergonix-yedek mdb satirlar" "bash -c 'for t in \$TABLES; do \"$bin\" mdb satirlar \"$file\" \"\$t\" >/dev/null; done'" \
    -n "mdb-export" "bash -c 'for t in \$TABLES; do mdb-export \"$file\" \"\$t\" >/dev/null; done'"
  exit 0
fi
timed() {
  local start end
  start=$(date +%s.%N)
  for ((i = 0; i < repeat; i++)); do "$1"; done
  end=$(date +%s.%N)
  echo "$end - $start" | bc
}
ours_s=$(timed ours)
theirs_s=$(timed theirs)
printf 'pergonix-yedek mdb satirlar: %.3f s (%.2f ms a pass)\n' "$ours_s" "$(echo "$ours_s * 1000 / $repeat" | bc -l)"
printf 'mdb-export:                  %.3f s (%.2f ms a pass)\n' "$theirs_s" "$(echo "$theirs_s * 1000 / $repeat" | bc -l)"
