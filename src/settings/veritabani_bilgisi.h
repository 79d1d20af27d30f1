#pragma once
// clsVeritabaniBilgisi: where the suite lives and how its databases are reached. Loaded
// once when constructed (the configuration file, then the company record and the user's
// level) and read-only afterwards.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "core/result.h"
#include "db/connection.h"
#include "operator/operator.h"

namespace px::settings {

inline constexpr char kConfigIni[] = "C:\\pergonix\\config.ini";
inline constexpr char kPergoIni[] = "C:\\pergonix\\pergo.ini";

// What a connection to the company database is opened with: the connection string and,
// for an Access file (whose string is the bare path), the provider set on the connection.
struct BaglantiTanimi {
  std::string baglanti_metni;
  std::string provider;  // empty when the string names the provider itself
  bool operator==(const BaglantiTanimi&) const = default;
};

// Opens connections for the settings object, whichever backend the description names.
class BaglantiAcici {
 public:
  virtual ~BaglantiAcici() = default;
  virtual Result<std::unique_ptr<db::Connection>> Ac(const BaglantiTanimi& tanim) = 0;
};

// What the settings object needs from its surroundings.
struct VeritabaniBilgisiOrtami {
  op::Operator* op = nullptr;      // error boxes; required
  BaglantiAcici* acici = nullptr;  // none: the company database cannot be opened
  std::string config_ini = kConfigIni;
  std::string pergo_ini = kPergoIni;
  std::function<int()> bu_yil;  // the calendar year; the system clock when empty
};

class clsVeritabaniBilgisi {
 public:
  // Runs KonumBilgisi, then SirketBilgisiBul.
  explicit clsVeritabaniBilgisi(VeritabaniBilgisiOrtami ortam);

  const std::string& SqlServerKullaniciSifre() const { return SqlServerKullaniciSifre_; }
  const std::string& SqlServerKullanici() const { return SqlServerKullanici_; }
  const std::string& Provider() const { return Provider_; }
  const std::string& VergiDairesi() const { return VergiDairesi_; }
  const std::string& VergiNo() const { return VergiNo_; }
  const std::string& SirketAdi() const { return SirketAdi_; }
  const std::string& KullaniciAdi() const { return KullaniciAdi_; }
  const std::string& CalismaAlani() const { return CalismaAlani_; }
  const std::string& SQLServerAdi() const { return SQLServerAdi_; }
  const std::string& SirketNo() const { return SirketNo_; }
  const std::string& CalismaYili() const { return CalismaYili_; }
  // "SQLServer" or "Access" for those names in any letter case; other values unchanged.
  const std::string& VeriTabaniTuru() const;
  const std::string& SirketFaxNo() const { return SirketFaxNo_; }
  const std::string& SirketTelefonNo1() const { return SirketTelefonNo1_; }
  const std::string& SirketTelefonNo2() const { return SirketTelefonNo2_; }
  const std::string& SirketAdi2() const { return SirketAdi2_; }
  int32_t KullaniciDerecesi() const { return KullaniciDerecesi_; }

  // The nine keys of the configuration file, with their defaults.
  void KonumBilgisi();
  // The same settings from the legacy fixed-layout record of pergo.ini.
  void KonumBilgisiPergoINI();
  // The company record and the user's level; any failure leaves the defaults silently.
  void SirketBilgisiBul();
  // The user's level in Guvenlik: 2 without a row; 0 after an error box.
  int32_t KullaniciDerecesiBul(const std::string& kullanici_adi, const std::string& sirket_no,
                               db::Connection& baglanti);

  // The connection SirketBilgisiBul opens for the current settings.
  BaglantiTanimi SirketBaglantisi() const;

 private:
  VeritabaniBilgisiOrtami ortam_;

  // Members in their declaration order.
  std::string CalismaAlani_;
  std::string CalismaYili_;
  std::string SirketNo_;
  std::string SQLServerAdi_;
  std::string KullaniciAdi_;
  mutable std::string VeriTabaniTuru_;
  std::string SirketAdi_;
  std::string SirketFaxNo_;
  std::string SirketTelefonNo1_;
  std::string SirketTelefonNo2_;
  std::string SirketAdi2_;
  int32_t KullaniciDerecesi_ = 0;
  std::string VergiNo_;
  std::string VergiDairesi_;
  std::string Provider_;
  std::string SqlServerKullanici_;
  std::string SqlServerKullaniciSifre_;
};

}  // namespace px::settings
