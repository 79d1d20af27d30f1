#pragma once
// A schema catalog in memory, as DonemAc.mdb holds it: databases of modules, their tables,
// and the tables' columns with every cell as text.

#include <string>
#include <vector>

#include "db/memory_connection.h"

namespace px::restore::testing {

struct KatalogKurucu {
  db::MemoryTable veritabanlari{
      {db::TextField("VeritabaniModulAdi"), db::TextField("VeritabaniAccessAdi"),
       db::TextField("VeritabaniSqlServerAdi"), db::TextField("VeritabaniKonum"),
       db::TextField("VeritabaniTanimi"), db::TextField("VeritabaniBaglantiTuru")},
      {}};
  db::MemoryTable tablolar{{db::TextField("TabloAdi"), db::TextField("VeritabaniTanimi")}, {}};
  db::MemoryTable sahalar{
      {db::TextField("TabloAdi"), db::TextField("VeritabaniTanim"), db::TextField("SahaAdi"),
       db::TextField("SahaBoyu"), db::TextField("SahaOtomatikSayi"), db::TextField("SahaVeriTuru"),
       db::TextField("SahaPrimaryKey"), db::TextField("SahaPozisyonu")},
      {}};

  void Veritabani(const std::string& modul, const std::string& access, const std::string& sql,
                  const std::string& konum, const std::string& tanim) {
    veritabanlari.rows.push_back({modul, access, sql, konum, tanim, std::string("Access")});
  }
  void Tablo(const std::string& tanim, const std::string& tablo) {
    tablolar.rows.push_back({tablo, tanim});
  }
  // Value order: name, type, length, key flag, auto-number flag, position.
  void Saha(const std::string& tanim, const std::string& tablo, const std::string& ad,
            const std::string& tur, const std::string& boy, const std::string& birincil,
            const std::string& otomatik, const std::string& pozisyon) {
    sahalar.rows.push_back({tablo, tanim, ad, boy, otomatik, tur, birincil, pozisyon});
  }
  std::unique_ptr<db::MemoryConnection> Baglanti() const {
    auto c = std::make_unique<db::MemoryConnection>();
    c->Add("tablo_veritabani_bilgileri", veritabanlari);
    c->Add("tablo_veritabani_tablo_bilgileri", tablolar);
    c->Add("tablo_veritabani_saha_bilgileri", sahalar);
    return c;
  }
};

}  // namespace px::restore::testing
