#pragma once
// Reading the JSON Lines that the row commands print: one flat object a line whose values
// are scalars. Numbers keep their text so that the exact digits can be compared.

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace px::jetcheck {

struct JsonScalar {
  enum class Kind { kNull, kBool, kNumber, kString };
  Kind kind = Kind::kNull;
  std::string text;  // number as written, decoded string (UTF-8), "true"/"false", "null"

  bool operator==(const JsonScalar&) const = default;
  // The value as JSON would print it again: strings quoted, others as is.
  std::string ToJson() const;
};

using JsonObject = std::vector<std::pair<std::string, JsonScalar>>;

// Parses one line holding a flat object; nullopt (with `error` set) when it is not one.
std::optional<JsonObject> ParseJsonObject(std::string_view line, std::string* error);

// The value of `key`, or nullptr when the object has no such key.
const JsonScalar* FindKey(const JsonObject& object, std::string_view key);

}  // namespace px::jetcheck
