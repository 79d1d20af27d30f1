// Reads the Access-written sample files in ../shared/samples/mdb. Expected values were
// checked against mdb-json, mdb-schema and mdb-prop (mdbtools 1.0) and mdb-reader 3.2. The
// rows of every sample are compared with both readers in jetcheck/compare_test.cpp, their
// indexes and definitions in sample_sweep_test.cpp.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "core/value_text.h"
#include "jet/database.h"
#include "platform/utf8_path.h"
#include "support/samples.h"
#include "table_rows.h"

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

using testing::TableRows;

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
    auto rows = TableRows(*db, "Table1");
    ASSERT_EQ(rows.size(), 2u) << file;
    // Jet 3 stores the two rows in the other order.
    const size_t full = Str(rows[0][0]) == "abcdefg" ? 0 : 1;
    // 1974-09-21 is OLE day 27293.
    EXPECT_EQ(rows[full],
              (Row{std::string("abcdefg"), std::string("hijklmnop"), int64_t(2), int64_t(222),
                   int64_t(333333333), 444.555, OleDate{27293.0}, Currency{35000}, true}));
    EXPECT_EQ(Str(rows[1 - full][0]), "a");
    EXPECT_EQ(rows[1 - full][8], Value(false));
  }
}

}  // namespace
}  // namespace px::jet
