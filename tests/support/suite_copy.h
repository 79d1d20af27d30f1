#pragma once
// A writable copy of the sample suite (or of some of its files) as "C:\Pergonix", an empty
// drive D: and a temporary folder of its own, all below a fresh folder; the program run on
// it with the drive map and the temporary folder set. The samples are read-only; the copy is
// not (Windows would refuse to delete its files).

#include <filesystem>
#include <string>
#include <vector>

#include "platform/host_path.h"
#include "platform/utf8_path.h"
#include "support/process.h"
#include "support/samples.h"
#include "support/temp_folder.h"

namespace px::testing {

class SuiteCopy {
 public:
  // Every file of the sample suite below "Pergonix", or only the listed ones; nothing when
  // the samples are not on this machine (present() says so).
  explicit SuiteCopy(const std::vector<std::string>& only = {}) {
    namespace fs = std::filesystem;
    const fs::path sample = PathFromUtf8(SamplePath("suite/Pergonix"));
    if (!fs::exists(sample / "Genel" / "Data" / "DonemAc.mdb")) return;
    fs::create_directories(C().parent_path());
    if (only.empty()) fs::copy(sample, C(), fs::copy_options::recursive);
    for (const std::string& f : only) {
      fs::create_directories(C(f).parent_path());
      fs::copy_file(sample / PathFromUtf8(f), C(f));
    }
    for (const auto& e : fs::recursive_directory_iterator(C())) {
      fs::permissions(e.path(), fs::perms::owner_write, fs::perm_options::add);
    }
    fs::create_directories(D());
    fs::create_directories(Temp());
    present_ = true;
  }

  bool present() const { return present_; }
  std::filesystem::path C(const std::string& relative = {}) const {
    return folder_.path() / "C" / "Pergonix" / PathFromUtf8(relative);
  }
  std::filesystem::path D(const std::string& relative = {}) const {
    return folder_.path() / "D" / PathFromUtf8(relative);
  }
  std::filesystem::path Temp() const { return folder_.path() / "tmp"; }
  // The drive map that puts C: and D: here.
  std::string Drives() const {
    return "C=" + Utf8FromPath(folder_.path() / "C") + ";D=" + Utf8FromPath(D());
  }

  // The program with this copy's drives and temporary folder (TMP and TEMP on Windows).
  RunResult Run(const std::vector<std::string>& args, const RunOptions& options = {}) const {
    ScopedEnv drives(kDriveMapVariable, Drives());
    const std::string tmp = Utf8FromPath(Temp());
    ScopedEnv tmpdir("TMPDIR", tmp), tmp_win("TMP", tmp), temp_win("TEMP", tmp);
    return RunProgram(args, options);
  }

 private:
  TempFolder folder_;
  bool present_ = false;
};

}  // namespace px::testing

// Declares `var` as a copy of the sample suite, or skips the test when the samples are absent.
#define PX_SUITE_COPY_OR_SKIP(var) \
  ::px::testing::SuiteCopy var;    \
  if (!var.present())              \
  GTEST_SKIP() << "no sample suite at " << ::px::testing::SamplePath("suite/Pergonix")
