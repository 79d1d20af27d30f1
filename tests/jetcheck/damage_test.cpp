// Damaged copies of every sample file (see corruption_helpers.h) through "mdb tablolar",
// "mdb sema" and "mdb satirlar" on each table of the undamaged file. Every run must end by
// itself within ten seconds, either with output or with exit code 1 and a message
// on standard error naming the file and the page; never with a signal, a hang or a
// sanitizer report; a run still going after ten seconds counts as a hang.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "jetcheck/corruption_helpers.h"
#include "jetcheck/reference_helpers.h"
#include "jetcheck/sample_param.h"
#include "support/temp_folder.h"

namespace px::jetcheck {
namespace {
namespace fs = std::filesystem;

constexpr double kHangSeconds = 10.0;
constexpr std::size_t kMaxFailuresListed = 30;

std::vector<uint8_t> ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

bool WriteFile(const fs::path& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
  return bool(out);
}

std::string Lower(std::string s) {
  for (char& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

bool HasSanitizerReport(const std::string& err) {
  for (const char* marker : {"AddressSanitizer", "LeakSanitizer", "UndefinedBehaviorSanitizer",
                             "runtime error:", "MemorySanitizer"}) {
    if (err.find(marker) != std::string::npos) return true;
  }
  return false;
}

// Why a run on a damaged copy broke the contract; empty when it kept it. A data page whose
// owner field no longer names its table is passed over, as Jet passes over reused pages,
// so damage to a catalog page can make a table disappear: "no table named T" is then the
// clear answer to "mdb satirlar FILE T".
std::string Verdict(const ProcessResult& r, const fs::path& file, const std::string& table,
                    std::size_t file_size) {
  const bool rows = !table.empty();
  if (!r.started) return "could not be started";
  if (r.timed_out || r.signal != 0 || HasSanitizerReport(r.err)) {
    return r.Describe() + ": " + r.err.substr(0, 600);
  }
  if (r.exit_code == 0) {
    if (r.out.size() > 64 * file_size + (1u << 20)) {
      return "printed " + std::to_string(r.out.size()) + " bytes from a file of " +
             std::to_string(file_size);
    }
    if (!rows) return "";
    for (const std::string& line : SplitLines(r.out)) {
      std::string error;
      if (!ParseJsonObject(line, &error)) return "exit 0 but a row is not JSON: " + error;
    }
    return "";
  }
  std::string first_line = r.err.substr(0, r.err.find('\n'));
  if (r.exit_code != 1) return r.Describe() + ": " + first_line;
  if (!r.err.starts_with("pergonix-yedek: "))
    return "error without the program's prefix: " + first_line;
  if (r.err.find(file.filename().string()) == std::string::npos) {
    return "error does not name the file: " + first_line;
  }
  if (rows && r.err.find(": no table named " + table + "\n") != std::string::npos) return "";
  if (Lower(r.err).find("page") == std::string::npos) {
    return "error does not name the page: " + first_line;
  }
  return "";
}

class MdbDamageTest : public SampleTest {
 protected:
  // A fresh folder for the damaged copies; removed afterwards unless the test failed.
  void MakeFolder() {
    folder_ = std::make_unique<::px::testing::TempFolder>();
    dir_ = folder_->path();
  }
  void TearDown() override {
    if (folder_ && HasFailure()) {
      std::cout << "damaged copies kept in " << folder_->Keep() << "\n";
    }
  }
  std::unique_ptr<::px::testing::TempFolder> folder_;
  fs::path dir_;
};

TEST_P(MdbDamageTest, DamagedCopiesEndCleanly) {
  ASSERT_NO_FATAL_FAILURE(MakeFolder());
  ProcessResult listed = RunOurs({"mdb", "tablolar", path()});
  ASSERT_TRUE(listed.ExitedWith(0)) << "undamaged " << path() << ": " << listed.Describe() << "\n"
                                    << listed.err;
  const std::vector<std::string> tables = SplitLines(listed.out);
  const std::vector<uint8_t> original = ReadFile(path());
  std::vector<DamagedCopy> copies = MakeDamagedCopies(original);
  ASSERT_GE(copies.size(), 20u) << "too few damaged copies made of " << path();

  const std::string stem = fs::path(path()).stem().string();
  ProcessOptions options;
  options.timeout_seconds = kHangSeconds;
  std::vector<std::string> failures;
  std::size_t runs = 0, errors = 0;
  auto check = [&](const fs::path& file, const std::string& label,
                   const std::vector<std::string>& args, bool rows) {
    ProcessResult r = RunOurs(args, options);
    ++runs;
    if (r.exit_code != 0) ++errors;
    std::string why = Verdict(r, file, rows ? args[3] : "", fs::file_size(file));
    if (!why.empty()) {
      std::string command = args[1] + (args.size() > 3 ? " " + args[3] : "");
      failures.push_back(label + " [" + command + "]: " + why);
    }
  };
  // PX_DAMAGE_STRIDE=n runs every n-th copy only: the sanitizer build, where every run costs
  // several times more, keeps the same kinds of damage at a fraction of the runs.
  const char* stride_text = std::getenv("PX_DAMAGE_STRIDE");
  const std::size_t stride = stride_text ? std::max(1, std::atoi(stride_text)) : 1;
  for (std::size_t i = 0; i < copies.size(); i += stride) {
    const DamagedCopy& copy = copies[i];
    fs::path file = dir_ / (stem + "-" + copy.label + ".mdb");
    ASSERT_TRUE(WriteFile(file, copy.bytes)) << file;
    check(file, copy.label, {"mdb", "tablolar", file.string()}, false);
    check(file, copy.label, {"mdb", "sema", file.string()}, false);
    for (const std::string& table : tables) {
      check(file, copy.label, {"mdb", "satirlar", file.string(), table}, true);
    }
  }
  std::string listing;
  for (std::size_t i = 0; i < failures.size() && i < kMaxFailuresListed; ++i) {
    listing += "\n  " + failures[i];
  }
  if (failures.size() > kMaxFailuresListed) {
    listing += "\n  ... and " + std::to_string(failures.size() - kMaxFailuresListed) + " more";
  }
  EXPECT_TRUE(failures.empty()) << path() << ": " << failures.size() << " of " << runs
                                << " runs on " << copies.size() << " damaged copies broke the rules"
                                << listing;
  std::cout << stem << ": " << copies.size() << " damaged copies, " << runs << " runs, " << errors
            << " ended with an error\n";
}

// The copies themselves: deterministic, and covering each kind of damage.
TEST_P(MdbDamageTest, CopiesAreReproducibleAndVaried) {
  const std::vector<uint8_t> original = ReadFile(path());
  std::vector<DamagedCopy> a = MakeDamagedCopies(original), b = MakeDamagedCopies(original);
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    EXPECT_EQ(a[i].label, b[i].label);
    EXPECT_TRUE(a[i].bytes == b[i].bytes) << a[i].label;
    EXPECT_FALSE(a[i].bytes == original) << a[i].label;
  }
  for (const char* kind : {"truncated-", "header-", "tdef-", "data-", "usage-", "random-"}) {
    EXPECT_TRUE(std::any_of(a.begin(), a.end(),
                            [&](const DamagedCopy& c) { return c.label.starts_with(kind); }))
        << "no " << kind << " copy of " << path();
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, MdbDamageTest, ::testing::ValuesIn(SampleParams()),
                         SampleParamName);

}  // namespace
}  // namespace px::jetcheck
