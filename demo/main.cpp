// pergonix-demo-suite HEDEF_KLASOR: a demo suite of the Pergonix accounting programs in a
// new or empty folder, for trying the backup and the restore (see suite_builder.h).

#include <iostream>
#include <string>

#include "platform/files.h"
#include "suite_builder.h"

int main(int argc, char** argv) {
  if (argc != 2 || std::string(argv[1]) == "--help" || std::string(argv[1]) == "-h") {
    std::cerr << "usage: pergonix-demo-suite HEDEF_KLASOR\n"
                 "Builds a demo suite below HEDEF_KLASOR (new or empty): HEDEF_KLASOR/C/Pergonix,\n"
                 "to be used with PERGONIX_DRIVES=\"C=HEDEF_KLASOR/C\".\n";
    return 2;
  }
  const std::string hedef = argv[1];
  auto ozet = px::demo::DemoSuiteKur(px::platform::SystemFiles(), hedef);
  if (!ozet.ok()) {
    std::cerr << "pergonix-demo-suite: " << ozet.status().ToString() << "\n";
    return 1;
  }
  std::cout << "Demo suite in " << hedef << "/C/Pergonix: " << ozet->veritabani << " databases, "
            << ozet->tablo << " tables, " << ozet->satir << " rows, " << ozet->ek_dosya
            << " extra files\n";
  return 0;
}
