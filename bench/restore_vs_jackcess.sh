#!/bin/bash
# Restoring a large table: `jet-oracle gen` writes ROWS rows of table Hareket with Jackcess
# (the baseline); the same rows, exported to a ".pbf" package file, are then restored by
# `pergonix-yedek geri-al` into an existing database whose Hareket (primary key Id, index on
# Kod) is empty. Both are timed with /usr/bin/time -v: wall, CPU (user+sys), peak RSS.
#
#   bench/restore_vs_jackcess.sh [ROWS] [WORK_FOLDER]      (ROWS defaults to 1000000)
#
# Needs build/pergonix-yedek, Java and ../shared/tools/jet-oracle. The work folder is kept.
set -euo pipefail

ROWS=${1:-1000000}
WORK=${2:-$(mktemp -d /tmp/restore-bench.XXXXXX)}
REPO=$(cd "$(dirname "$0")/.." && pwd)
PROGRAM=${PROGRAM:-$REPO/build/pergonix-yedek}
ORACLE=${ORACLE:-$REPO/../shared/tools/jet-oracle/jet-oracle}
mkdir -p "$WORK"

# "label: wall W s, CPU C s (user U + sys S), peak RSS R MB" from a /usr/bin/time -v log.
summary() {
  awk -v label="$1" '
    /Elapsed \(wall clock\)/ { n = split($NF, t, ":"); wall = 0;
                               for (i = 1; i <= n; i++) wall = wall * 60 + t[i] }
    /User time/ { user = $NF } /System time/ { sys = $NF }
    /Maximum resident set size/ { rss = $NF / 1024 }
    END { printf "%s: wall %.1f s, CPU %.1f s (user %.1f + sys %.1f), peak RSS %.0f MB\n",
                 label, wall, user + sys, user, sys, rss }' "$2"
}

# Jackcess writing the rows: the baseline, and the source of the package.
rm -f "$WORK/gen.mdb"
/usr/bin/time -v "$ORACLE" gen "$WORK/gen.mdb" "$ROWS" 2> "$WORK/jackcess.time" >/dev/null

# A suite on drive C: its configuration, a catalog that names the Stok database, the extra
# files list, and stok.mdb holding Hareket with its keys and no rows.
SUITE=$WORK/C/Pergonix
rm -rf "$WORK/C" "$WORK/D"
mkdir -p "$SUITE/Genel/Data" "$SUITE/Stok/Data/001/2009" "$WORK/D/Yedek/P/Stok/Data/001/2009"
printf '[Pergo]\r\nCalismaAlani=C:\\Pergonix\r\nYil=2009\r\nSirket=001\r\n[Veritabani]\r\nVeritabaniTuru=Access\r\n' \
  > "$SUITE/config.ini"
printf '[YedekDosyalar]\r\nYedekDosyaSayisi=0\r\n' > "$SUITE/Genel/Data/YedekDosya.ini"
cat > "$WORK/catalog.json" <<'EOF'
{"tables": [
 {"name": "tablo_veritabani_bilgileri",
  "columns": [{"name": "VeritabaniModulAdi", "type": "TEXT", "length": 50},
              {"name": "VeritabaniAccessAdi", "type": "TEXT", "length": 50},
              {"name": "VeritabaniSqlServerAdi", "type": "TEXT", "length": 50},
              {"name": "VeritabaniKonum", "type": "TEXT", "length": 50},
              {"name": "VeritabaniTanimi", "type": "TEXT", "length": 50},
              {"name": "VeritabaniBaglantiTuru", "type": "TEXT", "length": 50}],
  "rows": [["Stok", "stok.mdb", "STOK", "DataSirketYil", "Stok", "Access"]]},
 {"name": "tablo_veritabani_tablo_bilgileri",
  "columns": [{"name": "TabloAdi", "type": "TEXT", "length": 50},
              {"name": "VeritabaniTanimi", "type": "TEXT", "length": 50}],
  "rows": []},
 {"name": "tablo_veritabani_saha_bilgileri",
  "columns": [{"name": "TabloAdi", "type": "TEXT", "length": 50},
              {"name": "VeritabaniTanim", "type": "TEXT", "length": 50},
              {"name": "SahaAdi", "type": "TEXT", "length": 50},
              {"name": "SahaBoyu", "type": "TEXT", "length": 10},
              {"name": "SahaOtomatikSayi", "type": "TEXT", "length": 5},
              {"name": "SahaVeriTuru", "type": "TEXT", "length": 20},
              {"name": "SahaPrimaryKey", "type": "TEXT", "length": 5},
              {"name": "SahaPozisyonu", "type": "TEXT", "length": 5}],
  "rows": []}]}
EOF
"$ORACLE" build "$SUITE/Genel/Data/DonemAc.mdb" "$WORK/catalog.json"
"$ORACLE" gen "$SUITE/Stok/Data/001/2009/stok.mdb" 0 2>/dev/null
cp "$SUITE/Stok/Data/001/2009/stok.mdb" "$WORK/empty.mdb"

export PERGONIX_DRIVES="C=$WORK/C;D=$WORK/D" TMPDIR=$WORK/tmp
mkdir -p "$TMPDIR"
"$PROGRAM" xbf aktar "$WORK/gen.mdb" Hareket "$WORK/D/Yedek/P/Stok/Data/001/2009/stok-Hareket.pbf"

/usr/bin/time -v "$PROGRAM" --evet geri-al --kaynak 'D:\Yedek' --paket P --sirket 001 \
  --yil 2009 --modul Stok --onaysiz --onceki-kopya-yok \
  2> "$WORK/restore.time" > "$WORK/restore.out" || {
  cat "$WORK/restore.out" "$WORK/restore.time" >&2
  exit 1
}

echo "rows: $ROWS, package file: $(stat -c %s "$WORK/D/Yedek/P/Stok/Data/001/2009/stok-Hareket.pbf") bytes"
summary "jet-oracle gen (Jackcess)" "$WORK/jackcess.time"
summary "pergonix-yedek geri-al   " "$WORK/restore.time"
ja=$(awk '/User time/ { u = $NF } /System time/ { s = $NF } END { print u + s }' "$WORK/jackcess.time")
re=$(awk '/User time/ { u = $NF } /System time/ { s = $NF } END { print u + s }' "$WORK/restore.time")
awk -v a="$ja" -v b="$re" 'BEGIN { if (b > 0) printf "CPU ratio Jackcess / restore: %.1f\n", a / b }'
if command -v mdb-count >/dev/null; then
  echo "rows restored (mdb-count): $(mdb-count "$SUITE/Stok/Data/001/2009/stok.mdb" Hareket)"
fi
echo "work folder: $WORK"
