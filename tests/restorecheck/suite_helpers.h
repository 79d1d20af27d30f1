#pragma once
// Round trips through the real engine: a copy of the sample suite on drive C, packages on
// drive D, the backup and the restore runs driven in-process with a scripted operator and a
// pool of real Access databases, and the results read back by jet-oracle (Jackcess), all
// its commands run in one Java process.

#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "operator/scripted_operator.h"
#include "platform/files.h"
#include "restore/geri_al.h"
#include "support/jet_oracle.h"
#include "support/sample_suite.h"

namespace px::restorecheck {

namespace fs = std::filesystem;

// jet-oracle's commands in one Java process (JetOracleBatch.java beside this file).
struct OracleCevabi {
  int rc = -1;
  std::string out;
};
// One answer per command, in order; a command is its arguments ("rows", file, table).
std::vector<OracleCevabi> JetOracle(const std::vector<std::vector<std::string>>& komutlar);

// A table as jet-oracle reads it: its rows (one JSON object each) sorted, so that two
// tables compare equal when they hold the same rows in any order and column order.
struct TabloDokumu {
  nlohmann::json sema;  // the table's entry of `schema`
  std::vector<nlohmann::json> satirlar;
};
using VeritabaniDokumu = std::map<std::string, TabloDokumu>;  // by table name
// Every user table of each file; `check` of each file into `denetimler` when given.
std::map<std::string, VeritabaniDokumu> Dok(
    const std::vector<fs::path>& dosyalar,
    std::map<std::string, std::string>* denetimler = nullptr);

// The rows as the restore's INSERT statement writes them: a NULL text is '' and every
// apostrophe a double quote.
std::vector<nlohmann::json> InsertIle(const TabloDokumu& t);
// Whether the restore puts the table back through INSERT statements: one key and an
// AutoNumber column.
bool InsertYolu(const nlohmann::json& sema);
std::vector<nlohmann::json> Sirali(std::vector<nlohmann::json> satirlar);

// The sample suite on C: (every file, or only those given), packages on D:.
class Suit : public px::testing::SampleSuite {
 public:
  using SampleSuite::SampleSuite;
  fs::path Gecici() const { return Staging(); }

  // The module databases of one company and year below C:\Pergonix (module-wide ones too).
  std::vector<fs::path> Veritabanlari(const std::string& sirket, const std::string& yil) const;
  // Files named ".~..." (temporaries of a write) anywhere below C:, and files left in the
  // staging folder.
  std::vector<fs::path> ArtikGeciciler() const;
  // The files' bytes, by path.
  static std::map<fs::path, std::string> Baytlar(const std::vector<fs::path>& dosyalar);

  // The backup tab's run into D:\Yedek\<paket>: compressed, every module.
  void Yedekle(const std::string& paket, const std::string& sirket, const std::string& yil);

  // The restore tab's run from D:\Yedek\<paket> without questions per module; `files`
  // carries every write of the run (databases, copies, extra files).
  struct GeriAlma {
    restore::GeriAlSonucu sonuc;
    std::vector<op::Box> kutular;
  };
  GeriAlma GeriAl(const std::string& paket, const std::string& paket_sirket,
                  const std::string& paket_yil, const std::string& sirket, const std::string& yil,
                  platform::FileLayer& files = platform::SystemFiles(),
                  std::vector<std::string> moduller = {});
};

// Where the runs' module databases keep the record of the commit they share.
inline constexpr char kCommitKaydi[] = "C:\\Pergonix\\GeriAlOncesi\\.~pergonix-commit.tmp";

// "Hata" boxes among those shown, as one text for failure messages.
std::string Hatalar(const std::vector<op::Box>& kutular);

}  // namespace px::restorecheck
