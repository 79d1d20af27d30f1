// One pass over every Access-written sample (and a Jackcess-built file) holding the engine to
// what Access wrote: the whole file walks and passes the integrity check, every stored index
// key is what our encoder makes of its row (Access made the keys, so equality proves the
// encoder for each type, direction and sort order the samples hold), every table definition
// encodes again to its stored bytes, and every index page re-encodes to the same entries.
#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <map>

#include "jet/index_key.h"
#include "jet/index_page.h"
#include "jet/integrity.h"
#include "jet/tabledef_writer.h"
#include "jet/walk.h"
#include "platform/utf8_path.h"
#include "support/jet_oracle.h"
#include "support/samples.h"
#include "support/temp_folder.h"

namespace px::jet {
namespace {

struct Coverage {
  uint64_t files = 0, definitions = 0, index_entries = 0;
  uint64_t index_pages = 0, page_entries = 0, prefixed_pages = 0;
  std::map<TextOrder, uint64_t> text_keys;  // keys of indexes led by a text column
};

std::string Lines(const std::vector<std::string>& v) {
  std::string s;
  for (const std::string& l : v) s += "\n  " + l;
  return s;
}

// The logical definition as stored (the first page, then each continuation from byte 8)
// against the encoder's bytes, past the length field.
void CheckDefinitionBytes(Database& db, const TableDef& def, const std::string& where) {
  std::vector<uint8_t> stored;
  for (size_t i = 0; i < def.pages.size(); ++i) {
    Result<Page> page = db.pager().Get(def.pages[i]);
    ASSERT_TRUE(page.ok()) << page.status().ToString();
    const size_t start = i == 0 ? 0 : kTdefContinuationStart;
    stored.insert(stored.end(), page->bytes().begin() + long(start), page->bytes().end());
  }
  ASSERT_GE(stored.size(), kTdefLength + 4) << where;
  stored.resize(std::min<size_t>(stored.size(), LoadLe32(&stored[kTdefLength])));
  auto encoded = EncodeTableDef(db.format(), def, db.text_code_page());
  ASSERT_TRUE(encoded.ok()) << encoded.status().ToString();
  ASSERT_EQ(encoded->size(), stored.size()) << where;
  for (size_t i = kTdefLength; i < stored.size(); ++i) {
    ASSERT_EQ((*encoded)[i], stored[i]) << where << " at byte " << i;
  }
}

// Decodes an index page, encodes it again and decodes that: the same entries and links; with
// the prefix the writer chose, the same bytes up to the end of the entries (Jet 4).
void CheckIndexPage(const JetFormat& f, Bytes page, const std::string& where, Coverage& cov) {
  auto decoded = DecodeIndexPage(f, page, where);
  ASSERT_TRUE(decoded.ok()) << decoded.status().ToString();
  for (size_t i = 1; i < decoded->entries.size(); ++i) {
    ASSERT_LT(decoded->entries[i - 1], decoded->entries[i]) << where << " entry " << i;
  }
  std::vector<uint8_t> again(f.page_size);
  ASSERT_TRUE(EncodeIndexPage(f, *decoded, LoadLe32(&page[4]), again).ok()) << where;
  auto back = DecodeIndexPage(f, again, where);
  ASSERT_TRUE(back.ok()) << back.status().ToString();
  EXPECT_EQ(back->entries, decoded->entries) << where;
  EXPECT_EQ(std::tie(back->leaf, back->prev, back->next),
            std::tie(decoded->leaf, decoded->prev, decoded->next))
      << where;
  if (!decoded->leaf) {
    EXPECT_EQ(back->tail, decoded->tail) << where;
  }
  EXPECT_EQ(LoadLe32(&again[4]), LoadLe32(&page[4])) << where;
  const size_t used = f.page_size - f.index_first_entry - LoadLe16(&page[2]);
  if (again[f.index_prefix_len] == page[f.index_prefix_len] && f.version == JetVersion::kJet4) {
    EXPECT_TRUE(std::equal(again.begin() + f.index_bitmask,
                           again.begin() + f.index_first_entry + used,
                           page.begin() + f.index_bitmask))
        << where;
  }
  cov.prefixed_pages += page[f.index_prefix_len] != 0;
  cov.page_entries += decoded->entries.size();
  ++cov.index_pages;
}

// `by_access`: a file Access wrote, whose definitions and index pages are the bytes our
// writer makes and whose every key has a known sort order (no note of an unchecked key).
void CheckFile(const std::filesystem::path& path, bool by_access, Coverage& cov) {
  const std::string name = path.filename().string();
  SCOPED_TRACE(name);
  const std::vector<uint8_t> bytes = px::testing::ReadBytes(path);
  auto opened = Database::OpenMemory(bytes, name);
  ASSERT_TRUE(opened.ok()) << opened.status().ToString();
  Database& db = **opened;
  ++cov.files;
  WalkCounts counts;
  Status walked = WalkDatabase(db, counts);
  EXPECT_TRUE(walked.ok()) << walked.ToString();
  const IntegrityReport report = CheckDatabase(db);
  EXPECT_TRUE(report.ok()) << Lines(report.findings);
  if (by_access) {
    EXPECT_TRUE(report.notes.empty()) << Lines(report.notes);
  }
  EXPECT_GT(report.index_entries, 0u);
  cov.index_entries += report.index_entries;
  for (const CatalogEntry& e : db.tables()) {
    if (!e.has_tdef()) continue;
    auto def = db.ReadDefinition(e);
    ASSERT_TRUE(def.ok()) << def.status().ToString();
    if (by_access) CheckDefinitionBytes(db, *def, name + " " + e.name);
    cov.definitions += by_access;
    for (const RealIndex& index : def->real_indexes) {
      for (const IndexColumn& ic : index.columns) {
        const ColumnDef& c = def->columns[size_t(def->ColumnByNumber(ic.column_number))];
        if (c.type != coltype::kText && c.type != coltype::kMemo) continue;
        if (auto order = TextOrderOf(db.format(), c); order.ok()) {
          cov.text_keys[*order] += def->row_count;
        }
        break;
      }
    }
  }
  const JetFormat& f = db.format();
  for (size_t off = 0; by_access && off + f.page_size <= bytes.size(); off += f.page_size) {
    Bytes page(&bytes[off], f.page_size);
    if (page[0] != page_type::kIndexLeaf && page[0] != page_type::kIndexNode) continue;
    CheckIndexPage(f, page, name + " page " + std::to_string(off / f.page_size), cov);
  }
}

TEST(SampleSweep, EverySampleIsWhatTheEngineWouldWrite) {
  PX_SAMPLE_OR_SKIP(dir, "mdb");
  Coverage cov;
  for (const auto& f : std::filesystem::directory_iterator(PathFromUtf8(dir))) {
    if (f.path().extension() == ".mdb") CheckFile(f.path(), true, cov);
  }
  // Thousands of keys, text keys in both the Jet 3 and the Jet 4 General order, prefix
  // compression on some index pages, more than a hundred definitions.
  EXPECT_GE(cov.files, 10u);
  EXPECT_GT(cov.index_entries, 1000u);
  EXPECT_GT(cov.text_keys[TextOrder::kGeneral97], 50u);
  EXPECT_GT(cov.text_keys[TextOrder::kGeneralLegacy], 50u);
  EXPECT_GT(cov.definitions, 100u);
  EXPECT_GT(cov.index_pages, 50u);
  EXPECT_GT(cov.page_entries, 1000u);
  EXPECT_GT(cov.prefixed_pages, 0u);
  std::cout << "[ sweep ] " << cov.files << " files, " << cov.index_entries << " keys, "
            << cov.definitions << " definitions, " << cov.index_pages << " index pages\n";
}

// Jackcess (through jet-oracle) writes a Jet 4 General-ordered file whose keys it builds
// itself: Turkish letters in both cases, dotted and dotless i, hyphens and apostrophes (the
// ignorable characters), accents past the first letter, trailing spaces, and one key of
// every other indexable type.
TEST(SampleSweep, ExternalJackcessBuiltTurkishKeysAreWhatTheEncoderMakes) {
  PX_JET_ORACLE_OR_SKIP();
  // Words separated by '|'.
  const std::string word_list =
      "ŞİRKET|şirket|SIRKET|sırket|Çağlar|ÇAĞLAR|ığdır|IĞDIR|"
      "İstanbul|istanbul|Ödemiş|ÖDEMİŞ|Ünal|üNAL|co-op|coop|"
      "O'Brien|Ali-Veli'nin|a-b-c-d-e|trailing   | leading|"
      "Gümüşhane|Kırşehir|Muğla|Ağrı|Iğdır|Şanlıurfa|Çanakkale|"
      "Eskişehir|Düzce|ÂLİ|kâr|hâlâ|Hüseyin'in|5005|005-001|x|"
      "ABCDEFGHIJKLMNOPQRSTUVWXYZ|çöşüğı ÇÖŞÜĞİ|"
      "e\u00e9\u00e8\u00ea\u00eb|\u00f8\u00e5\u00df\u00e6|12.5%|"
      "a&b|(parantez)|ÇçĞğİıÖöŞşÜü";
  std::vector<std::string> words;
  for (size_t at = 0, bar = 0; bar != std::string::npos; at = bar + 1) {
    bar = word_list.find('|', at);
    words.push_back(word_list.substr(at, bar - at));
  }
  std::string rows;
  int id = 0;
  for (const std::string& w : words) {
    if (!rows.empty()) rows += ",";
    ++id;
    rows += "[" + std::to_string(id) + ",\"" + w + "\",\"" + w + " " + std::to_string(id) + "\"," +
            std::to_string(id * 1234 - 20000) + ".25," + std::to_string(id % 3 - 1) + "e" +
            std::to_string(id % 7) + "," + (id % 2 ? "true" : "false") + ",\"" +
            (id % 3 ? "" : "-") + std::to_string(id) + ".5\"," + std::to_string(id * 7 % 256) + "]";
  }
  const std::string json = R"({"tables":[{"name":"Cari","columns":[
    {"name":"Id","type":"LONG","autonumber":true},{"name":"Kod","type":"TEXT","length":40},
    {"name":"Unvan","type":"TEXT","length":100},{"name":"Tutar","type":"MONEY"},
    {"name":"Oran","type":"DOUBLE"},{"name":"Aktif","type":"BOOLEAN"},
    {"name":"Miktar","type":"NUMERIC","precision":18,"scale":4},{"name":"B","type":"BYTE"}],
    "primary_key":["Id"],
    "indexes":[{"name":"KodIdx","columns":["Kod"]},{"name":"UnvanIdx","columns":["Unvan"],"unique":true},
               {"name":"Coklu","columns":["Tutar","Oran","Aktif","Miktar","B","Kod"]}],
    "rows":[)" + rows + R"(]},
    {"name":"Diger","columns":[{"name":"G","type":"GUID"},{"name":"Tarih","type":"SHORT_DATE_TIME"},
      {"name":"F","type":"FLOAT"},{"name":"I","type":"INT"},{"name":"Bin","type":"BINARY","length":30},
      {"name":"Not","type":"MEMO"}],
     "indexes":[{"name":"GTarih","columns":["G","Tarih"]},{"name":"FI","columns":["F","I"]},
                {"name":"BinIdx","columns":["Bin"]},{"name":"NotIdx","columns":["Not"]}],
     "rows":[["{11223344-5566-7788-99AA-BBCCDDEEFF00}","2024-01-02T03:04:05",2.5,-7,"00112233445566778899aabbcc","Şükrü'nün notu"],
             [null,"1899-12-29T06:00:00",-0.5,32767,"ff","İĞNE-İPLİK"],
             ["{00000000-0000-0000-0000-000000000001}",null,null,-32768,"","ı"],
             ["{FFFFFFFF-0000-0000-0000-00000000000A}","2025-12-31T23:59:59",1e-30,0,null,null],
             [null,-700000.5,-3e38,1,"0102030405060708",""]]}]})";
  px::testing::TempFolder tmp;
  std::string error;
  auto file = px::testing::JetOracleBuild(tmp, "oracle.mdb", json, error);
  ASSERT_TRUE(file) << error;
  Coverage cov;
  CheckFile(*file, false, cov);
  // Three indexes hold a text column, plus the catalog's own ParentIdName.
  EXPECT_GE(cov.text_keys[TextOrder::kGeneralLegacy], 3 * words.size());
}

}  // namespace
}  // namespace px::jet
