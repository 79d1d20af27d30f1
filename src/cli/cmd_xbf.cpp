#include "cli/commands.h"

namespace px::cli {

// Placeholder until the xbf commands land.
void AddXbfCommands(CLI::App&) {}

}  // namespace px::cli
