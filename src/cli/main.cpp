#include "cli/commands.h"

int main(int argc, char** argv) {
  return px::cli::Run(argc, argv);
}
