#pragma once
// Verification of a backup package against its manifest: every table file is read to its
// end (through decompression for ".pbf"), every file's size and SHA-256 and every table's
// row count are compared with "PergonixYedek.json", and files missing from the package or
// from the manifest are named. Temporary names (".~*.tmp") are ignored.

#include <string>
#include <vector>

#include "core/result.h"
#include "platform/files.h"

namespace px::backup {

struct DogrulamaSonucu {
  size_t denetlenen = 0;              // files read
  std::vector<std::string> sorunlar;  // one line per problem, in path order
  bool temiz() const { return sorunlar.empty(); }
};

// Problems are in the result; only a package folder that cannot be listed is an error.
Result<DogrulamaSonucu> PaketiDogrula(platform::FileLayer& files, const std::string& paket_yolu);

}  // namespace px::backup
