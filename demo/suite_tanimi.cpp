#include "suite_tanimi.h"

namespace px::demo {
namespace {

constexpr std::string_view kSehirler[] = {"İstanbul",  "Ankara",  "İzmir", "Bursa",    "Konya",
                                          "Eskişehir", "Kayseri", "Muğla", "Çorum",    "Şanlıurfa",
                                          "Ağrı",      "Düzce",   "Iğdır", "Gümüşhane"};
constexpr std::string_view kBankalar[] = {"Ziraat Bankası", "İş Bankası", "Garanti Bankası",
                                          "Akbank",         "Yapı Kredi", "Halkbank",
                                          "Vakıfbank",      "Şekerbank"};
constexpr std::string_view kSubeler[] = {"Merkez",  "Kızılay", "Alsancak", "Karşıyaka",
                                         "Çankaya", "Üsküdar", "Beşiktaş", "Ulus"};
constexpr std::string_view kBirimler[] = {"Adet", "Kg", "Metre", "Koli", "Litre", "Düzine"};
constexpr std::string_view kKdvOranlari[] = {"1", "8", "18"};
constexpr std::string_view kIskontolar[] = {"0", "2.5", "5", "7.5", "10"};
constexpr std::string_view kSeriler[] = {"A", "B", "Ç", "Ğ"};
constexpr std::string_view kCekIslemleri[] = {"Portföye Giriş", "Ciro", "Tahsil", "Karşılıksız",
                                              "İade"};
constexpr std::string_view kDemirbaslar[] = {
    "Dizüstü Bilgisayar", "Yazıcı",   "Çalışma Masası",   "Döner Sandalye", "Klima",
    "Fotokopi Makinesi",  "Forklift", "Hafif Ticari Araç"};
constexpr std::string_view kYerler[] = {"Genel Müdürlük", "Muhasebe Servisi", "Depo",
                                        "Satış Mağazası", "Üretim Atölyesi"};
constexpr std::string_view kCihazlar[] = {
    "Çamaşır Makinesi", "Buzdolabı", "Bulaşık Makinesi", "Fırın", "Televizyon", "Süpürge"};
constexpr std::string_view kKullanicilar[] = {"YÖNETİCİ", "MUHASEBE", "SATIŞ", "DEPO"};
constexpr std::string_view kIslemler[] = {"Giriş yaptı", "Fatura kesti", "Rapor aldı",
                                          "Cari kart düzeltti", "Çıkış yaptı"};
constexpr std::string_view kBeyannameler[] = {"KDV 1", "Muhtasar", "Geçici Vergi",
                                              "Kurumlar Vergisi", "Ba-Bs Formu"};
constexpr std::string_view kSirketNolari[] = {"001", "002", "003"};
constexpr std::string_view kParametreAdlari[] = {
    "Para Birimi", "Ondalık Hane",  "Fatura Seri No", "Yazıcı",     "Kur Kaynağı", "Stok Yöntemi",
    "KDV Dahil",   "Yedek Klasörü", "Dönem Başı",     "Dönem Sonu", "Şube Kodu",   "Rapor Başlığı"};
constexpr std::string_view kParametreDegerleri[] = {"TL",    "2",     "A",      "HP LaserJet",
                                                    "TCMB",  "FIFO",  "Hayır",  "D:\\Yedek",
                                                    "01.01", "31.12", "İST-01", "Pergonix Rapor"};
constexpr std::string_view kHesapKodlari[] = {"100", "102", "120", "153", "191", "255", "320",
                                              "335", "360", "391", "500", "600", "621", "770"};
constexpr std::string_view kHesapAdlari[] = {"Kasa",
                                             "Bankalar",
                                             "Alıcılar",
                                             "Ticari Mallar",
                                             "İndirilecek KDV",
                                             "Demirbaşlar",
                                             "Satıcılar",
                                             "Personele Borçlar",
                                             "Ödenecek Vergi ve Fonlar",
                                             "Hesaplanan KDV",
                                             "Sermaye",
                                             "Yurt İçi Satışlar",
                                             "Satılan Ticari Mallar Maliyeti",
                                             "Genel Yönetim Giderleri"};
constexpr std::string_view kPersonelOnekleri[] = {"AU", "SG", "GV", "DV", "IS"};
constexpr std::string_view kPersonelParametreleri[] = {
    "Asgari Ücret", "SGK Tavanı", "Gelir Vergisi Dilimi", "Damga Vergisi", "İşsizlik Sigortası"};
constexpr std::string_view kIsyeriAdlari[] = {"Merkez İşyeri", "Gebze Şubesi", "Çiğli Deposu"};

Saha Kimlik(std::string_view ad) {
  return {.ad = ad, .tur = "Long", .birincil = true, .otomatik = true};
}
Saha Kod(std::string_view ad, int boy, std::string_view onek, bool birincil = false) {
  return {.ad = ad,
          .tur = "String",
          .boy = boy,
          .birincil = birincil,
          .uret = Uret::kKod,
          .onek = onek};
}
Saha Bagli(std::string_view ad, int boy, std::string_view onek, long long ust) {
  return {.ad = ad,
          .tur = "String",
          .boy = boy,
          .uret = Uret::kBagliKod,
          .onek = onek,
          .alt = 1,
          .ust = ust};
}
Saha Metin(std::string_view ad, int boy, Uret uret, int bos = 0) {
  return {.ad = ad, .tur = "String", .boy = boy, .uret = uret, .bos_yuzde = bos};
}
Saha Secim(std::string_view ad, int boy, std::span<const std::string_view> liste, int bos = 0) {
  return {.ad = ad,
          .tur = "String",
          .boy = boy,
          .uret = Uret::kSecim,
          .liste = liste,
          .bos_yuzde = bos};
}
Saha Liste(std::string_view ad, int boy, std::span<const std::string_view> liste,
           bool birincil = false) {
  return {.ad = ad,
          .tur = "String",
          .boy = boy,
          .birincil = birincil,
          .uret = Uret::kListe,
          .liste = liste};
}
Saha Sayi(std::string_view ad, std::string_view tur, long long alt, long long ust, int bos = 0) {
  return {.ad = ad, .tur = tur, .uret = Uret::kSayi, .alt = alt, .ust = ust, .bos_yuzde = bos};
}
Saha SayiSecim(std::string_view ad, std::string_view tur, std::span<const std::string_view> liste) {
  return {.ad = ad, .tur = tur, .uret = Uret::kSecim, .liste = liste};
}
Saha Para(std::string_view ad, long long alt, long long ust, int bos = 0) {
  return {
      .ad = ad, .tur = "Currency", .uret = Uret::kTutar, .alt = alt, .ust = ust, .bos_yuzde = bos};
}
Saha Ondalik(std::string_view ad, long long alt, long long ust) {
  return {.ad = ad, .tur = "Double", .uret = Uret::kOndalik, .alt = alt, .ust = ust};
}
// Without a range: a day of the row's year.
Saha Tarih(std::string_view ad, int bos = 0, long long alt = 0, long long ust = 0) {
  return {.ad = ad, .tur = "Date", .uret = Uret::kTarih, .alt = alt, .ust = ust, .bos_yuzde = bos};
}
Saha Mantik(std::string_view ad, int evet_yuzde) {
  return {.ad = ad, .tur = "Boolean", .uret = Uret::kMantik, .alt = evet_yuzde};
}
Saha Not(std::string_view ad, int bos) {
  return {.ad = ad, .tur = "Memo", .uret = Uret::kNot, .bos_yuzde = bos};
}
Saha SirketNo(std::string_view ad) {
  return {.ad = ad, .tur = "String", .boy = 3, .uret = Uret::kSirket};
}

std::vector<Veritabani> Tanimlar() {
  return {
      {"Cari",
       "cari.mdb",
       "CARI",
       "DataSirketYil",
       "Cari Hesap Veritabanı",
       {{"CariKart",
         250,
         {Kimlik("Id"), Kod("CariKod", 20, "C"), Metin("Unvan", 100, Uret::kUnvan),
          Metin("YetkiliKisi", 50, Uret::kAdSoyad, 10), Secim("Sehir", 30, kSehirler),
          Metin("Telefon", 20, Uret::kTelefon, 5), Metin("VergiNo", 10, Uret::kVergiNo),
          Para("Bakiye", -50000, 250000), Mantik("Aktif", 90),
          SayiSecim("Iskonto", "Single", kIskontolar), Not("Notlar", 40), Tarih("KayitTarihi")},
         {"CariKod"}},
        {"CariHareket",
         3000,
         {Kimlik("HareketNo"), Bagli("CariKod", 20, "C", 250), Tarih("Tarih"),
          Kod("EvrakNo", 16, "EV"), Metin("Aciklama", 200, Uret::kAciklama, 15),
          Para("Tutar", 10, 75000), Ondalik("Kur", 13000, 22000), Sayi("Tip", "Byte", 1, 4),
          Mantik("Borc", 50)},
         {"CariKod"}},
        {"CariMutabakat",
         0,
         {Kimlik("MutabakatNo"), Bagli("CariKod", 20, "C", 250), Tarih("Tarih"),
          Para("Tutar", 0, 0), Mantik("Onaylandi", 0)}}}},
      {"Cek",
       "cek.mdb",
       "CEK",
       "DataSirketYil",
       "Çek Veritabanı",
       {{"CekKart",
         600,
         {Kod("CekNo", 15, "CK", true), Secim("Banka", 50, kBankalar), Secim("Sube", 50, kSubeler),
          Metin("Borclu", 100, Uret::kUnvan), Para("Tutar", 100, 60000), Tarih("VadeTarihi"),
          Sayi("Durum", "Integer", 0, 4)}},
        {"CekHareket",
         1200,
         {Kimlik("HareketId"), Bagli("CekNo", 15, "CK", 600), Tarih("Tarih"),
          Secim("Islem", 30, kCekIslemleri), Kod("Key", 10, "K"),
          Metin("Aciklama", 200, Uret::kAciklama, 30)}}}},
      {"Demirbas",
       "demirbas.mdb",
       "DEMIRBAS",
       "DataSirket",
       "Demirbaş Veritabanı",
       {{"DemirbasKart",
         120,
         {Kimlik("Id"), Kod("DemirbasKodu", 20, "DM"), Secim("Adi", 60, kDemirbaslar),
          Secim("Yeri", 40, kYerler), Tarih("AlisTarihi", 0, 2003, 2010),
          Para("AlisBedeli", 150, 95000), Ondalik("AmortismanOrani", 1000, 2500),
          Sayi("Adet", "Integer", 1, 25), Mantik("Aktif", 85), Not("Aciklama", 60)}}}},
      {"Fatura",
       "fatura.mdb",
       "FATURA",
       "DataSirketYil",
       "Fatura Veritabanı",
       {{"FaturaBaslik",
         800,
         {Kimlik("FaturaNo"), Secim("SeriNo", 3, kSeriler), Bagli("CariKod", 20, "C", 250),
          Tarih("Tarih"), Para("Toplam", 20, 120000), SayiSecim("KdvOrani", "Single", kKdvOranlari),
          Mantik("Iptal", 3), Metin("Aciklama", 200, Uret::kAciklama, 30)}},
        {"FaturaSatir",
         3000,
         {Kimlik("SatirId"), Sayi("FaturaNo", "Long", 1, 800), Bagli("StokKod", 20, "S", 400),
          Ondalik("Miktar", 10000, 1000000), Para("BirimFiyat", 1, 5000),
          Sayi("Iskonto", "Single", 0, 15), Metin("Aciklama", 100, Uret::kAciklama, 60)},
         {"FaturaNo"}}}},
      {"Genel",
       "genel.mdb",
       "GENEL",
       "DataSirketYil",
       "Genel Veritabanı",
       {{"GenelParametre",
         12,
         {Liste("ParametreAdi", 50, kParametreAdlari, true),
          Liste("Deger", 100, kParametreDegerleri), Not("Aciklama", 50)}},
        {"KullaniciLog",
         500,
         {Kimlik("LogId"), Secim("Kullanici", 50, kKullanicilar), Secim("Islem", 100, kIslemler),
          Tarih("Tarih")}}}},
      {"Irsaliye",
       "irsaliye.mdb",
       "IRSALIYE",
       "DataSirketYil",
       "İrsaliye Veritabanı",
       {{"IrsaliyeBaslik",
         500,
         {Kimlik("IrsaliyeNo"), Bagli("CariKod", 20, "C", 250), Tarih("Tarih"),
          Not("SevkAdresi", 20), Metin("TeslimEden", 50, Uret::kAdSoyad),
          Mantik("Faturalandi", 70)}},
        {"IrsaliyeIade",
         0,
         {Kimlik("IadeNo"), Sayi("IrsaliyeNo", "Long", 1, 500), Tarih("Tarih"),
          Metin("Aciklama", 200, Uret::kAciklama)}}}},
      {"Muhasebe",
       "muhasebe.mdb",
       "MUHASEBE",
       "DataSirketYil",
       "Muhasebe Veritabanı",
       {{"HesapPlani",
         14,
         {Liste("HesapKodu", 20, kHesapKodlari, true), Liste("HesapAdi", 100, kHesapAdlari),
          Sayi("Seviye", "Byte", 1, 3)}},
        {"MuhasebeFis",
         2500,
         {Kimlik("FisSatirId"), Sayi("FisNo", "Long", 1, 600), Tarih("Tarih"),
          Secim("HesapKodu", 20, kHesapKodlari), Metin("Aciklama", 200, Uret::kAciklama, 10),
          Para("Borc", 0, 40000), Para("Alacak", 0, 40000)},
         {"HesapKodu"}}}},
      {"Personel",
       "personel.mdb",
       "PERSONEL",
       "DataSirketYil",
       "Personel Veritabanı",
       {{"tablo_isyeri_bilgileri",
         3,
         {{.ad = "strIsyeriKey",
           .tur = "String",
           .boy = 6,
           .birincil = true,
           .uret = Uret::kIsyeriKey},
          SirketNo("strIsyeriKodu"),
          Liste("strIsyeriAdi", 100, kIsyeriAdlari),
          Kod("strSgkSicilNo", 26, "4.1234.01.01.10"),
          Not("strAdres", 0),
          Tarih("dtmAcilisTarihi", 0, 1995, 2008)}},
        {"tablo_personel_parametreleri",
         5,
         {{.ad = "strPersonelKey",
           .tur = "String",
           .boy = 10,
           .birincil = true,
           .uret = Uret::kPersonelKey,
           .liste = kPersonelOnekleri},
          Liste("strParametreAdi", 50, kPersonelParametreleri),
          Para("curTutar", 100, 9000),
          Ondalik("dblOran", 50, 3500)}},
        {"tablo_personel_kart",
         300,
         {Kimlik("lngPersonelNo"),
          Metin("strTcKimlikNo", 11, Uret::kVergiNo),
          Metin("strAdiSoyadi", 60, Uret::kAdSoyad),
          Tarih("dtmDogumTarihi", 0, 1955, 1990),
          Tarih("dtmGirisTarihi", 0, 1998, 2010),
          Para("curBrutUcret", 527, 9000),
          Sayi("bytCocukSayisi", "Byte", 0, 4),
          Mantik("blnEmekli", 8),
          {.ad = "strIsyeriKey",
           .tur = "String",
           .boy = 6,
           .uret = Uret::kIsyeriKey,
           .alt = 1,
           .ust = 3},
          Not("mmoNotlar", 75)}}}},
      {"Senet",
       "senet.mdb",
       "SENET",
       "DataSirketYil",
       "Senet Veritabanı",
       {{"SenetKart",
         400,
         {Kod("SenetNo", 15, "SN", true), Metin("Borclu", 100, Uret::kUnvan),
          Para("Tutar", 50, 30000), Tarih("VadeTarihi"), Mantik("Tahsil", 60),
          Metin("Aciklama", 200, Uret::kAciklama, 40)}},
        {"SenetProtesto",
         0,
         {Kimlik("ProtestoNo"), Bagli("SenetNo", 15, "SN", 400), Tarih("Tarih"),
          Para("Masraf", 0, 0)}}}},
      {"Stok",
       "stok.mdb",
       "STOK",
       "DataSirketYil",
       "Stok Veritabanı",
       {{"StokKart",
         400,
         {Kimlik("Id"), Kod("StokKod", 20, "S"), Metin("StokAdi", 100, Uret::kUrun),
          Secim("Birim", 10, kBirimler), SayiSecim("KdvOrani", "Byte", kKdvOranlari),
          Para("SatisFiyati", 1, 5000), Para("AlisFiyati", 1, 4000, 10),
          Ondalik("Miktar", 0, 50000000), Mantik("Aktif", 95), Not("Aciklama", 70)},
         {"StokKod"}},
        {"StokHareket",
         4000,
         {Kimlik("HareketId"), Bagli("StokKod", 20, "S", 400), Tarih("Tarih"),
          Ondalik("Miktar", 10000, 2000000), Para("BirimFiyat", 1, 5000),
          Sayi("GirisCikis", "Byte", 1, 2), Sayi("DepoKodu", "Integer", 1, 5)},
         {"StokKod"}}}},
      {"Butce",
       "butce.mdb",
       "BUTCE",
       "DataSirketYil",
       "Bütçe Veritabanı",
       {{"ButceKalem",
         48,
         {Kimlik("KalemId"), Secim("HesapKodu", 20, kHesapKodlari), Sayi("Ay", "Byte", 1, 12),
          Para("PlanTutar", 1000, 90000), Para("GerceklesenTutar", 1000, 90000, 30)}},
        {"ButceRevizyon",
         0,
         {Kimlik("RevizyonNo"), Sayi("KalemId", "Long", 1, 48), Tarih("Tarih"),
          Para("YeniTutar", 0, 0)}}}},
      {"Beyanname",
       "beyanname.mdb",
       "BEYANNAME",
       "Data",
       "Beyanname Veritabanı",
       {{"BeyannameTanim",
         60,
         {Kimlik("BeyannameId"), Secim("SirketNo", 3, kSirketNolari),
          Secim("Tur", 30, kBeyannameler), Tarih("Donem", 0, 2009, 2010), Para("Tutar", 0, 85000),
          Mantik("Verildi", 80), Tarih("VerilisTarihi", 20, 2009, 2010)}}}},
      {"Isletme",
       "isletme.mdb",
       "ISLETME",
       "Data",
       "İşletme Veritabanı",
       {{"IsletmeDefteri",
         300,
         {Kimlik("KayitNo"), Secim("SirketNo", 3, kSirketNolari), Tarih("Tarih", 0, 2009, 2010),
          Metin("Aciklama", 200, Uret::kAciklama), Para("Gelir", 0, 20000, 40),
          Para("Gider", 0, 15000, 40)}}}},
      {"Siparis",
       "siparis.mdb",
       "SIPARIS",
       "Data",
       "Sipariş Veritabanı",
       {{"SiparisBaslik",
         300,
         {Kimlik("SiparisNo"), Secim("SirketNo", 3, kSirketNolari),
          Metin("CariUnvan", 100, Uret::kUnvan), Tarih("Tarih", 0, 2009, 2010),
          Tarih("TeslimTarihi", 35, 2009, 2010), Para("Tutar", 50, 70000),
          Sayi("Durum", "Integer", 0, 3)}},
        {"SiparisSatir",
         900,
         {Kimlik("SatirNo"), Sayi("SiparisNo", "Long", 1, 300), Bagli("StokKod", 20, "S", 400),
          Ondalik("Miktar", 10000, 500000), Para("Fiyat", 1, 5000)}}}},
      {"Servis",
       "servis.mdb",
       "SERVIS",
       "Data",
       "Teknik Servis Veritabanı",
       {{"ServisKayit",
         200,
         {Kimlik("ServisNo"), Secim("SirketNo", 3, kSirketNolari),
          Metin("Musteri", 100, Uret::kAdSoyad), Secim("Cihaz", 60, kCihazlar), Not("Ariza", 10),
          Tarih("GelisTarihi", 0, 2009, 2010), Para("Ucret", 20, 900, 25),
          Mantik("Tamamlandi", 75)}},
        {"ServisParca",
         0,
         {Kimlik("ParcaId"), Sayi("ServisNo", "Long", 1, 200), Metin("ParcaAdi", 60, Uret::kUrun),
          Para("Fiyat", 0, 0)}}}},
  };
}

constexpr Sirket kSirketler[] = {
    {"001", "Anadolu Gıda Sanayi ve Ticaret A.Ş.", "Merkez", "0680012345", "Kadıköy", 100},
    {"002", "Ege Tekstil Ltd. Şti.", "İzmir Şubesi", "3250098765", "Karşıyaka", 50},
    {"003", "Çağdaş Yapı Malzemeleri", "", "2110055544", "Çankaya", 25},
};

// One file at each level, one listed but present for company 001 only.
constexpr EkDosya kEkDosyalar[] = {
    {"Cari", "DataSirketYil", "CariEkstre.rpt", ""},
    {"Demirbas", "DataSirket", "DemirbasEtiket.lbl", ""},
    {"Beyanname", "Data", "KdvBeyanname.xml", ""},
    {"Personel", "DataSirketYil", "BordroSablon.rtf", ""},
    {"Stok", "DataSirketYil", "StokEtiket.lbl", "001"},
    {"Servis", "Data", "ServisFormu.rtf", ""},
};

}  // namespace

std::span<const Sirket> Sirketler() {
  return kSirketler;
}

const std::vector<Veritabani>& Veritabanlari() {
  static const std::vector<Veritabani> tanimlar = Tanimlar();
  return tanimlar;
}

std::span<const EkDosya> EkDosyalar() {
  return kEkDosyalar;
}

}  // namespace px::demo
