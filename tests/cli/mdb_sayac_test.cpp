// mdb kopyala carries each table's AutoNumber counter: its step and the last number issued,
// so that the copy numbers new rows as the source would.
#include <gtest/gtest.h>

#include <string>

#include "jet/database.h"
#include "jet/writer.h"
#include "platform/files.h"
#include "platform/utf8_path.h"
#include "support/process.h"
#include "support/temp_folder.h"

namespace px {
namespace {

// The counter of table "Sayac": (step, last issued).
std::pair<int32_t, int32_t> Sayac(const std::string& path) {
  auto db = jet::Database::Open(PathFromUtf8(path));
  EXPECT_TRUE(db.ok()) << db.status().ToString();
  if (!db.ok()) return {};
  auto def = (*db)->ReadDefinition(*(*db)->FindTable("Sayac"));
  EXPECT_TRUE(def.ok()) << def.status().ToString();
  return def.ok() ? std::pair{def->autonumber_increment, int32_t(def->autonumber_last)}
                  : std::pair{0, 0};
}

// Appends a row with the AutoNumber left to the counter; the number it was given.
int64_t YeniSatir(jet::Writer& w) {
  const Value row[] = {Null{}, std::string("satır")};
  EXPECT_TRUE(w.InsertRow("Sayac", row).ok());
  auto reader = w.db().OpenTable("Sayac");
  EXPECT_TRUE(reader.ok());
  int64_t en_son = 0;
  Row r;
  while ((*reader)->Next(r)) en_son = std::get<int64_t>(r[0]);
  return en_son;
}

TEST(MdbKopyala, CarriesTheAutoNumberStepAndTheLastNumber) {
  struct Durum {
    int32_t adim, son;
  };
  for (const Durum d : {Durum{5, 100}, Durum{-3, -10}, Durum{1, 41}}) {
    SCOPED_TRACE("step " + std::to_string(d.adim) + ", last " + std::to_string(d.son));
    px::testing::TempFolder dir;
    const std::string kaynak = dir.str() + "/kaynak.mdb", hedef = dir.str() + "/hedef.mdb";
    {
      auto w = jet::Writer::Create(platform::SystemFiles(), kaynak);
      ASSERT_TRUE(w.ok()) << w.status().ToString();
      ASSERT_TRUE((*w)->CreateTable("Sayac").ok());
      ASSERT_TRUE(
          (*w)->AddColumn("Sayac", {.name = "No", .ado_type = 3, .autoincrement = true}).ok());
      ASSERT_TRUE(
          (*w)->AddColumn("Sayac", {.name = "Ad", .ado_type = 202, .defined_size = 20}).ok());
      ASSERT_TRUE((*w)->SetAutoNumber("Sayac", d.adim, uint32_t(d.son)).ok());
      EXPECT_EQ(YeniSatir(**w), d.son + d.adim);
      EXPECT_EQ(YeniSatir(**w), d.son + 2 * d.adim);
      // A row deleted leaves its number used: the counter does not go back.
      ASSERT_TRUE((*w)->Begin().ok());
      ASSERT_TRUE((*w)->DeleteAll("Sayac").ok());
      ASSERT_TRUE((*w)->Commit().ok());
      EXPECT_EQ(YeniSatir(**w), d.son + 3 * d.adim);
    }
    const auto r = px::testing::RunProgram({"mdb", "kopyala", kaynak, hedef});
    ASSERT_TRUE(r.ExitedWith(0)) << r.Describe();
    EXPECT_EQ(Sayac(hedef), Sayac(kaynak));
    auto w = jet::Writer::Open(platform::SystemFiles(), hedef);
    ASSERT_TRUE(w.ok()) << w.status().ToString();
    EXPECT_EQ(YeniSatir(**w), d.son + 4 * d.adim);
  }
}

}  // namespace
}  // namespace px
