#pragma once
// Message boxes in test failures, and lists of boxes compared field by field where a box's
// text may hold "*" for any run of characters (an engine's message inside "Hata Kodu: ...").

#include <gtest/gtest.h>

#include <initializer_list>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "operator/operator.h"

namespace px::op {
inline void PrintTo(const Box& b, std::ostream* os) {
  *os << "{\"" << b.text << "\", \"" << b.title << "\", icon " << int(b.icon) << ", buttons "
      << int(b.buttons) << ", default " << b.default_button << "}";
}
}  // namespace px::op

namespace px::testing {

// True when `text` is `pattern` with each "*" standing for any characters.
inline bool GlobMatches(std::string_view pattern, std::string_view text) {
  size_t star = pattern.find('*');
  if (star == std::string_view::npos) return pattern == text;
  if (!text.starts_with(pattern.substr(0, star))) return false;
  text.remove_prefix(star);
  pattern.remove_prefix(star + 1);
  while ((star = pattern.find('*')) != std::string_view::npos) {
    const size_t at = text.find(pattern.substr(0, star));
    if (at == std::string_view::npos) return false;
    text.remove_prefix(at + star);
    pattern.remove_prefix(star + 1);
  }
  return text.ends_with(pattern);
}

// Every box as wanted: text (with "*"), title, icon, buttons and default button, in order.
inline ::testing::AssertionResult BoxesMatch(const std::vector<op::Box>& shown,
                                             const std::vector<op::Box>& wanted) {
  bool same = shown.size() == wanted.size();
  for (size_t i = 0; same && i < shown.size(); ++i) {
    const op::Box& s = shown[i];
    const op::Box& w = wanted[i];
    same = GlobMatches(w.text, s.text) && s.title == w.title && s.icon == w.icon &&
           s.buttons == w.buttons && s.default_button == w.default_button;
  }
  if (same) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "shown  " << ::testing::PrintToString(shown)
                                       << "\nwanted " << ::testing::PrintToString(wanted);
}

// The names of the flags that hold, blank-separated: what a run came to, in one comparable text.
inline std::string Flags(std::initializer_list<std::pair<bool, const char*>> flags) {
  std::string out;
  for (const auto& [on, name] : flags) {
    if (on) out += (out.empty() ? "" : " ") + std::string(name);
  }
  return out;
}

}  // namespace px::testing
