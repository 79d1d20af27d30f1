// The integrity check and the key verification on intact samples and on copies broken by
// hand in one known place (each must give its own finding). Damaged copies of every sample
// go through the check in damage_test.cpp.
#include <gtest/gtest.h>

#include <functional>

#include "jet/index_verify.h"
#include "jet/integrity.h"
#include "jet/text.h"
#include "support/jet_oracle.h"
#include "support/samples.h"
#include "support/temp_folder.h"

namespace px::jet {
namespace {

using px::testing::ReadBytes;

std::unique_ptr<Database> Open(std::vector<uint8_t> bytes) {
  auto db = Database::OpenMemory(std::move(bytes), "copy.mdb");
  EXPECT_TRUE(db.ok()) << db.status().ToString();
  return db.ok() ? std::move(*db) : nullptr;
}

std::string Joined(const IntegrityReport& r) {
  std::string s;
  for (const std::string& f : r.findings) s += f + "\n";
  return s;
}

// Where things are in testV2000.mdb, read through the engine itself.
struct Places {
  const JetFormat* f = nullptr;
  TableDef table1;  // "Table1": primary key on text column A
  uint32_t leaf = 0;
  size_t sort_order_at = 0;  // file offset of column A's sort order (LCID)
};

Places Locate(const std::vector<uint8_t>& bytes) {
  Places p;
  auto db = Open(bytes);
  if (!db) return p;
  p.f = &db->format();
  auto def = db->ReadDefinition(*db->FindTable("Table1"));
  EXPECT_TRUE(def.ok());
  p.table1 = *def;
  p.leaf = p.table1.real_indexes.at(0).root_page;
  const int col = p.table1.ColumnByNumber(p.table1.real_indexes[0].columns[0].column_number);
  EXPECT_GE(col, 0);
  p.sort_order_at = size_t(p.table1.page) * p.f->page_size + p.f->tdef_header_size +
                    p.table1.real_indexes.size() * p.f->tdef_real_preamble +
                    size_t(col) * p.f->col_size + p.f->col_sort_order;
  return p;
}

struct DamageCase {
  const char* name;
  std::function<void(std::vector<uint8_t>&, const Places&)> damage;
  const char* finding;  // part of one finding
};

TEST(Integrity, HandBrokenCopiesGiveTheirOwnFinding) {
  PX_SAMPLE_OR_SKIP(path, "mdb/testV2000.mdb");
  const std::vector<uint8_t> intact = ReadBytes(path);
  const Places at = Locate(intact);
  ASSERT_NE(at.f, nullptr);
  const uint32_t ps = at.f->page_size;
  const DamageCase cases[] = {
      {"key byte",
       [](std::vector<uint8_t>& b, const Places& p) {
         b[size_t(p.leaf) * p.f->page_size + p.f->index_first_entry + 1] ^= 0x01;
       },
       "table Table1, index PrimaryKey, leaf page"},
      {"leaf chain loops",
       [ps](std::vector<uint8_t>& b, const Places& p) {
         StoreLe32(&b[size_t(p.leaf) * ps + p.f->index_next_page], p.leaf);
       },
       "leaf chain loops"},
      {"prefix longer than the first entry",
       [ps](std::vector<uint8_t>& b, const Places& p) {
         StoreLe16(&b[size_t(p.leaf) * ps + p.f->index_prefix_len], 300);
       },
       "shared prefix of 300 bytes is longer than the first entry"},
      {"leaf chain into a data page",
       [ps](std::vector<uint8_t>& b, const Places& p) {
         StoreLe32(&b[size_t(p.leaf) * ps + p.f->index_next_page], p.table1.owned_map.page);
       },
       "expected an index page, found type 1"},
      {"leaf chain past the end of the file",
       [ps](std::vector<uint8_t>& b, const Places& p) {
         StoreLe32(&b[size_t(p.leaf) * ps + p.f->index_next_page], 0x00FFFFF0);
       },
       "16777200"},
      {"row count",
       [ps](std::vector<uint8_t>& b, const Places& p) {
         StoreLe32(&b[size_t(p.table1.page) * ps + p.f->tdef_row_count], 7);
       },
       "table Table1: the definition (page"},
      {"row pointer to another page",
       [ps](std::vector<uint8_t>& b, const Places& p) {
         // Entry 0's row pointer: 4 bytes before the end of the first entry.
         const uint8_t* page = &b[size_t(p.leaf) * ps];
         size_t end = 0;
         while (!(page[p.f->index_bitmask + end / 8] & (1u << (end % 8)))) ++end;
         b[size_t(p.leaf) * ps + p.f->index_first_entry + end - 2] ^= 0x01;  // page low byte
       },
       "has no entry"},
      {"page map marks the definition free",
       [ps](std::vector<uint8_t>& b, const Places& p) {
         uint8_t* page1 = &b[ps];
         const size_t row = LoadLe16(page1 + p.f->data_row_table) & kRowOffsetMask;
         const uint32_t start = LoadLe32(page1 + row + 1);
         const uint32_t bit = p.table1.page - start;
         page1[row + 5 + bit / 8] |= uint8_t(1u << (bit % 8));
       },
       "is in use but the database page map (page 1) marks it free"},
  };
  for (const DamageCase& c : cases) {
    std::vector<uint8_t> bytes = intact;
    c.damage(bytes, at);
    auto db = Open(bytes);
    ASSERT_NE(db, nullptr) << c.name;
    const IntegrityReport r = CheckDatabase(*db);
    EXPECT_NE(Joined(r).find(c.finding), std::string::npos) << c.name << ":\n" << Joined(r);
    for (const std::string& f : r.findings) {
      EXPECT_EQ(f.rfind("copy.mdb: ", 0), 0u) << c.name << ": " << f;
    }
  }
}

TEST(Integrity, ExternalAutoNumberCounterBelowAStoredValueIsAFinding) {
  PX_JET_ORACLE_OR_SKIP();
  px::testing::TempFolder tmp;
  std::string error;
  auto file =
      px::testing::JetOracleBuild(tmp, "auto.mdb", R"({"tables":[{"name":"Hareket","columns":[
      {"name":"Id","type":"LONG","autonumber":true},{"name":"Kod","type":"TEXT","length":10}],
      "primary_key":["Id"],"rows":[[5,"a"],[null,"b"],[40,"c"]]}]})",
                                  error);
  ASSERT_TRUE(file) << error;
  std::vector<uint8_t> bytes = ReadBytes(*file);
  auto db = Open(bytes);
  ASSERT_NE(db, nullptr);
  const IntegrityReport clean = CheckDatabase(*db);
  EXPECT_TRUE(clean.ok()) << Joined(clean);
  auto def = db->ReadDefinition(*db->FindTable("Hareket"));
  ASSERT_TRUE(def.ok());
  EXPECT_EQ(def->autonumber_last, 40u);
  const JetFormat& f = db->format();
  StoreLe32(&bytes[size_t(def->page) * f.page_size + f.tdef_autonumber], 39);
  auto damaged = Open(bytes);
  ASSERT_NE(damaged, nullptr);
  EXPECT_EQ(Joined(CheckDatabase(*damaged)),
            "copy.mdb: table Hareket: AutoNumber column Id holds 40, above the last value issued "
            "(39); new rows would repeat numbers\n");
}

TEST(VerifyIndexKeys, ADifferingKeyRefusesNamingTableIndexAndKey) {
  PX_SAMPLE_OR_SKIP(path, "mdb/testV2000.mdb");
  const std::vector<uint8_t> intact = ReadBytes(path);
  const Places at = Locate(intact);
  ASSERT_NE(at.f, nullptr);
  std::vector<uint8_t> bytes = intact;
  bytes[size_t(at.leaf) * at.f->page_size + at.f->index_first_entry + 1] ^= 0x01;
  auto db = Open(bytes);
  ASSERT_NE(db, nullptr);
  Status st = VerifyIndexKeys(*db, *db->FindTable("Table1"), nullptr);
  ASSERT_TRUE(st.IsCorruption()) << st.ToString();
  EXPECT_NE(st.message().find("copy.mdb: table Table1, index PrimaryKey, leaf page " +
                              std::to_string(at.leaf)),
            std::string::npos)
      << st.message();
  EXPECT_NE(st.message().find("stored key 7f 4b"), std::string::npos) << st.message();
  EXPECT_NE(st.message().find("differs from the key the row makes 7f 4a"), std::string::npos)
      << st.message();
}

// A text column switched to the Turkish order: keys without the letters Turkish orders
// differently still verify and prove their characters; a key General made for "I" or "i"
// does not.
TEST(VerifyIndexKeys, TurkishOrderIsProvenOnlyForTheCharactersItsKeysHold) {
  PX_SAMPLE_OR_SKIP(path, "mdb/testV2000.mdb");
  const std::vector<uint8_t> intact = ReadBytes(path);
  const Places at = Locate(intact);
  ASSERT_NE(at.f, nullptr);
  std::vector<uint8_t> bytes = intact;
  ASSERT_EQ(LoadLe16(&bytes[at.sort_order_at]), kLcidGeneral);
  StoreLe16(&bytes[at.sort_order_at], kLcidTurkish);
  auto db = Open(bytes);
  ASSERT_NE(db, nullptr);
  VerifiedCharacters verified;
  Status st = VerifyIndexKeys(*db, *db->FindTable("Table1"), &verified);
  ASSERT_TRUE(st.ok()) << st.ToString();  // keys "a" and "abcdefg"
  EXPECT_TRUE(verified.MayEncode(TextOrder::kTurkish, "badface ").ok());
  EXPECT_FALSE(verified.MayEncode(TextOrder::kTurkish, "ağa").ok());
  EXPECT_FALSE(verified.MayEncode(TextOrder::kTurkish, "bil").ok());
}

TEST(Integrity, IndexesInAnUnknownOrderAreNotedNotFound) {
  PX_SAMPLE_OR_SKIP(path, "mdb/testV2000.mdb");
  const std::vector<uint8_t> intact = ReadBytes(path);
  const Places at = Locate(intact);
  ASSERT_NE(at.f, nullptr);
  std::vector<uint8_t> bytes = intact;
  StoreLe16(&bytes[at.sort_order_at], 1049);
  auto db = Open(bytes);
  ASSERT_NE(db, nullptr);
  const IntegrityReport r = CheckDatabase(*db);
  EXPECT_TRUE(r.ok()) << Joined(r);
  ASSERT_EQ(r.notes.size(), 1u);
  EXPECT_EQ(r.notes[0].rfind("copy.mdb: table Table1, index PrimaryKey: 2 of 2 keys not checked; "
                             "first: table Table1, index PrimaryKey, leaf page",
                             0),
            0u)
      << r.notes[0];
  EXPECT_NE(r.notes[0].find("sort order 1049 version 0 (Jet 4) has no known index keys"),
            std::string::npos);
  Status st = VerifyIndexKeys(*db, *db->FindTable("Table1"), nullptr);
  EXPECT_TRUE(st.IsNotSupported()) << st.ToString();
}

}  // namespace
}  // namespace px::jet
