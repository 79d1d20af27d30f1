#include "cli/commands.h"

namespace px::cli {

// Placeholder until the pbf commands land.
void AddPbfCommands(CLI::App&) {}

}  // namespace px::cli
