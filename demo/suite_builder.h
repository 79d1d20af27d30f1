#pragma once
// The demo suite on disk: a suite root below a drive folder, as the drive map expects it
// (PERGONIX_DRIVES="C=<target>/C"):
//
//   C/Pergonix/config.ini                        Windows-1254, CRLF
//   C/Pergonix/Genel/Data/DonemAc.mdb            the schema catalog of every module database
//   C/Pergonix/Genel/Data/sirket.mdb             tblSirket and Guvenlik
//   C/Pergonix/Genel/Data/YedekDosya.ini         the extra files of each level
//   C/Pergonix/<module>/Data[/<company>[/<year>]]/<database>.mdb, and the extra files
//
// Every value comes from generators seeded by database, table, company and year, so two
// builds hold the same rows (the files differ only in the creation times Jet records). Each
// database is written in one transaction: a failed build leaves whole files only.

#include <cstdint>
#include <string>

#include "core/result.h"

namespace px::platform {
class FileLayer;
}

namespace px::demo {

struct SuiteOzeti {
  int veritabani = 0;
  int tablo = 0;
  int64_t satir = 0;
  int ek_dosya = 0;
};

// Builds the suite below the host folder `hedef`, which is created when missing and refused
// when it holds anything.
Result<SuiteOzeti> DemoSuiteKur(platform::FileLayer& files, const std::string& hedef);

}  // namespace px::demo
