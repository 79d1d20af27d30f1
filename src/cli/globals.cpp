#include <iostream>

#include "cli/commands.h"
#include "operator/console_operator.h"

namespace px::cli {

GlobalOptions& Globals() {
  static GlobalOptions options;
  return options;
}

void AddGlobalOptions(CLI::App& app) {
  app.fallthrough();  // "ayarlar --evet" as well as "--evet ayarlar"
  app.add_flag("--evet", Globals().evet,
               "Unattended run: answer every Yes/No question Yes and every Retry/Cancel "
               "question Cancel");
}

op::Operator& ConsoleOperator() {
  static op::ConsoleOperator console(std::cin, std::cerr, op::StandardStreamsAreTerminal(),
                                     Globals().evet);
  return console;
}

}  // namespace px::cli
