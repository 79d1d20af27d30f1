#include "platform/profile.h"

#include <charconv>
#include <cstdlib>
#include <optional>
#include <vector>

#include "platform/codepage.h"
#include "platform/environment.h"
#include "platform/files.h"
#include "platform/text_case.h"
#include "platform/utf8_path.h"

namespace px {
namespace {

// A line of the raw file: content in [begin, end), the next line at `next`.
struct Line {
  size_t begin = 0, end = 0, next = 0;
};

std::vector<Line> SplitLines(std::string_view raw) {
  std::vector<Line> lines;
  size_t i = 0;
  while (i < raw.size()) {
    size_t nl = raw.find('\n', i);
    Line line{i, nl == std::string_view::npos ? raw.size() : nl, 0};
    line.next = nl == std::string_view::npos ? raw.size() : nl + 1;
    if (line.end > line.begin && raw[line.end - 1] == '\r') --line.end;
    lines.push_back(line);
    i = line.next;
  }
  return lines;
}

enum class Kind { kOther, kSection, kEntry };

// One line understood: a section header with its name, an entry with key and raw value.
struct Parsed {
  Kind kind = Kind::kOther;
  std::string name;   // section name or key, blanks dropped
  std::string value;  // entry value, blanks dropped, quotes kept
};

Parsed ParseLine(int code_page, std::string_view raw_line) {
  Parsed p;
  auto decoded = DecodeCodePage(code_page, raw_line);
  if (!decoded.ok()) return p;
  std::string_view t = TrimBlanks(*decoded);
  if (t.empty() || t.front() == ';') return p;
  if (t.front() == '[') {
    size_t close = t.find(']');
    p.kind = Kind::kSection;
    p.name = TrimBlanks(t.substr(1, close == std::string_view::npos ? t.npos : close - 1));
    return p;
  }
  size_t eq = t.find('=');
  if (eq == std::string_view::npos) return p;
  p.kind = Kind::kEntry;
  p.name = TrimBlanks(t.substr(0, eq));
  p.value = TrimBlanks(t.substr(eq + 1));
  return p;
}

std::string_view LineText(std::string_view raw, const Line& l) {
  return raw.substr(l.begin, l.end - l.begin);
}

// Where a section and a key sit in the file.
struct Located {
  std::optional<size_t> section;  // index of the header line
  size_t section_end = 0;         // index of the first line after the section
  std::optional<size_t> entry;    // index of the key's line
  std::string value;
};

Located Locate(int code_page, std::string_view raw, const std::vector<Line>& lines,
               std::string_view section, std::string_view key) {
  Located loc;
  for (size_t i = 0; i < lines.size(); ++i) {
    Parsed p = ParseLine(code_page, LineText(raw, lines[i]));
    if (!loc.section) {
      if (p.kind == Kind::kSection && EqualsIgnoreCase(p.name, section)) loc.section = i;
      continue;
    }
    if (p.kind == Kind::kSection) {
      loc.section_end = i;
      return loc;
    }
    if (!loc.entry && p.kind == Kind::kEntry && EqualsIgnoreCase(p.name, key)) {
      loc.entry = i;
      loc.value = std::move(p.value);
    }
  }
  loc.section_end = lines.size();
  return loc;
}

std::string_view Unquote(std::string_view v) {
  if (v.size() >= 2 && v.front() == v.back() && (v.front() == '"' || v.front() == '\'')) {
    return v.substr(1, v.size() - 2);
  }
  return v;
}

// The first `max_chars` characters of UTF-8 text.
std::string FirstChars(std::string_view utf8, size_t max_chars) {
  size_t i = 0, n = 0;
  while (i < utf8.size() && n < max_chars) {
    size_t before = i;
    if (!NextUtf8(utf8, i)) i = before + 1;
    ++n;
  }
  return std::string(utf8.substr(0, i));
}

std::string_view LineEnding(std::string_view raw) {
  size_t nl = raw.find('\n');
  if (nl != std::string_view::npos && (nl == 0 || raw[nl - 1] != '\r')) return "\n";
  return "\r\n";
}

}  // namespace

Result<int> AnsiCodePage() {
  const auto env = GetEnv(kAnsiCodePageVariable);
  if (!env || env->empty()) return 1254;
  std::string_view text(*env);
  int cp = 0;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), cp);
  if (ec != std::errc() || end != text.data() + text.size() || !IsSupportedCodePage(cp)) {
    return Status::InvalidArgument(std::string(kAnsiCodePageVariable) + "=" + *env +
                                   ": code page not supported (1254 or 1252)");
  }
  return cp;
}

std::string LookUpProfileString(std::string_view raw, int code_page, std::string_view section,
                                std::string_view key, std::string_view default_value,
                                size_t buffer_size) {
  const size_t max_chars = buffer_size == 0 ? 0 : buffer_size - 1;
  const auto lines = SplitLines(raw);
  Located loc = Locate(code_page, raw, lines, section, key);
  if (loc.entry) return FirstChars(Unquote(loc.value), max_chars);
  std::string_view fallback = default_value;
  while (!fallback.empty() && fallback.back() == ' ') fallback.remove_suffix(1);
  return FirstChars(fallback, max_chars);
}

Result<std::string> ReadProfileString(std::string_view section, std::string_view key,
                                      std::string_view default_value,
                                      const std::filesystem::path& file, size_t buffer_size) {
  PX_ASSIGN_OR_RETURN(int code_page, AnsiCodePage());
  auto raw = platform::ReadFileWhole(platform::SystemFiles(), Utf8FromPath(file));
  if (!raw.ok() && !raw.status().IsNotFound()) return raw.status();
  return LookUpProfileString(raw.ok() ? std::string_view(*raw) : std::string_view(), code_page,
                             section, key, default_value, buffer_size);
}

Status WriteProfileString(std::string_view section, std::string_view key, std::string_view value,
                          const std::filesystem::path& file) {
  PX_ASSIGN_OR_RETURN(int code_page, AnsiCodePage());
  const std::string where =
      Utf8FromPath(file) + " [" + std::string(section) + "] " + std::string(key);
  auto enc = [&](std::string_view text) -> Result<std::string> {
    auto r = EncodeCodePage(code_page, text);
    if (!r.ok()) return r.status().WithContext(where);
    return r;
  };
  PX_ASSIGN_OR_RETURN(std::string section_bytes, enc(section));
  PX_ASSIGN_OR_RETURN(std::string key_bytes, enc(key));
  PX_ASSIGN_OR_RETURN(std::string value_bytes, enc(value));

  std::string raw;
  if (auto existing = platform::ReadFileWhole(platform::SystemFiles(), Utf8FromPath(file));
      existing.ok()) {
    raw = std::move(*existing);
  } else if (!existing.status().IsNotFound()) {
    return existing.status();
  }
  const std::string eol(LineEnding(raw));
  const auto lines = SplitLines(raw);
  Located loc = Locate(code_page, raw, lines, section, key);

  std::string out;
  if (loc.entry) {
    const Line& l = lines[*loc.entry];
    std::string_view text = LineText(raw, l);
    std::string_view name = text.substr(0, text.find('='));
    while (!name.empty() && (name.back() == ' ' || name.back() == '\t')) name.remove_suffix(1);
    out = raw.substr(0, l.begin) + std::string(name) + "=" + value_bytes + raw.substr(l.end);
  } else if (loc.section) {
    size_t last = *loc.section;  // the last line of the section that is not blank
    for (size_t i = *loc.section + 1; i < loc.section_end; ++i) {
      if (!TrimBlanks(LineText(raw, lines[i])).empty()) last = i;
    }
    const Line& l = lines[last];
    const bool has_eol = l.next > l.end;
    out = raw.substr(0, l.next) + (has_eol ? "" : eol) + key_bytes + "=" + value_bytes + eol +
          raw.substr(l.next);
  } else {
    out = raw;
    if (!out.empty() && out.back() != '\n') out += eol;
    out += "[" + section_bytes + "]" + eol + key_bytes + "=" + value_bytes + eol;
  }
  return platform::ReplaceFileWhole(platform::SystemFiles(), Utf8FromPath(file), out);
}

}  // namespace px
