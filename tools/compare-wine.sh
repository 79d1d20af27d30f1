#!/usr/bin/env bash
# Runs every mdb, xbf and pbf command over the shared samples with the Linux build and with
# the Windows build under Wine, and fails when an exit code, a standard output or a written
# file differs by one byte. Package files (".pbf") are compared by what they hold: the Linux
# build compresses with libdeflate, Windows with zlib. Each build opens the other's, and the
# recordset bytes must be identical. The samples are copied under Turkish names into a folder with
# Turkish letters, and every output file is written twice, the second time over the first.
# usage: tools/compare-wine.sh build/pergonix-yedek build-win/pergonix-yedek.exe [samples]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
linux=$(realpath "$1")
exe=$(realpath "$2")
samples=$(realpath "${3:-$root/../shared/samples}")
if [ ! -d "$samples/mdb" ] || [ ! -d "$samples/adoxml" ]; then
  echo "compare-wine: samples not found at $samples; nothing compared"
  exit 0
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
in="$work/Şirket İğdır"
mkdir -p "$in"
for f in "$samples"/mdb/*.mdb; do cp "$f" "$in/İş-$(basename "$f")"; done
for f in "$samples"/adoxml/*.xml; do cp "$f" "$in/ğ-$(basename "$f" .xml).xbf"; done

# run SIDE NAME ARGS...: the exit code, standard output and files written by one command.
run() {
  local side=$1 name=$2
  shift 2
  local out="$work/$side"
  mkdir -p "$out/Çıktı"
  local code=0
  if [ "$side" = linux ]; then
    "$linux" "$@" >"$out/$name.stdout" 2>/dev/null || code=$?
  else
    # A Wine process now and then dies as it starts: a command that fails under Wine runs
    # once more, and only the second run's result counts (a real failure repeats).
    wine "$exe" "$@" >"$out/$name.stdout" 2>/dev/null || code=$?
    if [ "$code" -ne 0 ]; then
      code=0
      wine "$exe" "$@" >"$out/$name.stdout" 2>/dev/null || code=$?
    fi
  fi
  echo "$code" >"$out/$name.code"
}

both() {
  run linux "$@"
  run wine "$@"
}

n=0
for f in "$in"/*.mdb; do
  b=$(basename "$f" .mdb)
  both "$b.tablolar" mdb tablolar "$f"
  both "$b.sema" mdb sema "$f"
  while IFS= read -r t; do
    [ -n "$t" ] || continue
    both "$b.$t.satirlar" mdb satirlar "$f" "$t"
    for side in linux wine; do
      for pass in 1 2; do
        run "$side" "$b.$t.aktar$pass" xbf aktar "$f" "$t" "$work/$side/Çıktı/$b.$t.xbf"
        run "$side" "$b.$t.aktarp$pass" xbf aktar "$f" "$t" "$work/$side/Çıktı/$b.$t.pbf"
      done
    done
    n=$((n + 1))
  done <"$work/linux/$b.tablolar.stdout"
done
for f in "$in"/*.xbf; do
  b=$(basename "$f" .xbf)
  both "$b.sema" xbf sema "$f"
  both "$b.satirlar" xbf satirlar "$f"
  for side in linux wine; do
    for pass in 1 2; do
      run "$side" "$b.kopyala$pass" xbf kopyala "$f" "$work/$side/Çıktı/$b.kopya.xbf"
      run "$side" "$b.sikistir$pass" pbf sikistir "$f" "$work/$side/Çıktı/$b.pbf"
      run "$side" "$b.ac$pass" pbf ac "$work/$side/Çıktı/$b.pbf" "$work/$side/Çıktı/$b.acik.xml"
    done
  done
  n=$((n + 1))
done

for p in "$work"/linux/Çıktı/*.pbf; do
  w="$work/wine/Çıktı/$(basename "$p")"
  [ -f "$w" ] || continue
  wine "$exe" pbf ac "$p" "$p.acik" >/dev/null 2>&1 || echo "the Windows build cannot open $p" >"$p.acik"
  "$linux" pbf ac "$w" "$w.acik" >/dev/null 2>&1 || echo "the Linux build cannot open $w" >"$w.acik"
  rm -f "$p" "$w"
done

if ! diff -r "$work/linux" "$work/wine" >"$work/diff.txt"; then
  echo "compare-wine: the Windows build differs from the Linux build:"
  head -n 40 "$work/diff.txt"
  exit 1
fi
failed=$( (grep -lvx 0 "$work"/linux/*.code || true) | wc -l)
echo "compare-wine: $(find "$work/linux" -type f | wc -l) outputs of $n tables and recordset files" \
  "identical under Wine ($failed commands ended with an error on both)"
