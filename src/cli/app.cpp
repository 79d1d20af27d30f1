#include <iostream>

#include "cli/commands.h"
#include "platform/host_path.h"
#include "platform/utf8_path.h"

namespace px::cli {

void Fail(const Status& status) {
  Fail(status.message());
}

void Fail(const std::string& message) {
  std::cerr << "pergonix-yedek: " << message << "\n";
  throw CLI::RuntimeError(kExitError);
}

std::string HostPathOrFail(const std::string& path) {
  auto host = ToHostPath(path);
  if (!host.ok()) Fail(host.status());
  return Utf8FromPath(*host);
}

int Run(int argc, char** argv) {
  CLI::App app{"Pergonix Yedek: the backup and restore tool of the Pergonix suite",
               "pergonix-yedek"};
  app.set_version_flag("--version", std::string("pergonix-yedek ") + PX_VERSION);
  app.require_subcommand(0, 1);
  AddGlobalOptions(app);
  AddGeriAlCommands(app);
  AddAyarlarCommand(app);
  AddMdbCommands(app);
  AddXbfCommands(app);
  AddPbfCommands(app);
  AddYedekleCommand(app);
  AddDogrulaCommand(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::RuntimeError& e) {
    return e.get_exit_code();  // a command's own end (Fail and the run's exit codes)
  } catch (const CLI::ParseError& e) {
    const int code = app.exit(e);
    return code == kExitOk ? kExitOk : kExitUsage;
  }
  if (argc <= 1) std::cout << app.help();
  return kExitOk;
}

}  // namespace px::cli
