#!/usr/bin/env bash
# Backs up one large table to a compressed package with "pergonix-yedek yedekle" and
# exports the same table to CSV with mdbtools' mdb-export; prints wall, CPU and peak memory
# of each, RUNS times.
#   a 1,000,000-row table Hareket in /tmp/gen1m.mdb (made once, outside the repository)
#   bench/backup_vs_mdbexport.sh [BINARY] [FILE] [RUNS]
# The table goes into a scratch suite (the sample suite's catalog and settings) as the
# Siparis module's module-wide database, so the run is the real backup flow: export to the
# staging folder, compression into ".pbf", copy into the package, manifest.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
bin="${1:-$here/build/pergonix-yedek}"
file="${2:-/tmp/gen1m.mdb}"
runs="${3:-3}"
suite="$here/../shared/samples/suite/Pergonix"
command -v mdb-export >/dev/null || { echo "mdb-export (mdbtools) is not installed" >&2; exit 2; }
[ -x "$bin" ] || { echo "no program at $bin (build it first)" >&2; exit 2; }
[ -f "$file" ] || { echo "no file $file (a database with a 1,000,000-row table Hareket)" >&2; exit 2; }
[ -d "$suite" ] || { echo "no sample suite at $suite" >&2; exit 2; }

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/C/Pergonix/Genel/Data" "$work/C/Pergonix/Siparis/Data" "$work/D" "$work/tmp"
cp "$suite/config.ini" "$work/C/Pergonix/"
cp "$suite/Genel/Data/"{DonemAc.mdb,sirket.mdb,YedekDosya.ini} "$work/C/Pergonix/Genel/Data/"
ln -s "$(cd "$(dirname "$file")" && pwd)/$(basename "$file")" "$work/C/Pergonix/Siparis/Data/siparis.mdb"
export PERGONIX_DRIVES="C=$work/C;D=$work/D" TMPDIR="$work/tmp"
fmt="wall %e s, user %U s, sys %S s, peak %M KB"

echo "table Hareket of $file; load average: $(cut -d' ' -f1-3 /proc/loadavg) on $(nproc) cores"
for i in $(seq "$runs"); do
  rm -rf "$work/D/Yedek"
  /usr/bin/time -f "pergonix-yedek yedekle (.pbf): $fmt" \
    "$bin" --evet yedekle --paket P --sirket 001 --yil 2009 --hedef 'D:\Yedek' --modul Siparis \
    >/dev/null 2>"$work/err" || { cat "$work/err" >&2; exit 1; }
  tail -1 "$work/err"
  /usr/bin/time -f "mdb-export (CSV):              $fmt" mdb-export "$file" Hareket >"$work/h.csv"
done
ls -l "$work/D/Yedek/P/Siparis/Data/" | tail -n +2
"$bin" dogrula "$work/D/Yedek/P" | tail -1
