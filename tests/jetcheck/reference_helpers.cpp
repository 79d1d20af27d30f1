#include "jetcheck/reference_helpers.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "core/value_text.h"
#include "platform/text_case.h"
#include "support/samples.h"

namespace px::jetcheck {
namespace fs = std::filesystem;
namespace {

constexpr std::size_t kMaxFailuresListed = 40;
constexpr const char* kDateFormat = "%Y-%m-%dT%H:%M:%S";

// Hour 24 becomes midnight of the next day, a second of 60 the next minute; the
// milliseconds are dropped.
DateParts NormaliseDay(DateParts p) {
  p.millisecond = 0;
  return *OleDateToParts(PartsToOleDate(p));
}

// The same instant rounded to whole seconds, half a second rounding up, as mdbtools does.
DateParts RoundToSecond(DateParts p) {
  p.second += p.millisecond >= 500 ? 1 : 0;
  return NormaliseDay(p);
}

bool IsIntegerText(const std::string& s) {
  return s.find_first_of(".eE") == std::string::npos;
}

bool DatesAgreeWithMdbtools(const DateParts& ours, const std::string& printed) {
  std::optional<DateParts> theirs = ParseDateTime(printed);
  if (!theirs || theirs->millisecond != 0) return false;
  DateParts t = NormaliseDay(*theirs);
  // Exactly half a second in our millisecond text may have been a hair below it in the file.
  return t == RoundToSecond(ours) || (ours.millisecond == 500 && t == NormaliseDay(ours));
}

ValueCheck CheckWithMdbJson(const JsonScalar& ours, const JsonScalar* theirs) {
  using K = JsonScalar::Kind;
  bool their_null = theirs == nullptr || theirs->kind == K::kNull;
  if (ours.kind == K::kNull || their_null) return {ours.kind == K::kNull && their_null};
  switch (ours.kind) {
    case K::kBool: {
      bool yes = theirs->text == "1" || theirs->text == "true";
      bool no = theirs->text == "0" || theirs->text == "false";
      return {theirs->kind != K::kString && (ours.text == "true" ? yes : no)};
    }
    case K::kNumber:
      if (theirs->kind != K::kNumber) return {false};
      if (IsIntegerText(ours.text) && IsIntegerText(theirs->text)) {
        return {ours.text == theirs->text};
      }
      return {SameToPrintedDigits(ours.text, theirs->text)};
    case K::kString:
      break;
    default:
      return {false};
  }
  if (theirs->kind == K::kNumber) {  // every scale digit printed: "3.5000"
    std::optional<Decimal> d = DecimalFromText(theirs->text);
    return {d && DecimalToPlain(*d) == ours.text};
  }
  if (theirs->kind != K::kString) return {false};
  if (theirs->text == ours.text) return {true};
  if (std::optional<DateParts> date = ParseDateTime(ours.text)) {
    if (date->year < 1900 || date->year > 2699) return {false, true};
    return {DatesAgreeWithMdbtools(*date, theirs->text)};
  }
  if (std::optional<Guid> guid = GuidFromText(ours.text)) {
    return {GuidFromText(theirs->text) == guid};  // braces and letter case aside
  }
  return {false};
}

std::string Quote(const JsonScalar* v) {
  return v == nullptr ? "(left out)" : v->ToJson();
}

std::string KeyList(const JsonObject& o) {
  std::string s;
  for (const auto& [k, v] : o) s += (s.empty() ? "" : ",") + k;
  return s;
}

}  // namespace

std::vector<std::string> SampleFiles() {
  std::vector<std::string> names;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(::px::testing::SamplePath("mdb"), ec)) {
    const std::string name = entry.path().filename().string();
    if (entry.is_regular_file() && name.size() > 4 && FoldCase(name).ends_with(".MDB")) {
      names.push_back(name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string MdbtoolsMissing() {
  for (const char* tool : {"mdb-tables", "mdb-json", "mdb-export"}) {
    if (::px::testing::FindOnPath(tool).empty())
      return std::string(tool) + " (mdbtools) is not installed";
  }
  return "";
}

std::string MdbReaderMissing() {
  if (::px::testing::FindOnPath("node").empty()) return "node is not installed";
  fs::path tools = fs::path(PX_SOURCE_DIR) / "tools";
  std::error_code ec;
  if (!fs::is_regular_file(tools / "node_modules" / "mdb-reader" / "package.json", ec)) {
    return "tools/node_modules/mdb-reader is missing (run: cd tools && npm ci)";
  }
  return "";
}

ProcessResult RunMdbReaderDump(const std::vector<std::string>& args) {
  std::vector<std::string> argv = {
      "node", (fs::path(PX_SOURCE_DIR) / "tools" / "mdb-reader-dump.js").string()};
  argv.insert(argv.end(), args.begin(), args.end());
  return RunProcess(argv);
}

ProcessResult RunMdbJson(const std::string& file, const std::string& table) {
  return RunProcess({"mdb-json", "-D", kDateFormat, "-T", kDateFormat, file, table});
}

const char* ReferenceName(Reference ref) {
  return ref == Reference::kMdbReader ? "mdb-reader" : "mdb-json";
}

ValueCheck CheckValue(Reference ref, const JsonScalar& ours, const JsonScalar* theirs) {
  if (ref == Reference::kMdbJson) return CheckWithMdbJson(ours, theirs);
  return {theirs != nullptr && ours == *theirs};
}

namespace {

// Why a row of ours differs from a reference row; empty when every value agrees.
std::vector<std::string> RowDifferences(Reference ref, const std::string& row, const JsonObject& o,
                                        const JsonObject& t, RowsComparison* counts) {
  std::vector<std::string> out;
  bool same_keys =
      ref == Reference::kMdbJson
          ? std::all_of(t.begin(), t.end(), [&](const auto& kv) { return FindKey(o, kv.first); })
          : KeyList(o) == KeyList(t);
  if (!same_keys) {
    out.push_back(row + ": columns differ: ours " + KeyList(o) + ", " + ReferenceName(ref) + " " +
                  KeyList(t));
    return out;
  }
  std::size_t values = 0, deferred = 0;
  for (const auto& [key, value] : o) {
    const JsonScalar* their_value = FindKey(t, key);
    ValueCheck check = CheckValue(ref, value, their_value);
    if (check.deferred) {
      ++deferred;
    } else if (check.equal) {
      ++values;
    } else {
      out.push_back(row + " column " + key + ": ours " + value.ToJson() + ", " +
                    ReferenceName(ref) + " " + Quote(their_value));
    }
  }
  if (counts != nullptr) {
    counts->values += values;
    counts->deferred += deferred;
  }
  return out;
}

std::vector<std::optional<JsonObject>> ParseLines(const std::string& text) {
  std::vector<std::optional<JsonObject>> rows;
  for (const std::string& line : SplitLines(text)) rows.push_back(ParseJsonObject(line, nullptr));
  return rows;
}

}  // namespace

RowsComparison CompareRows(Reference ref, const std::string& table, const std::string& ours,
                           const std::string& theirs, RowOrder order) {
  RowsComparison result;
  std::vector<std::string> failures;
  auto add = [&](std::vector<std::string> more) {
    failures.insert(failures.end(), more.begin(), more.end());
  };
  std::vector<std::optional<JsonObject>> o = ParseLines(ours), t = ParseLines(theirs);
  const std::string where = "table " + table;
  if (o.size() != t.size()) {
    add({where + ": ours has " + std::to_string(o.size()) + " rows, " + ReferenceName(ref) + " " +
         std::to_string(t.size())});
  }
  for (std::size_t i = 0; i < t.size(); ++i) {
    if (!t[i])
      add({where + " row " + std::to_string(i + 1) + ": " + ReferenceName(ref) +
           " line is not a JSON object"});
  }
  std::vector<bool> used(t.size(), false);
  for (std::size_t i = 0; i < o.size(); ++i) {
    const std::string row = where + " row " + std::to_string(i + 1);
    if (!o[i]) {
      add({row + ": our line is not a JSON object: " + SplitLines(ours)[i]});
      continue;
    }
    if (order == RowOrder::kSame) {
      if (i >= t.size() || !t[i]) continue;
      ++result.rows;
      add(RowDifferences(ref, row, *o[i], *t[i], &result));
      continue;
    }
    bool matched = false;
    for (std::size_t j = 0; j < t.size() && !matched; ++j) {
      if (used[j] || !t[j] || !RowDifferences(ref, row, *o[i], *t[j], nullptr).empty()) continue;
      used[j] = matched = true;
      ++result.rows;
      RowDifferences(ref, row, *o[i], *t[j], &result);
    }
    if (!matched)
      add({row + ": no " + ReferenceName(ref) +
           " row has the same values: " + SplitLines(ours)[i]});
  }
  for (std::size_t i = 0; i < failures.size() && i < kMaxFailuresListed; ++i) {
    result.failures.push_back(failures[i]);
  }
  if (failures.size() > kMaxFailuresListed) {
    result.failures.push_back("... and " + std::to_string(failures.size() - kMaxFailuresListed) +
                              " more differences in " + where);
  }
  return result;
}

bool HasOverflowRows(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::vector<uint8_t> b((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (b.size() < 0x100) return false;
  const bool jet3 = b[0x14] == 0;
  const std::size_t page_size = jet3 ? 2048 : 4096, count_at = jet3 ? 8 : 12;
  for (std::size_t at = page_size; at + page_size <= b.size(); at += page_size) {
    if (b[at] != 0x01) continue;
    std::size_t rows = b[at + count_at] | (b[at + count_at + 1] << 8);
    for (std::size_t r = 0; r < rows && count_at + 4 + 2 * r <= page_size; ++r) {
      std::size_t e = at + count_at + 2 + 2 * r;
      uint16_t slot = uint16_t(b[e] | (b[e + 1] << 8));
      if ((slot & 0xC000) == 0x4000) return true;
    }
  }
  return false;
}

bool SameToPrintedDigits(const std::string& ours, const std::string& printed) {
  std::string mantissa = printed.substr(0, printed.find_first_of("eE"));
  int digits = 0;
  bool leading = true;
  for (char c : mantissa) {
    if (c < '0' || c > '9') continue;
    if (leading && c == '0') continue;
    leading = false;
    ++digits;
  }
  double value = std::strtod(ours.c_str(), nullptr);
  double theirs = std::strtod(printed.c_str(), nullptr);
  if (digits == 0) return value == 0 && theirs == 0;
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.*e", digits - 1, value);
  return std::strtod(buf, nullptr) == theirs;
}

std::optional<DateParts> ParseDateTime(const std::string& text) {
  DateParts p;
  char tail[8] = {};
  int consumed = 0;
  if (text.size() < 19 || text[4] != '-' || text[10] != 'T') return std::nullopt;
  if (std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%n", &p.year, &p.month, &p.day, &p.hour,
                  &p.minute, &p.second, &consumed) != 6 ||
      consumed != 19) {
    return std::nullopt;
  }
  if (text.size() != 19) {
    if (text.size() != 23 || text[19] != '.' ||
        std::sscanf(text.c_str() + 20, "%3d%1s", &p.millisecond, tail) != 1 ||
        !std::isdigit(static_cast<unsigned char>(text[20]))) {
      return std::nullopt;
    }
  }
  if (p.month < 1 || p.month > 12 || p.day < 1 || p.day > 31 || p.hour > 24 || p.minute > 59 ||
      p.second > 59 || p.hour < 0 || p.minute < 0 || p.second < 0) {
    return std::nullopt;
  }
  return p;
}

}  // namespace px::jetcheck
