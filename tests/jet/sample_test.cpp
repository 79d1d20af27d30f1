// Reads the Access-written sample files in ../shared/samples/mdb. Expected values were
// checked against mdb-json, mdb-schema and mdb-prop (mdbtools 1.0) and mdb-reader 3.2.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "core/value_text.h"
#include "jet/database.h"
#include "jet/index_reader.h"
#include "jet/walk.h"
#include "platform/utf8_path.h"
#include "support/samples.h"

namespace px::jet {
namespace {

std::unique_ptr<Database> OpenSample(const std::string& path) {
  auto db = Database::Open(PathFromUtf8(path));
  EXPECT_TRUE(db.ok()) << db.status().ToString();
  return db.ok() ? std::move(*db) : nullptr;
}

// Declares `db` as the opened sample file `name` (below mdb/), or skips the test without it.
#define OPEN_SAMPLE_OR_SKIP(db, name)                         \
  PX_SAMPLE_OR_SKIP(db##_path, std::string("mdb/") + (name)); \
  auto db = OpenSample(db##_path);                            \
  ASSERT_NE(db, nullptr)

std::vector<Row> ReadAll(Database& db, const std::string& table) {
  auto reader = db.OpenTable(table);
  EXPECT_TRUE(reader.ok()) << reader.status().ToString();
  if (!reader.ok()) return {};
  std::vector<Row> rows;
  Row row;
  while ((*reader)->Next(row)) rows.push_back(row);
  EXPECT_TRUE((*reader)->status().ok()) << (*reader)->status().ToString();
  return rows;
}

std::string Str(const Value& v) {
  return std::holds_alternative<std::string>(v) ? std::get<std::string>(v) : "<not text>";
}

TEST(SampleHeader, VersionCodePageAndSortOrder) {
  OPEN_SAMPLE_OR_SKIP(jet3, "testV1997.mdb");
  EXPECT_EQ(jet3->format().version, JetVersion::kJet3);
  EXPECT_EQ(jet3->format().page_size, 2048u);
  EXPECT_EQ(jet3->header().code_page, 1252);
  EXPECT_EQ(jet3->header().sort_order, 1033);
  EXPECT_EQ(jet3->header().db_key, 0u);
  OPEN_SAMPLE_OR_SKIP(jet4, "adox_jet4.mdb");
  EXPECT_EQ(jet4->format().version, JetVersion::kJet4);
  EXPECT_EQ(jet4->header().code_page, 1252);
  EXPECT_EQ(jet4->header().sort_order, 1033);
  auto created = OleDateToParts(jet4->header().creation_date);
  ASSERT_TRUE(created);
  EXPECT_EQ(created->year, 2015);  // the empty-password pattern names day 42329
}

TEST(SampleCatalog, UserTablesInCatalogOrderMatchMdbTables) {
  const std::vector<std::pair<std::string, std::vector<std::string>>> expected = {
      {"adox_jet4.mdb", {}},
      {"empty2003.mdb", {}},
      {"testV1997.mdb", {"Table1", "Table2", "Table3", "Table4"}},
      {"testV2000.mdb", {"Table1", "Table2", "Table3", "Table4"}},
      {"indexTestV1997.mdb", {"Table1", "Table2", "Table3"}},
      {"delTestV1997.mdb", {"Table"}},
      {"fixedTextTestV2000.mdb", {"users"}},
  };
  for (const auto& [file, tables] : expected) {
    OPEN_SAMPLE_OR_SKIP(db, file);
    EXPECT_EQ(db->UserTableNames(), tables) << file;
  }
}

TEST(SampleCatalog, AdoxTypesOfSystemAndAccessTables) {
  OPEN_SAMPLE_OR_SKIP(db, "indexTestV2000.mdb");
  std::map<std::string, std::string> types;
  for (const CatalogEntry& e : db->tables()) types[e.name] = e.adox_type;
  EXPECT_EQ(types["MSysObjects"], "SYSTEM TABLE");
  EXPECT_EQ(types["MSysRelationships"], "SYSTEM TABLE");
  EXPECT_EQ(types["MSysAccessObjects"], "ACCESS TABLE");
  EXPECT_EQ(types["MSysNavPaneGroups"], "ACCESS TABLE");
  EXPECT_EQ(types["Table3"], "TABLE");
  // Table3's definition lives on page 33 (its MSysObjects Id).
  const CatalogEntry* t3 = db->FindTable("TABLE3");
  ASSERT_NE(t3, nullptr);
  EXPECT_EQ(t3->tdef_page(), 33u);
}

TEST(SampleSchema, TypesSizesPropertiesAndPrimaryKey) {
  OPEN_SAMPLE_OR_SKIP(db, "testV2000.mdb");
  auto s = db->ReadSchema("Table1");
  ASSERT_TRUE(s.ok()) << s.status().ToString();
  std::vector<int> types, sizes;
  for (const FieldInfo& f : s->fields) {
    types.push_back(f.ado_type);
    sizes.push_back(int(f.size));
  }
  EXPECT_EQ(types, (std::vector<int>{202, 202, 17, 2, 3, 5, 7, 6, 11}));
  EXPECT_EQ(sizes, (std::vector<int>{50, 100, 1, 2, 4, 8, 8, 8, 2}));
  EXPECT_FALSE(s->fields[8].nullable());  // Boolean
  EXPECT_TRUE(s->fields[0].nullable());
  EXPECT_TRUE(s->fields[0].key_column());
  ASSERT_EQ(s->keys.size(), 1u);
  EXPECT_EQ(s->keys[0].name, "PrimaryKey");
  EXPECT_EQ(s->keys[0].type, "primary");
  EXPECT_EQ(s->keys[0].columns, std::vector<std::string>{"A"});
  auto guid = db->ReadSchema("Table4");
  ASSERT_TRUE(guid.ok());
  EXPECT_EQ(guid->fields[1].ado_type, 72);
}

TEST(SampleSchema, RequiredAndAllowZeroLengthFromLvProp) {
  OPEN_SAMPLE_OR_SKIP(db, "fixedTextTestV2000.mdb");
  auto s = db->ReadSchema("users");
  ASSERT_TRUE(s.ok()) << s.status().ToString();
  ASSERT_EQ(s->fields.size(), 10u);
  for (const FieldInfo& f : s->fields) {
    EXPECT_TRUE(f.required) << f.name;  // mdb-prop: Required yes on every column
    EXPECT_FALSE(f.nullable()) << f.name;
  }
  EXPECT_EQ(s->fields[4].name, "c_user_name");
  EXPECT_EQ(s->fields[4].size, 200);
  EXPECT_EQ(s->keys.at(0).name, "Users2CID_0");
  OPEN_SAMPLE_OR_SKIP(numeric, "fixedNumericTestV2000.mdb");
  auto n = numeric->ReadSchema("test");
  ASSERT_TRUE(n.ok());
  EXPECT_EQ(n->fields[0].ado_type, 203);  // Memo
  EXPECT_TRUE(n->fields[0].allow_zero_length);
  EXPECT_EQ(n->fields[1].ado_type, 131);
  EXPECT_EQ(n->fields[1].precision, 18);
  EXPECT_EQ(n->fields[1].scale, 0);
}

TEST(SampleSchema, ForeignKeysOnlyOnTheReferencingTable) {
  for (const char* file : {"indexTestV1997.mdb", "indexTestV2000.mdb"}) {
    OPEN_SAMPLE_OR_SKIP(db, file);
    auto t1 = db->ReadSchema("Table1");
    ASSERT_TRUE(t1.ok());
    ASSERT_EQ(t1->keys.size(), 3u) << file;
    EXPECT_EQ(t1->keys[1].name, "Table2Table1");
    EXPECT_EQ(t1->keys[1].type, "foreign");
    EXPECT_EQ(t1->keys[1].columns, std::vector<std::string>{"otherfk1"});
    auto t2 = db->ReadSchema("Table2");
    ASSERT_TRUE(t2.ok());
    ASSERT_EQ(t2->keys.size(), 1u) << file;  // the referenced side lists only its PK
  }
}

TEST(SampleRows, EveryTypeOfTestTable) {
  for (const char* file : {"testV1997.mdb", "testV2000.mdb"}) {
    OPEN_SAMPLE_OR_SKIP(db, file);
    auto rows = ReadAll(*db, "Table1");
    ASSERT_EQ(rows.size(), 2u) << file;
    // Jet 3 stores the two rows in the other order.
    const size_t full = Str(rows[0][0]) == "abcdefg" ? 0 : 1;
    const Row& r = rows[full];
    EXPECT_EQ(Str(r[0]), "abcdefg");
    EXPECT_EQ(Str(r[1]), "hijklmnop");
    EXPECT_EQ(r[2], Value(int64_t(2)));
    EXPECT_EQ(r[3], Value(int64_t(222)));
    EXPECT_EQ(r[4], Value(int64_t(333333333)));
    EXPECT_EQ(r[5], Value(444.555));
    auto date = OleDateToParts(std::get<OleDate>(r[6]).days);
    EXPECT_EQ(FormatIsoDateTime(*date), "1974-09-21T00:00:00");
    EXPECT_EQ(r[7], Value(Currency{35000}));
    EXPECT_EQ(r[8], Value(true));
    EXPECT_EQ(Str(rows[1 - full][0]), "a");
    EXPECT_EQ(rows[1 - full][8], Value(false));
  }
}

TEST(SampleRows, DeletedColumnsAndRowsAreSkipped) {
  OPEN_SAMPLE_OR_SKIP(db, "delColTestV2000.mdb");
  auto rows = ReadAll(*db, "Table1");
  ASSERT_EQ(rows.size(), 2u);
  ASSERT_EQ(rows[0].size(), 4u);  // id, id2, data, data2 (one column was deleted)
  OPEN_SAMPLE_OR_SKIP(del, "delTestV1997.mdb");
  EXPECT_EQ(ReadAll(*del, "Table").size(), 2u);
}

TEST(SampleRows, OverflowRowsFollowedOnce) {
  // mdb-json and mdb-reader list the same 7 rows; they print moved rows where the moved
  // copy lies, we print them at their original slot (the row's bookmark), so compare sets.
  OPEN_SAMPLE_OR_SKIP(db, "overflowTestV2000.mdb");
  auto rows = ReadAll(*db, "Table1");
  ASSERT_EQ(rows.size(), 7u);
  std::multiset<std::string> firsts;
  for (const Row& r : rows) firsts.insert(IsNull(r[0]) ? "null" : Str(r[0]));
  EXPECT_EQ(firsts, (std::multiset<std::string>{"row1col1", "row2col1", "row4col1", "null",
                                                "row7col1", "null", "null"}));
  EXPECT_EQ(Str(rows[2][1]), "row3col3");  // page 27 row 2 points to page 28 row 0
  OPEN_SAMPLE_OR_SKIP(jet3, "overflowTestV1997.mdb");
  EXPECT_EQ(ReadAll(*jet3, "Table1").size(), 7u);
}

TEST(SampleRows, NumericMemoAndManyRows) {
  OPEN_SAMPLE_OR_SKIP(db, "fixedNumericTestV2000.mdb");
  auto rows = ReadAll(*db, "test");
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(Str(rows[0][0]), "some data");
  EXPECT_EQ(DecimalToPlain(std::get<Decimal>(rows[0][1])), "1");
  EXPECT_EQ(DecimalToPlain(std::get<Decimal>(rows[0][5])), "-1");
  OPEN_SAMPLE_OR_SKIP(comp, "compIndexTestV1997.mdb");
  EXPECT_EQ(ReadAll(*comp, "Table1").size(), 512u);  // spans several data pages
}

TEST(SampleIndexes, LeafLevelsHoldOneEntryPerRow) {
  for (const char* file : {"indexTestV1997.mdb", "indexTestV2000.mdb", "compIndexTestV1997.mdb",
                           "compIndexTestV2000.mdb"}) {
    OPEN_SAMPLE_OR_SKIP(db, file);
    for (const std::string& name : db->UserTableNames()) {
      auto def = db->ReadDefinition(*db->FindTable(name));
      ASSERT_TRUE(def.ok());
      const size_t rows = ReadAll(*db, name).size();
      for (const RealIndex& r : def->real_indexes) {
        auto n = CountIndexEntries(db->pager(), db->format(), def->page, r, name);
        ASSERT_TRUE(n.ok()) << file << " " << name << ": " << n.status().ToString();
        if (!(r.flags & idxflag::kIgnoreNulls)) {
          EXPECT_EQ(*n, rows) << file << " " << name;
        }
      }
    }
  }
}

TEST(SampleIndexes, EverySampleWalksWithIndexes) {
  PX_SAMPLE_OR_SKIP(dir, "mdb");
  for (const auto& entry : std::filesystem::directory_iterator(PathFromUtf8(dir))) {
    if (entry.path().extension() != ".mdb") continue;
    auto db = Database::Open(entry.path());
    ASSERT_TRUE(db.ok()) << db.status().ToString();
    WalkCounts counts;
    Status st = WalkDatabase(**db, counts);
    EXPECT_TRUE(st.ok()) << st.ToString();
  }
}

}  // namespace
}  // namespace px::jet
