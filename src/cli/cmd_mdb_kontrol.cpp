// "mdb kontrol DOSYA": the engine's integrity check of every table and index of an Access
// database (jet/integrity.h). Prints one line a finding and ends with exit code 1 when
// there is any; otherwise one summary line and exit code 0. Indexes whose keys the engine
// cannot make (an unknown sort order) are listed as "note:" lines and are no finding.
#include <iostream>
#include <memory>
#include <string>

#include "cli/commands.h"
#include "jet/database.h"
#include "jet/integrity.h"

namespace px::cli {

namespace {

void RunKontrol(const std::string& path) {
  auto db = jet::Database::OpenPath(path);
  if (!db.ok()) Fail(db.status());
  const jet::IntegrityReport report = jet::CheckDatabase(**db);
  for (const std::string& f : report.findings) std::cout << f << "\n";
  for (const std::string& n : report.notes) std::cout << "note: " << n << "\n";
  const std::string counts = std::to_string(report.tables) + " tables, " +
                             std::to_string(report.rows) + " rows, " +
                             std::to_string(report.index_entries) + " index entries";
  if (!report.ok()) {
    std::cout.flush();
    Fail(path + ": " + std::to_string(report.findings.size()) + " findings (" + counts + ")");
  }
  std::cout << path << ": no findings (" << counts << ")\n";
}

}  // namespace

void AddMdbKontrolCommand(CLI::App& mdb) {
  auto path = std::make_shared<std::string>();
  auto* kontrol = mdb.add_subcommand("kontrol", "Integrity check of every table and index");
  kontrol->add_option("DOSYA", *path, "Database file (Windows path or host path)")->required();
  kontrol->callback([path] { RunKontrol(*path); });
}

}  // namespace px::cli
