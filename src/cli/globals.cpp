#include <iostream>

#include "cli/commands.h"
#include "operator/console_operator.h"
#include "platform/temp_path.h"

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

GeciciKlasor GeciciKlasoruAl() {
  GeciciKlasor g{TempPath(), nullptr};
  platform::FileLayer& files = platform::SystemFiles();
  const std::string kilit = g.yol + "pergonix-yedek.lock";
  if (!files.Exists(kilit)) {
    auto yeni = files.Open(kilit, platform::OpenMode::kCreateNew);
    if (!yeni.ok() && yeni.status().code() != StatusCode::kAlreadyExists) Fail(yeni.status());
  }
  auto tutulan = files.LockExclusive(kilit);
  if (tutulan.ok()) {
    g.kilit = std::move(*tutulan);
    return g;
  }
  if (tutulan.status().code() == StatusCode::kBusy) {
    Fail("another backup or restore is using the temporary folder " + g.yol +
         "; run this one when it has ended");
  }
  Fail(tutulan.status());
}

}  // namespace px::cli
