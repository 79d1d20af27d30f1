#include "cli/commands.h"

namespace px::cli {

// Placeholder until the ayarlar commands land.
void AddAyarlarCommand(CLI::App&) {}

}  // namespace px::cli
