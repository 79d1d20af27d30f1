// Faults during a restore on real databases: a damaged package file in the middle of a
// module and a key the database refuses leave every database of the module as it was. A
// failing disk at every change and a killed program are shared_commit_test.cpp's, on a
// module of two databases.
#include <gtest/gtest.h>

#include <fstream>

#include "db/connection.h"
#include "restorecheck/suite_helpers.h"
#include "support/samples.h"
#include "xbf/pbf.h"
#include "xbf/xbf_reader.h"
#include "xbf/xbf_writer.h"

namespace px::restorecheck {
namespace {

const std::string kPaketKlasoru = "Yedek/P/";

// Company 002's package restored over company 001, whose databases hold other rows.
class Hatalar001 : public ::testing::Test {
 protected:
  void SetUp() override {
    PX_SAMPLE_OR_SKIP(suite, "suite/Pergonix");
    s_.emplace();
    s_->Yedekle("P", "002", "2009");
  }
  fs::path Paket(const std::string& goreli) const { return s_->D(kPaketKlasoru + goreli); }

  std::optional<Suit> s_;
};

// A table file of the package with one more row, a copy of its first: a key the table
// refuses. Written as ".xbf" in place of the ".pbf".
void IkinciKopyaSatir(const fs::path& pbf) {
  fs::path xbf = pbf;
  xbf.replace_extension(".xbf");
  ASSERT_TRUE(xbf::Ac(pbf.string(), xbf.string() + ".acik").ok());
  auto okuyucu = xbf::XbfReader::OpenFile(xbf.string() + ".acik");
  ASSERT_TRUE(okuyucu.ok());
  std::vector<Row> satirlar;
  for (Row r; (*okuyucu)->Next(r);) satirlar.push_back(r);
  ASSERT_FALSE(satirlar.empty());
  satirlar.push_back(satirlar.front());
  db::VectorRowSource kaynak((*okuyucu)->fields(), std::move(satirlar));
  okuyucu->reset();
  ASSERT_TRUE(xbf::WriteRecordsetFile(kaynak, xbf.string()).ok());
  fs::remove(xbf.string() + ".acik");
  fs::remove(pbf);
}

TEST_F(Hatalar001, ADamagedFileOrARefusedKeyLeavesTheModuleByteIdentical) {
  struct Durum {
    const char* ad;
    std::function<void(const fs::path& klasor)> boz;
    const char* hata;  // in the "Hata" box
  };
  const Durum durumlar[] = {
      {"a truncated .pbf between two good ones",
       [](const fs::path& k) {
         const auto p = k / "cari-CariKart.pbf";
         fs::resize_file(p, fs::file_size(p) / 2);
       },
       "cari-CariKart"},
      {"a .pbf that is not compressed",
       [](const fs::path& k) { std::ofstream(k / "cari-CariKart.pbf") << "<xml/>"; },
       "cari-CariKart"},
      {"a repeated key restored by INSERT",
       [](const fs::path& k) { IkinciKopyaSatir(k / "cari-CariKart.pbf"); }, "CariKart"},
      {"a repeated key restored by adding rows",
       [](const fs::path& k) { IkinciKopyaSatir(k / "cari-CariNot.pbf"); }, "CariNot"},
  };
  const fs::path klasor = Paket("Cari/Data/002/2009");
  const auto saglam = Suit::Baytlar(
      {klasor / "cari-CariHareket.pbf", klasor / "cari-CariKart.pbf", klasor / "cari-CariNot.pbf"});
  const fs::path cari = s_->C("Cari/Data/001/2009/cari.mdb");
  const std::string once = px::testing::ReadAll(cari);
  for (const auto& d : durumlar) {
    SCOPED_TRACE(d.ad);
    for (const auto& e : fs::directory_iterator(klasor)) fs::remove(e.path());
    for (const auto& [p, b] : saglam) std::ofstream(p, std::ios::binary) << b;
    d.boz(klasor);
    const auto r = s_->GeriAl("P", "002", "2009", "001", "2009", platform::SystemFiles(), {"Cari"});
    EXPECT_TRUE(r.sonuc.hata);
    EXPECT_NE(Hatalar(r.kutular).find(d.hata), std::string::npos) << Hatalar(r.kutular);
    EXPECT_TRUE(px::testing::ReadAll(cari) == once);
    EXPECT_EQ(s_->ArtikGeciciler(), std::vector<fs::path>{});
  }
}

}  // namespace
}  // namespace px::restorecheck
