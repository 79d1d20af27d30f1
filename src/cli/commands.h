#pragma once
// Sub-commands of pergonix-yedek. Each Add* registers its commands on the app; command
// callbacks report failures through Fail(), which prints the message and sets the exit code.

#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "core/status.h"
#include "operator/operator.h"
#include "platform/files.h"

namespace px::cli {

// Options of the whole program, before the sub-command: --evet (unattended runs).
struct GlobalOptions {
  bool evet = false;
};
GlobalOptions& Globals();
void AddGlobalOptions(CLI::App& app);

// The operator of this run on the console: prompts on a terminal; with --evet Yes/No
// questions are answered Yes and Retry/Cancel boxes Cancel; otherwise default buttons.
op::Operator& ConsoleOperator();

// paket listele, geri-al, yil-geri-al.
void AddGeriAlCommands(CLI::App& app);
void AddAyarlarCommand(CLI::App& app);
void AddMdbCommands(CLI::App& app);
// "mdb kontrol", registered on the "mdb" command by AddMdbCommands.
void AddMdbKontrolCommand(CLI::App& mdb);
// "mdb sql", registered on the mdb command by AddMdbCommands.
void AddMdbSqlCommand(CLI::App& mdb);
void AddXbfCommands(CLI::App& app);
void AddPbfCommands(CLI::App& app);
void AddYedekleCommand(CLI::App& app);
void AddDogrulaCommand(CLI::App& app);

// Exit codes of the program.
inline constexpr int kExitOk = 0;
inline constexpr int kExitError = 1;
inline constexpr int kExitUsage = 2;      // bad arguments
inline constexpr int kExitCancelled = 3;  // the operator declined or cancelled

// Prints "pergonix-yedek: <message>" on standard error and ends the command with kExitError.
[[noreturn]] void Fail(const Status& status);
[[noreturn]] void Fail(const std::string& message);

// The host path (UTF-8) of a path given on the command line; Fail()s when its drive has no
// folder.
std::string HostPathOrFail(const std::string& path);

// The temporary folder of a backup or restore run, held for the run: both stage files there
// under the table's own name, so a second run on the same machine waits for none and is
// refused (Fail) rather than mixing its files with the first's. The lock is released when
// the returned object is destroyed.
struct GeciciKlasor {
  std::string yol;
  std::unique_ptr<platform::FileLock> kilit;
};
GeciciKlasor GeciciKlasoruAl();

// Runs the program; returns the process exit code.
int Run(int argc, char** argv);

}  // namespace px::cli
