#include "restorecheck/suite_helpers.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "backup/dosyalar.h"
#include "backup/yedekleme.h"
#include "db/access_database.h"
#include "db/jet_connection.h"
#include "modules/moduller.h"
#include "platform/file_system.h"
#include "platform/host_path.h"
#include "platform/temp_path.h"
#include "support/process.h"

namespace px::restorecheck {

using nlohmann::json;

namespace {

fs::path JetOracleJar() {
  return fs::path(PX_SHARED_DIR) / "tools" / "jet-oracle" / "jet-oracle.jar";
}

bool ModulVeritabani(const std::vector<std::string>& p, const std::string& sirket,
                     const std::string& yil) {
  if (p.size() < 3 || p[1] != "Data" || !p.back().ends_with(".mdb")) return false;
  if (p.size() == 3) return p[0] != "Genel";
  if (p.size() == 4) return p[2] == sirket;
  return p.size() == 5 && p[2] == sirket && p[3] == yil;
}

}  // namespace

std::vector<OracleCevabi> JetOracle(const std::vector<std::vector<std::string>>& komutlar) {
  std::string girdi;
  for (const auto& k : komutlar) {
    for (size_t i = 0; i < k.size(); ++i) girdi += (i ? "\t" : "") + k[i];
    girdi += "\n";
  }
  const std::string batch = std::string(PX_SOURCE_DIR) + "/tests/restorecheck/JetOracleBatch.java";
  auto r = px::testing::RunProcess({"java", "-cp", JetOracleJar().string(), batch},
                                   {.input = girdi, .timeout_seconds = 600});
  std::vector<OracleCevabi> out;
  EXPECT_TRUE(r.ExitedWith(0)) << r.Describe();
  size_t konum = 0;
  while (konum < r.out.size()) {
    const size_t son = r.out.find('\n', konum);
    int rc = -1;
    size_t n = 0;
    if (son == std::string::npos || std::sscanf(r.out.c_str() + konum, "@@ %d %zu", &rc, &n) != 2) {
      ADD_FAILURE() << "unexpected jet-oracle output at " << konum << ": " << r.out.substr(konum);
      break;
    }
    out.push_back({rc, r.out.substr(son + 1, n)});
    konum = son + 1 + n;
  }
  EXPECT_EQ(out.size(), komutlar.size()) << r.err;
  out.resize(komutlar.size());
  return out;
}

std::map<std::string, VeritabaniDokumu> Dok(const std::vector<fs::path>& dosyalar,
                                            std::map<std::string, std::string>* denetimler) {
  std::vector<std::vector<std::string>> semalar;
  for (const auto& d : dosyalar) semalar.push_back({"schema", d.string()});
  const auto sema_cevaplari = JetOracle(semalar);
  std::map<std::string, VeritabaniDokumu> dokum;
  std::vector<std::vector<std::string>> komutlar;
  std::vector<std::pair<std::string, std::string>> hedefler;
  for (size_t i = 0; i < dosyalar.size(); ++i) {
    const std::string dosya = dosyalar[i].string();
    EXPECT_EQ(sema_cevaplari[i].rc, 0) << dosya << ": " << sema_cevaplari[i].out;
    if (sema_cevaplari[i].rc != 0) continue;
    auto& vt = dokum[dosya];
    for (const auto& t : json::parse(sema_cevaplari[i].out)) {
      const std::string ad = t["name"];
      vt[ad].sema = t;
      komutlar.push_back({"rows", dosya, ad});
      hedefler.emplace_back(dosya, ad);
    }
    if (denetimler != nullptr) {
      komutlar.push_back({"check", dosya});
      hedefler.emplace_back(dosya, "");
    }
  }
  const auto cevaplar = JetOracle(komutlar);
  for (size_t i = 0; i < cevaplar.size(); ++i) {
    const auto& [dosya, tablo] = hedefler[i];
    if (tablo.empty()) {
      (*denetimler)[dosya] = cevaplar[i].rc == 0 ? "" : cevaplar[i].out;
      continue;
    }
    EXPECT_EQ(cevaplar[i].rc, 0) << dosya << " " << tablo << ": " << cevaplar[i].out;
    auto& satirlar = dokum[dosya][tablo].satirlar;
    for (const std::string& satir : px::testing::SplitLines(cevaplar[i].out)) {
      if (!satir.empty()) satirlar.push_back(json::parse(satir));
    }
    satirlar = Sirali(std::move(satirlar));
  }
  return dokum;
}

std::vector<json> Sirali(std::vector<json> satirlar) {
  std::sort(satirlar.begin(), satirlar.end(),
            [](const json& a, const json& b) { return a.dump() < b.dump(); });
  return satirlar;
}

std::vector<json> InsertIle(const TabloDokumu& t) {
  std::map<std::string, std::string> turler;
  for (const auto& c : t.sema["columns"]) turler[c["name"]] = c["type"];
  std::vector<json> out;
  for (json satir : t.satirlar) {
    for (auto& [ad, deger] : satir.items()) {
      if (deger.is_null() && turler[ad] == "TEXT") deger = "";
      if (deger.is_string()) {
        std::string s = deger;
        std::replace(s.begin(), s.end(), '\'', '"');
        deger = s;
      }
    }
    out.push_back(std::move(satir));
  }
  return Sirali(std::move(out));
}

bool InsertYolu(const json& sema) {
  int anahtar = 0;
  for (const auto& i : sema["indexes"]) {
    anahtar += i["primary"].get<bool>() || i["unique"].get<bool>() || i["foreign_key"].get<bool>();
  }
  bool otomatik = false;
  for (const auto& c : sema["columns"]) otomatik = otomatik || c["autonumber"] == true;
  return anahtar == 1 && otomatik;
}

std::vector<fs::path> Suit::Veritabanlari(const std::string& sirket, const std::string& yil) const {
  std::vector<fs::path> out;
  for (const auto& e : fs::recursive_directory_iterator(C())) {
    std::vector<std::string> parcalar;
    for (const auto& p : fs::relative(e.path(), C())) parcalar.push_back(p.string());
    if (e.is_regular_file() && ModulVeritabani(parcalar, sirket, yil)) out.push_back(e.path());
  }
  std::sort(out.begin(), out.end());
  return out;
}

std::vector<fs::path> Suit::ArtikGeciciler() const {
  std::vector<fs::path> out;
  for (const auto& e : fs::recursive_directory_iterator(root() / "C")) {
    if (e.path().filename().string().starts_with(".~")) out.push_back(e.path());
  }
  // The empty lock file that keeps two runs apart stays; staging files do not.
  for (const auto& e : fs::directory_iterator(Gecici())) {
    if (e.is_regular_file() && e.path().filename() != "pergonix-yedek.lock") {
      out.push_back(e.path());
    }
  }
  return out;
}

std::map<fs::path, std::string> Suit::Baytlar(const std::vector<fs::path>& dosyalar) {
  std::map<fs::path, std::string> out;
  for (const auto& d : dosyalar) out[d] = px::testing::ReadAll(d);
  return out;
}

void Suit::Yedekle(const std::string& paket, const std::string& sirket, const std::string& yil) {
  op::ScriptedOperator op({op::Answer::kYes, op::Answer::kYes, op::Answer::kYes});
  HostFileSystem fs;
  backup::YedekOrtami o;
  o.op = &op;
  o.fs = &fs;
  o.files = &backup::HostFiles();
  o.kok = "C:\\Pergonix";
  o.gecici_klasor = TempPath();
  o.ac = [](const std::string& yol) { return db::OpenAccessConnection(yol); };
  backup::Yedekleme yedekleme(std::move(o));
  backup::YedekGirdisi g;
  g.paket_adi = paket;
  g.sirket = sirket;
  g.yil = yil;
  g.hedef = "D:\\Yedek";
  EXPECT_TRUE(yedekleme.YedeklemeBaslat(g).tamamlandi) << Hatalar(op.boxes);
}

namespace {

// What a restore run works with: the suite on C:, the pool of real Access databases, an
// operator that says Yes to the run's two questions.
struct Calisma {
  explicit Calisma(platform::FileLayer& files)
      : dosyalar(files),
        havuz(db::NewAccessDatabasePool(files, kCommitKaydi)),
        op({op::Answer::kYes, op::Answer::kYes}),
        ortam{fs,
              dosyalar,
              *havuz,
              op,
              [](const std::string& yol) { return db::OpenAccessConnection(yol); },
              "C:\\Pergonix",
              "Access",
              TempPath(),
              "C:\\Pergonix\\GeriAlOncesi\\test",
              {},
              nullptr,
              {}} {}
  // The run's result and boxes, its databases closed.
  Suit::GeriAlma Bitir(restore::GeriAlSonucu sonuc) {
    havuz->CloseAll();
    return {std::move(sonuc), op.boxes};
  }
  HostFileSystem fs;
  restore::HostDosyalar dosyalar;
  std::unique_ptr<db::DatabasePool> havuz;
  op::ScriptedOperator op;
  restore::Ortam ortam;
};

}  // namespace

Suit::GeriAlma Suit::GeriAl(const std::string& paket, const std::string& paket_sirket,
                            const std::string& paket_yil, const std::string& sirket,
                            const std::string& yil, platform::FileLayer& files,
                            std::vector<std::string> moduller) {
  Calisma c(files);
  restore::GeriAlGirdileri g;
  g.paket = paket;
  g.sirket = sirket;
  g.yil = yil;
  g.kaynak = "D:\\Yedek";
  g.paket_sirket = paket_sirket;
  g.paket_yil = paket_yil;
  g.onaysiz = true;
  if (moduller.empty()) {
    for (const auto& m : modules::Moduller()) {
      if (restore::ModulPaketteVarmi(c.fs, "D:\\Yedek\\" + paket, std::string(m.klasor),
                                     paket_sirket, paket_yil)) {
        moduller.emplace_back(m.ad);
      }
    }
  }
  for (const auto& m : moduller) g.moduller.push_back({m, true});
  return c.Bitir(restore::GeriAlBaslat(c.ortam, g));
}

std::string Hatalar(const std::vector<op::Box>& kutular) {
  std::string out;
  for (const auto& k : kutular) {
    if (k.title == "Hata" || k.title == "HATA") out += k.text + "\n";
  }
  return out;
}

}  // namespace px::restorecheck
