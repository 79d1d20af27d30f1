// pbf sikistir | ac: compressed table files.
#include "cli/commands.h"
#include "xbf/pbf.h"

namespace px::cli {

void AddPbfCommands(CLI::App& app) {
  auto* pbf = app.add_subcommand("pbf", "compressed table files (.pbf, zlib level 5)");
  pbf->require_subcommand(1);

  static std::string in, out;
  auto* sikistir = pbf->add_subcommand("sikistir", "compress a file");
  sikistir->add_option("GIRDI", in, "file to compress")->required();
  sikistir->add_option("CIKTI", out, "compressed file to write")->required();
  sikistir->callback([] {
    Status st = xbf::Sikistir(HostPathOrFail(in), HostPathOrFail(out));
    if (!st.ok()) Fail(st);
  });

  auto* ac = pbf->add_subcommand("ac", "decompress a file");
  ac->add_option("GIRDI", in, "compressed file")->required();
  ac->add_option("CIKTI", out, "file to write")->required();
  ac->callback([] {
    Status st = xbf::Ac(HostPathOrFail(in), HostPathOrFail(out));
    if (!st.ok()) Fail(st);
  });
}

}  // namespace px::cli
