// A package changed after the backup wrote its manifest ("PergonixYedek.json"): a table
// file replaced by another valid one is restored and listed as a warning at the end; a
// manifest that does not parse stops the run before anything changes.
#include <gtest/gtest.h>

#include <fstream>

#include "restorecheck/suite_helpers.h"
#include "support/process.h"
#include "support/samples.h"
#include "xbf/pbf.h"

namespace px::restorecheck {
namespace {

TEST(PaketManifesti, RewrittenPackagesGiveWarningsOrErrors) {
  PX_SAMPLE_OR_SKIP(ornek, "suite/Pergonix");
  Suit s;
  s.Yedekle("P", "001", "2009");
  s.Yedekle("P", "002", "2009");
  const fs::path paket = s.D("Yedek/P");
  const fs::path klasor = paket / "Cari/Data/002/2009";
  const std::string kart = "D:\\Yedek\\P\\Cari\\Data\\002\\2009\\cari-CariKart.pbf";
  const std::string manifest = px::testing::ReadAll(paket / "PergonixYedek.json");
  const auto saglam = Suit::Baytlar({klasor / "cari-CariKart.pbf"});
  struct Durum {
    const char* ad;
    std::function<void()> degistir;
    std::vector<std::string> uyarilar;  // each the start of one warning
    const char* hata;                   // in the "Hata" box; null: the run reaches its end
  };
  const Durum durumlar[] = {
      {"as the backup wrote it", [] {}, {}, nullptr},
      {"a table file replaced by company 001's",
       [&] {
         fs::copy_file(paket / "Cari/Data/001/2009/cari-CariKart.pbf", klasor / "cari-CariKart.pbf",
                       fs::copy_options::overwrite_existing);
       },
       {kart + ": "},
       nullptr},
      {"a table file the manifest does not list",
       [&] {
         ASSERT_TRUE(xbf::Ac((klasor / "cari-CariKart.pbf").string(),
                             (klasor / "cari-CariKart.xbf").string())
                         .ok());
       },
       {"D:\\Yedek\\P\\Cari\\Data\\002\\2009\\cari-CariKart.xbf: not in the package's manifest"},
       nullptr},
      {"a manifest that does not parse",
       [&] {
         std::ofstream(paket / "PergonixYedek.json") << manifest.substr(0, manifest.size() / 2);
       },
       {},
       "PergonixYedek.json"},
  };
  const fs::path cari = s.C("Cari/Data/001/2009/cari.mdb");
  const std::string once = px::testing::ReadAll(cari);
  for (const auto& d : durumlar) {
    SCOPED_TRACE(d.ad);
    std::ofstream(paket / "PergonixYedek.json", std::ios::binary) << manifest;
    for (const auto& [p, b] : saglam) std::ofstream(p, std::ios::binary) << b;
    fs::remove(klasor / "cari-CariKart.xbf");
    std::ofstream(cari, std::ios::binary) << once;
    d.degistir();
    const auto r = s.GeriAl("P", "002", "2009", "001", "2009", platform::SystemFiles(), {"Cari"});
    ASSERT_EQ(r.sonuc.uyarilar.size(), d.uyarilar.size())
        << ::testing::PrintToString(r.sonuc.uyarilar);
    for (size_t i = 0; i < d.uyarilar.size(); ++i) {
      EXPECT_TRUE(r.sonuc.uyarilar[i].starts_with(d.uyarilar[i])) << r.sonuc.uyarilar[i];
    }
    if (d.hata == nullptr) {
      EXPECT_TRUE(r.sonuc.sona_ulasti) << Hatalar(r.kutular);
      EXPECT_NE(px::testing::ReadAll(cari), once);
    } else {
      EXPECT_TRUE(r.sonuc.hata);
      EXPECT_NE(Hatalar(r.kutular).find(d.hata), std::string::npos) << Hatalar(r.kutular);
      EXPECT_TRUE(px::testing::ReadAll(cari) == once);
    }
  }

  // The program lists the warnings after its module table and still exits 0.
  std::ofstream(paket / "PergonixYedek.json", std::ios::binary) << manifest;
  durumlar[1].degistir();
  auto r = px::testing::RunProgram(px::testing::Words(
      "--evet geri-al --kaynak D:\\Yedek --paket P --sirket 001 --yil 2009 --paketteki-sirket 002 "
      "--modul Cari --onaysiz"));
  EXPECT_TRUE(r.ExitedWith(0)) << r.Describe();
  EXPECT_NE(r.out.find("Cari: Tamam\nwarning: " + kart + ": "), std::string::npos) << r.out;
}

}  // namespace
}  // namespace px::restorecheck
