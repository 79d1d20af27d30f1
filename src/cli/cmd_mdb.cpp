#include "cli/commands.h"

namespace px::cli {

// Placeholder until the mdb commands land.
void AddMdbCommands(CLI::App&) {}

}  // namespace px::cli
