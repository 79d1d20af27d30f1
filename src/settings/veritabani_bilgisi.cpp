#include "settings/veritabani_bilgisi.h"
#include "platform/clock.h"

#include <ctime>

#include "platform/codepage.h"
#include "platform/files.h"
#include "platform/host_path.h"
#include "platform/profile.h"
#include "platform/text_case.h"
#include "platform/utf8_path.h"
#include "settings/hata_mesaji.h"
#include "settings/ini.h"
#include "settings/sirket_kaydi.h"

namespace px::settings {
namespace {

constexpr size_t kPergoKayitUzunlugu = 120;

int SistemYili() {
  std::time_t now = std::time(nullptr);
  const std::tm parts = platform::LocalParts(now);
  return parts.tm_year + 1900;
}

std::string DortHane(int yil) {
  std::string s = std::to_string(yil);
  return s.size() < 4 ? std::string(4 - s.size(), '0') + s : s;
}

// Mid$(record, start, length) over the record's ANSI bytes, decoded.
std::string Mid(std::string_view kayit, size_t baslangic, size_t uzunluk, int code_page) {
  if (baslangic == 0 || baslangic > kayit.size()) return "";
  auto text = DecodeCodePage(code_page, kayit.substr(baslangic - 1, uzunluk));
  return text.ok() ? *text : std::string();
}

std::string TrimSpaces(const std::string& s) {
  size_t b = s.find_first_not_of(' ');
  if (b == std::string::npos) return "";
  return s.substr(b, s.find_last_not_of(' ') - b + 1);
}

}  // namespace

clsVeritabaniBilgisi::clsVeritabaniBilgisi(VeritabaniBilgisiOrtami ortam)
    : ortam_(std::move(ortam)) {
  KonumBilgisi();
  SirketBilgisiBul();
}

const std::string& clsVeritabaniBilgisi::VeriTabaniTuru() const {
  const std::string buyuk = FoldCase(VeriTabaniTuru_);
  if (buyuk == "SQLSERVER") {
    VeriTabaniTuru_ = "SQLServer";
  } else if (buyuk == "ACCESS") {
    VeriTabaniTuru_ = "Access";
  }
  return VeriTabaniTuru_;
}

void clsVeritabaniBilgisi::KonumBilgisi() {
  const std::string& ini = ortam_.config_ini;
  const int yil = ortam_.bu_yil ? ortam_.bu_yil() : SistemYili();
  CalismaAlani_ = IniOku("Pergo", "CalismaAlani", "C:\\Pergonix", ini);
  CalismaYili_ = IniOku("Pergo", "Yil", DortHane(yil), ini);
  SirketNo_ = IniOku("Pergo", "Sirket", "001", ini);
  KullaniciAdi_ = IniOku("Pergo", "KullaniciAdi", "PERGO", ini);
  VeriTabaniTuru_ = IniOku("Veritabani", "VeritabaniTuru", "Access", ini);
  Provider_ = IniOku("Veritabani", "Provider", "Microsoft.Jet.OLEDB.4.0", ini);
  SQLServerAdi_ = IniOku("Veritabani", "SqlServerAdi", "", ini);
  SqlServerKullanici_ = IniOku("Veritabani", "SqlServerKullanici", "pergo", ini);
  SqlServerKullaniciSifre_ = IniOku("Veritabani", "SqlServerSifre", "51736420", ini);
}

void clsVeritabaniBilgisi::KonumBilgisiPergoINI() {
  auto hata = [&](const Status& s) {
    Hata h = HataOlarak(s);
    h.no = 75;  // path/file access error
    HataMesajiGoster(*ortam_.op, h, "KonumBilgisi");
  };
  auto code_page = AnsiCodePage();
  if (!code_page.ok()) return hata(code_page.status());
  auto host = ToHostPath(ortam_.pergo_ini);
  if (!host.ok()) return hata(host.status());
  // The record is the first 120 bytes; a shorter or missing file leaves NULs.
  std::string kayit(kPergoKayitUzunlugu, '\0');
  auto icerik =
      platform::ReadFileWhole(platform::SystemFiles(), Utf8FromPath(*host), size_t{64} << 20);
  if (icerik.ok()) {
    icerik->copy(kayit.data(), std::min(icerik->size(), kayit.size()));
  } else if (!icerik.status().IsNotFound()) {
    return hata(icerik.status().WithContext(ortam_.pergo_ini));
  }
  const size_t bosluk = kayit.find(' ');
  if (bosluk != std::string::npos) {
    const size_t p = bosluk + 1;  // 1-based position of the blank
    const int cp = *code_page;
    CalismaAlani_ = Mid(kayit, 1, p - 1, cp);
    CalismaYili_ = Mid(kayit, p + 1, 4, cp);
    SirketNo_ = Mid(kayit, p + 6, 3, cp);
    VeriTabaniTuru_ = Mid(kayit, p + 42, 1, cp);
    SQLServerAdi_ = Mid(kayit, p + 43, 20, cp);
    KullaniciAdi_ = Mid(kayit, p + 11, 30, cp);
  }
  SQLServerAdi_ = TrimSpaces(SQLServerAdi_);
  KullaniciAdi_ = TrimSpaces(KullaniciAdi_);
  Provider_ = VeriTabaniTuru_ == "S" ? "SQLOLEDB" : "Microsoft.Jet.OLEDB.4.0";
  SqlServerKullanici_ = "sa";
  SqlServerKullaniciSifre_.clear();
}

BaglantiTanimi clsVeritabaniBilgisi::SirketBaglantisi() const {
  if (FoldCase(VeriTabaniTuru()) == "SQLSERVER") {
    return {"provider=" + Provider_ + ";server=" + SQLServerAdi_ + ";uid=" + SqlServerKullanici_ +
                ";password=" + SqlServerKullaniciSifre_ + ";database=" + "sirket" + " ",
            ""};
  }
  return {CalismaAlani_ + "\\genel\\data\\sirket.mdb", Provider_};
}

void clsVeritabaniBilgisi::SirketBilgisiBul() {
  SirketAdi_ = kBilinmeyenSirketAdi;
  SirketFaxNo_.clear();
  SirketTelefonNo1_.clear();
  SirketTelefonNo2_.clear();
  SirketAdi2_.clear();
  if (ortam_.acici == nullptr) return;
  auto baglanti = ortam_.acici->Ac(SirketBaglantisi());
  if (!baglanti.ok()) return;
  auto kayit = SirketKaydiOku(**baglanti, SirketNo_);
  if (!kayit.ok()) return;
  SirketAdi_ = kayit->sirket_adi;
  SirketFaxNo_ = kayit->sirket_fax_no;
  SirketTelefonNo1_ = kayit->sirket_telefon_no1;
  SirketTelefonNo2_ = kayit->sirket_telefon_no2;
  SirketAdi2_ = kayit->sirket_adi2;
  VergiNo_ = kayit->vergi_no;
  VergiDairesi_ = kayit->vergi_dairesi;
  KullaniciDerecesi_ = KullaniciDerecesiBul(KullaniciAdi_, SirketNo_, **baglanti);
}

int32_t clsVeritabaniBilgisi::KullaniciDerecesiBul(const std::string& kullanici_adi,
                                                   const std::string& sirket_no,
                                                   db::Connection& baglanti) {
  auto derece = KullaniciDerecesiOku(baglanti, kullanici_adi, sirket_no);
  if (derece.ok()) return *derece;
  if (ortam_.op != nullptr) {
    HataMesajiGoster(*ortam_.op, HataOlarak(derece.status()), "KullaniciDerecesiBul");
  }
  return 0;
}

}  // namespace px::settings
