#pragma once
// A writable copy of the sample suite (samples/suite/Pergonix) as C:\Pergonix of a temporary
// folder, with an empty drive D: and a staging folder of its own beside it: while it lives the
// drive map points C: and D: there and the temporary folder variables (TMPDIR; TMP and TEMP on
// Windows) name the staging folder.

#include <filesystem>
#include <string>
#include <vector>

#include "platform/host_path.h"
#include "support/samples.h"
#include "support/temp_folder.h"

namespace px::testing {

inline std::filesystem::path SampleSuitePath() {
  return SamplePath("suite/Pergonix");
}

class SampleSuite {
 public:
  // Every file of the sample suite, or only the listed ones (paths below Pergonix).
  explicit SampleSuite(const std::vector<std::string>& only = {}) {
    namespace fs = std::filesystem;
    const fs::path from = SampleSuitePath(), to = C();
    fs::create_directories(to.parent_path());  // fs::copy makes Pergonix
    if (only.empty()) fs::copy(from, to, fs::copy_options::recursive);
    for (const auto& f : only) {
      fs::create_directories((to / f).parent_path());
      fs::copy_file(from / f, to / f);
    }
    // The samples are read-only; the suite's own files are not (Windows would refuse to
    // delete them).
    for (const auto& e : fs::recursive_directory_iterator(to)) {
      fs::permissions(e.path(), fs::perms::owner_write, fs::perm_options::add);
    }
    fs::create_directories(D());
    fs::create_directories(Staging());
  }

  // Below C:\Pergonix and below D:.
  std::filesystem::path C(const std::string& relative = {}) const {
    return Below(dir_.path() / "C" / "Pergonix", relative);
  }
  std::filesystem::path D(const std::string& relative = {}) const {
    return Below(dir_.path() / "D", relative);
  }
  std::filesystem::path Staging() const { return dir_.path() / "tmp"; }
  const std::filesystem::path& root() const { return dir_.path(); }

 private:
  static std::filesystem::path Below(const std::filesystem::path& p, const std::string& rel) {
    return rel.empty() ? p : p / PathFromUtf8(rel);
  }

  TempFolder dir_;
  ScopedEnv drives_{kDriveMapVariable, "C=" + Utf8FromPath(dir_.path() / "C") +
                                           ";D=" + Utf8FromPath(dir_.path() / "D")};
  ScopedEnv tmpdir_{"TMPDIR", Utf8FromPath(Staging())}, tmp_{"TMP", Utf8FromPath(Staging())},
      temp_{"TEMP", Utf8FromPath(Staging())};
};

}  // namespace px::testing

// Skips the test, naming the folder it looked for, when the sample suite is absent.
#define PX_SAMPLE_SUITE_OR_SKIP()                                                    \
  if (!std::filesystem::exists(::px::testing::SampleSuitePath() / "Genel" / "Data" / \
                               "DonemAc.mdb"))                                       \
  GTEST_SKIP() << "no sample suite at " << ::px::testing::SampleSuitePath()
