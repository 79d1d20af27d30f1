#include <string>
#include <vector>

#include "cli/commands.h"
#include "platform/console.h"

int main(int argc, char** argv) {
  px::PrepareStandardStreams();
  std::vector<std::string> args = px::Utf8Arguments(argc, argv);
  std::vector<char*> pointers;
  for (std::string& a : args) pointers.push_back(a.data());
  pointers.push_back(nullptr);
  return px::cli::Run(int(args.size()), pointers.data());
}
