// ADOX lists tables by type, then in the order of MSysObjects' name index: neither byte
// order nor a case-blind order. The names below put the three orders apart.
#include <gtest/gtest.h>

#include <algorithm>

#include "jet/catalog.h"
#include "jet/database.h"
#include "jet/writer.h"
#include "platform/files.h"
#include "platform/text_case.h"
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

TEST(CatalogOrder, NamesDifferInByteCaseBlindAndJetOrder) {
  std::vector<std::string> bytes = kNames;
  std::sort(bytes.begin(), bytes.end());
  std::vector<std::string> case_blind = kNames;
  std::sort(case_blind.begin(), case_blind.end(), [](const std::string& a, const std::string& b) {
    return UpperTurkish(a) < UpperTurkish(b);
  });
  EXPECT_NE(bytes, kJetOrder);
  EXPECT_NE(case_blind, kJetOrder);
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

}  // namespace
}  // namespace px::jet
