#!/usr/bin/env bash
# make demo: builds the demo suite with our own Access writer, backs up company 001 / 2009
# compressed and every company uncompressed, checks both packages, then restores company
# 001 / 2009 into a new company 004 / 2010 and shows what changed.
#
#   tools/demo.sh [build/pergonix-yedek] [build/pergonix-demo-suite]
#
# Everything lands in build/demo (DEMO_DIR), removed first: C/ is the suite's drive, D/ the
# backup drive, logs/ what the runs wrote to standard error.
set -euo pipefail

bin=$(realpath "${1:-build/pergonix-yedek}")
builder=$(realpath "${2:-build/pergonix-demo-suite}")
demo=${DEMO_DIR:-build/demo}

rm -rf "$demo"
"$builder" "$demo"
demo=$(realpath "$demo")
mkdir -p "$demo/D" "$demo/logs" "$demo/tmp"
export PERGONIX_DRIVES="C=$demo/C;D=$demo/D"
export TMPDIR="$demo/tmp"
suite="$demo/C/Pergonix"

baslik() { printf '\n=== %s\n' "$*"; }

# Runs the program, keeps its standard error (message boxes and status texts) in
# logs/$1.log and shows each box as one line (title, first line, answer) and the last status
# text; stops the demo when the exit code is not 0.
calistir() {
  local log="$demo/logs/$1.log"
  shift
  local rc=0
  "$bin" "$@" 2>"$log" | sed 's/^/  /' || rc=$?
  if [ -s "$log" ]; then
    echo "  $(wc -l <"$log") lines of messages in ${log#"$PWD"/}; the boxes:"
    awk '/^== .* ==$/ {kutu = 1; baslik = $0; metin = ""; next}
         kutu && /^-> / {printf "  | %s %s %s\n", baslik, metin, $0; kutu = 0; next}
         kutu && metin == "" && NF {metin = $0}' "$log"
    echo "  | last status: $(grep -v -e '^$' -e '^-> ' "$log" | tail -n 1)"
  fi
  if [ "$rc" -ne 0 ]; then
    echo "pergonix-yedek $* ended with exit code $rc" >&2
    exit "$rc"
  fi
}

# The files of a package as a tree: folders with their files, sizes in bytes.
agac() {
  (cd "$1" && find . -mindepth 1 | LC_ALL=C sort) | while IFS= read -r yol; do
    local derinlik ad
    derinlik=$(($(tr -cd / <<<"$yol" | wc -c) - 1))
    ad=${yol##*/}
    if [ -d "$1/$yol" ]; then
      printf '%*s%s/\n' $((derinlik * 2)) '' "$ad"
    else
      printf '%*s%s  %s\n' $((derinlik * 2)) '' "$ad" "$(stat -c %s "$1/$yol")"
    fi
  done
}

# One line per folder of a package: files and bytes.
klasor_ozeti() {
  (cd "$1" && find . -type f -printf '%h %s\n') | LC_ALL=C sort |
    awk '{n[$1]++; b[$1]+=$2} END {for (k in n) printf "  %-40s %4d files %10d bytes\n", k, n[k], b[k]}' |
    LC_ALL=C sort
}

# "database table rows" for every table of every database of company $1, year $2, and of
# the module-wide databases (the restore puts their tables back too), by `mdb satirlar`.
satir_sayilari() {
  local sirket=$1 yil=$2 db tablo
  find "$suite" -regex ".*/Data/\($sirket/\($yil/\)?\)?[^/]*\.mdb" -not -regex '.*/Genel/Data/[^/]*\.mdb' \
    -not -path '*/GeriAlOncesi/*' |
    LC_ALL=C sort | while IFS= read -r db; do
    "$bin" mdb tablolar "$db" | while IFS= read -r tablo; do
      printf '%s %s %s\n' "${db#"$suite"/}" "$tablo" "$("$bin" mdb satirlar "$db" "$tablo" | wc -l)"
    done
  done
}

baslik "The demo suite (C: = ${demo#"$PWD"/}/C)"
"$bin" ayarlar | sed 's/^/  /'
echo "  Companies in tblSirket:"
"$bin" mdb satirlar 'C:\Pergonix\Genel\Data\sirket.mdb' tblSirket | sed 's/^/    /'

baslik "Backup: company 001 / 2009, compressed, into D:\\Yedek\\Demo2009"
calistir yedekle-001-2009 --evet yedekle --paket Demo2009 --sirket 001 --yil 2009 \
  --hedef 'D:\Yedek'

baslik "Backup: every company / 2009, uncompressed, into D:\\Yedek\\Tumu2009"
calistir yedekle-tumu-2009 --evet yedekle --paket Tumu2009 --sirket 001 --yil 2009 \
  --hedef 'D:\Yedek' --tum-sirketler --sikistirma-yok
echo "  (the module-wide modules are backed up for every company, so companies 002 and 003"
echo "  find the copy made for 001 as an old backup and are asked to delete it)"

baslik "dogrula: both packages against their manifests"
calistir dogrula-Demo2009 dogrula 'D:\Yedek\Demo2009'
calistir dogrula-Tumu2009 dogrula 'D:\Yedek\Tumu2009'
echo "  both packages are whole"

baslik "Package D:\\Yedek\\Demo2009"
agac "$demo/D/Yedek/Demo2009" | sed 's/^/  /'

baslik "Package D:\\Yedek\\Tumu2009, by folder"
klasor_ozeti "$demo/D/Yedek/Tumu2009"

baslik "Restore: company 001 / 2009 of Demo2009 into the new company 004 / 2010"
echo "  Company 004 is opened in the suite first (a row in tblSirket):"
"$bin" mdb sql 'C:\Pergonix\Genel\Data\sirket.mdb' \
  "INSERT INTO tblSirket (intSirketNo, strSirketAdi, strSirketAdi2, intSirketVergiNo, strSirketVergiDaire) Values (4,'Anadolu Gıda Ankara Şubesi','Yeni Şube','0680012399','Ulus')" |
  sed 's/^/    rows added: /'
satir_sayilari 004 2010 >"$demo/logs/once.txt"
satir_sayilari 001 2009 >"$demo/logs/kaynak.txt"
"$bin" paket listele --kaynak 'D:\Yedek' --paket Demo2009 | sed 's/^/  /'
calistir geri-al-004-2010 --evet geri-al --kaynak 'D:\Yedek' --paket Demo2009 --sirket 004 \
  --yil 2010 --paketteki-sirket 001 --paketteki-yil 2009 --onaysiz
satir_sayilari 004 2010 >"$demo/logs/sonra.txt"

baslik "What changed: rows of company 004 / 2010 before and after, beside 001 / 2009"
printf '  %-44s %-30s %8s %8s %8s\n' "Database" "Table" "001/2009" "before" "after"
awk -v once="$demo/logs/once.txt" -v kaynak="$demo/logs/kaynak.txt" '
  function ad(db) { gsub("/Data/004/2010/|/Data/004/|/Data/001/2009/|/Data/001/", "/Data/../", db); return db }
  BEGIN {
    while ((getline < once) > 0) o[ad($1) " " $2] = $3
    while ((getline < kaynak) > 0) k[ad($1) " " $2] = $3
  }
  { key = ad($1) " " $2
    printf "  %-44s %-30s %8s %8s %8s\n", $1, $2, (key in k) ? k[key] : "-", (key in o) ? o[key] : "-", $3 }
' "$demo/logs/sonra.txt"

# "name type size" of each column of a table, in the table's order.
sutunlar() {
  "$bin" mdb sema "$1" "$2" | grep -o '"name":"[^"]*","ado_type":[0-9]*,"size":[0-9]*' |
    sed 's/"name":"\([^"]*\)","ado_type":\([0-9]*\),"size":\([0-9]*\)/\1 \2 \3/'
}

baslik "CariKart as the suite made it (001/2009) and as the catalog made it (004/2010)"
echo "  (catalog positions are text, so \"10\" comes before \"2\"; the catalog's \"Memo\" and"
echo "  \"Date\" have no ADOX type and become ADOX's default column, text of 255)"
paste <(sutunlar 'C:\Pergonix\Cari\Data\001\2009\cari.mdb' CariKart) \
  <(sutunlar 'C:\Pergonix\Cari\Data\004\2010\cari.mdb' CariKart) |
  awk -F'\t' 'BEGIN {printf "  %-14s %-16s %-14s %s\n", "001/2009", "ADO type(size)", "004/2010", "ADO type(size)"}
    {split($1, a, " "); split($2, b, " ");
     printf "  %-14s %-16s %-14s %s\n", a[1], a[2] "(" a[3] ")", b[1], b[2] "(" b[3] ")"}'

baslik "Rows with an apostrophe: tables with an AutoNumber key go back through INSERT text"
echo "  (each ' becomes \", as the suite's restore always did; the other tables keep it)"
kaynak_cari='C:\Pergonix\Cari\Data\001\2009\cari.mdb'
hedef_cari='C:\Pergonix\Cari\Data\004\2010\cari.mdb'
"$bin" mdb satirlar "$kaynak_cari" CariHareket >"$demo/logs/CariHareket.jsonl"
no=$(grep -m1 "'" "$demo/logs/CariHareket.jsonl" | grep -o '"HareketNo":[0-9]*' | cut -d: -f2)
for db in "$kaynak_cari" "$hedef_cari"; do
  "$bin" mdb sql "$db" "SELECT HareketNo, CariKod, Aciklama FROM CariHareket WHERE HareketNo = '$no'" |
    sed 's/^/  /'
done

baslik "Personel keys of 004 / 2010 after the key rewrite"
personel='C:\Pergonix\Personel\Data\004\2010\personel.mdb'
"$bin" mdb sql "$personel" "SELECT strIsyeriKey, strIsyeriKodu, strIsyeriAdi FROM tablo_isyeri_bilgileri" |
  sed 's/^/  /'
"$bin" mdb sql "$personel" "SELECT strPersonelKey, strParametreAdi FROM tablo_personel_parametreleri" |
  sed 's/^/  /'

baslik "Copies kept before the restore changed existing databases"
if [ -d "$suite/GeriAlOncesi" ]; then
  (cd "$suite" && find GeriAlOncesi -type f | LC_ALL=C sort | sed 's/^/  /')
else
  echo "  (none)"
fi

baslik "Every database of company 004 passes mdb kontrol"
find "$suite" -path '*/Data/004/*' -name '*.mdb' | LC_ALL=C sort | while IFS= read -r db; do
  "$bin" mdb kontrol "$db" | sed "s|^$suite/|  |"
done
# The empty lock file that keeps two runs apart stays in the temporary folder.
kalan=$(find "$demo/tmp" "$demo/D" -type f \( -name '.~*' -o -path "$demo/tmp/*" \) \
  ! -name pergonix-yedek.lock | wc -l)
echo "  staging and temporary files left behind by the runs: $kalan"
[ "$kalan" -eq 0 ]
echo
echo "Demo finished; everything is in ${demo#"$PWD"/}."
