// ADOX lists tables by type, then in the order of MSysObjects' name index: neither byte
// order nor a case-blind order. The names below put the three orders apart.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "jet/catalog.h"
#include "jet/database.h"
#include "jet/index_reader.h"
#include "jet/writer.h"
#include "platform/files.h"
#include "support/samples.h"
#include "support/temp_folder.h"

namespace px::jet {
namespace {

const std::vector<std::string> kNames = {"Z", "ç", "ab1", "İ", "Ab", "a_b"};
// General order: punctuation before letters, letter case ignored, accented letters with
// their base letter.
const std::vector<std::string> kJetOrder = {"a_b", "Ab", "ab1", "ç", "İ", "Z"};

std::vector<std::string> UserTables(const Database& db) {
  std::vector<std::string> names;
  for (const CatalogEntry& e : db.tables()) {
    if (e.adox_type == kAdoxTable) names.push_back(e.name);
  }
  return names;
}

TEST(CatalogOrder, ByTypeThenByTheNameIndex) {
  struct Object {
    std::string name;
    std::string_view type;
  };
  const Object objects[] = {{"Z", kAdoxTable},
                            {"Sorgu", kAdoxView},
                            {"ç", kAdoxTable},
                            {"MSysObjects", kAdoxSystemTable},
                            {"ab1", kAdoxTable},
                            {"MSysAccessObjects", kAdoxAccessTable},
                            {"İ", kAdoxTable},
                            {"Ab", kAdoxTable},
                            {"Bağlı", kAdoxLink},
                            {"a_b", kAdoxTable},
                            {"MSysACEs", kAdoxSystemTable}};
  std::vector<CatalogEntry> entries;
  for (const Object& o : objects) {
    entries.emplace_back();
    entries.back().name = o.name;
    entries.back().adox_type = o.type;
  }
  SortLikeAdox(entries, TextOrder::kGeneralLegacy);
  std::vector<std::string> got;
  for (const CatalogEntry& e : entries) got.push_back(e.name);
  EXPECT_EQ(got, (std::vector<std::string>{"MSysAccessObjects", "Bağlı", "MSysACEs", "MSysObjects",
                                           "a_b", "Ab", "ab1", "ç", "İ", "Z", "Sorgu"}));
  // Without a known order the stored order stands within each type.
  SortLikeAdox(entries, std::nullopt);
  got.clear();
  for (const CatalogEntry& e : entries) got.push_back(e.name);
  EXPECT_EQ(got[4], "a_b");
}

TEST(CatalogOrder, ADatabaseListsItsTablesInNameIndexOrder) {
  testing::TempFolder dir;
  const std::string path = dir.str() + "/sira.mdb";
  {
    auto w = Writer::Create(platform::SystemFiles(), path);
    ASSERT_TRUE(w.ok()) << w.status().ToString();
    for (const std::string& name : kNames) {
      Status st = (*w)->CreateTable(name);
      ASSERT_TRUE(st.ok()) << name << ": " << st.ToString();
    }
    EXPECT_EQ(UserTables((*w)->db()), kJetOrder);
  }
  auto db = Database::Open(path);
  ASSERT_TRUE(db.ok()) << db.status().ToString();
  EXPECT_EQ(UserTables(**db), kJetOrder);
  EXPECT_EQ((*db)->UserTableNames(), kJetOrder);
}

// Files Access and ADOX made carry the order in their own (ParentId, Name) index of
// MSysObjects: within each ADOX type our order must be the index's.
TEST(CatalogOrder, SamplesListTablesInTheOrderOfTheirOwnNameIndex) {
  int checked = 0;
  for (const char* file :
       {"adox_jet4.mdb", "empty2003.mdb", "indexTestV2000.mdb", "bigIndexTestV2000.mdb",
        "testV2000.mdb", "testV1997.mdb", "indexTestV1997.mdb", "overflowTestV1997.mdb"}) {
    const std::string path = testing::SamplePath(std::string("mdb/") + file);
    if (!std::filesystem::exists(path)) continue;
    auto db = Database::Open(path);
    ASSERT_TRUE(db.ok()) << db.status().ToString();
    const CatalogEntry* objects = (*db)->FindTable("MSysObjects");
    ASSERT_NE(objects, nullptr) << file;
    auto def = (*db)->ReadDefinition(*objects);
    ASSERT_TRUE(def.ok()) << def.status().ToString();
    const LogicalIndex* by_name = nullptr;
    for (const LogicalIndex& li : def->logical_indexes) {
      if (li.name == "ParentIdName") by_name = &li;
    }
    ASSERT_NE(by_name, nullptr) << file;
    auto cursor = IndexEntryCursor::Open((*db)->pager(), (*db)->format(), def->page,
                                         def->real_indexes[by_name->real_index], file);
    ASSERT_TRUE(cursor.ok()) << cursor.status().ToString();
    // Index order, then grouped by type as ADOX groups them.
    std::map<std::string, std::vector<std::string>> from_index, ours;
    IndexLeafEntry entry;
    for (;;) {
      auto more = cursor->Next(entry);
      ASSERT_TRUE(more.ok()) << more.status().ToString();
      if (!*more) break;
      for (const CatalogEntry& e : (*db)->tables()) {
        if (e.location == entry.row) from_index[e.adox_type].push_back(e.name);
      }
    }
    for (const CatalogEntry& e : (*db)->tables()) ours[e.adox_type].push_back(e.name);
    EXPECT_EQ(ours, from_index) << file;
    ++checked;
  }
  if (checked == 0) GTEST_SKIP() << "no sample databases under " PX_SHARED_DIR;
}

}  // namespace
}  // namespace px::jet
