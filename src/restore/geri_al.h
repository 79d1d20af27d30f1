#pragma once
// The two restore runs of the "Geri Al" tab: a package's modules of one company and year
// into a company and year (GeriAlBaslat), and every company of one year in a package into
// another year (YilGeriAl). Each module's databases change in one transaction: an error
// leaves every database of that module as it was before the module began.
//
// Table files and extra files are read from the package's folders of the package's company
// and year and written into the target company and year; without that, restoring into
// another company or year would find no files.

#include <string>
#include <vector>

#include "core/result.h"
#include "restore/ortam.h"

namespace px::restore {

struct ModulSecimi {
  std::string ad;  // the item's text: a display name
  bool secili = false;
};

// The restore tab as the start button finds it.
struct GeriAlGirdileri {
  std::string paket;                  // Combo2
  std::string sirket;                 // Text4: the company restored into
  std::string yil;                    // Text5: the year restored into
  std::string kaynak;                 // Text6: the folder holding the packages
  std::string paket_sirket;           // Combo3: the package's company; empty: the target's
  std::string paket_yil;              // Combo4: the package's year; empty: the target's
  std::vector<ModulSecimi> moduller;  // ListView2
  bool onaysiz = false;               // Check5
};

// What a run came to, for the command line's exit code and module table.
struct ModulSonucu {
  std::string modul;   // display name
  std::string sirket;  // empty in GeriAlBaslat
  std::string durum;   // "Tamam", "Geç", "Hata" or "" (not reached / not in the package)
  bool operator==(const ModulSonucu&) const = default;
};
struct GeriAlSonucu {
  bool hata = false;        // an error box was shown
  bool reddedildi = false;  // the operator said No to a question
  bool sona_ulasti = false;
  std::vector<ModulSonucu> moduller;
  std::vector<std::string> uyarilar;  // table files that differ from the package's manifest
};

// A module is in the package for a company and year when any of its folders for them
// holds a file: module + "\Data", + "\" + company, + "\" + company + "\" + year. (Looking
// only at the deepest folder would never find module-wide or per-company modules.)
bool ModulPaketteVarmi(FileSystem& fs, const std::string& paket_klasoru, const std::string& modul,
                       const std::string& sirket, const std::string& yil);

GeriAlSonucu GeriAlBaslat(Ortam& ortam, const GeriAlGirdileri& girdiler);

// The year restore's window entries.
struct YilGeriAlGirdileri {
  std::string paket;                  // Combo2
  std::string kaynak;                 // Text6
  std::string kaynak_yil;             // Combo4
  std::string hedef_yil;              // Text5
  std::vector<ModulSecimi> moduller;  // ListView2
  bool onaysiz = false;               // Check5
  std::string hedef_turu = "Access";  // Combo5: "SQLServer" or "Access"
};

// Company numbers found below the modules' "Data" folders of the package, in the order of
// first appearance; one empty element when none.
std::vector<std::string> PaketSirketleri(Dosyalar& dosyalar, const std::string& paket_klasoru);

GeriAlSonucu YilGeriAl(Ortam& ortam, const YilGeriAlGirdileri& girdiler);

}  // namespace px::restore
