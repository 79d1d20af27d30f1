#include "jetcheck/jsonl_helpers.h"

#include <nlohmann/json.hpp>

namespace px::jetcheck {
namespace {

using json = nlohmann::json;
using K = JsonScalar::Kind;

// Collects the members of one flat object; a number keeps the text it was written with.
class FlatObject final : public nlohmann::json_sax<json> {
 public:
  JsonObject object;
  std::string error;

  bool null() override { return Add(K::kNull, "null"); }
  bool boolean(bool v) override { return Add(K::kBool, v ? "true" : "false"); }
  bool number_integer(number_integer_t v) override { return Add(K::kNumber, std::to_string(v)); }
  bool number_unsigned(number_unsigned_t v) override { return Add(K::kNumber, std::to_string(v)); }
  bool number_float(number_float_t, const string_t& s) override { return Add(K::kNumber, s); }
  bool string(string_t& s) override { return Add(K::kString, s); }
  bool binary(binary_t&) override { return Fail("binary value"); }
  bool start_object(std::size_t) override { return ++depth_ == 1 || Fail("nested object"); }
  bool key(string_t& k) override {
    key_ = k;
    return true;
  }
  bool end_object() override { return --depth_ == 0; }
  bool start_array(std::size_t) override { return Fail("array value"); }
  bool end_array() override { return false; }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& e) override {
    return Fail(e.what());
  }

 private:
  bool Add(K kind, std::string text) {
    if (depth_ != 1) return Fail("a value outside an object");
    object.emplace_back(std::move(key_), JsonScalar{kind, std::move(text)});
    return true;
  }
  bool Fail(const std::string& why) {
    error = why;
    return false;
  }

  int depth_ = 0;
  std::string key_;
};

}  // namespace

std::string JsonScalar::ToJson() const {
  if (kind != Kind::kString) return text;
  return json(text).dump(-1, ' ', false, json::error_handler_t::replace);
}

std::optional<JsonObject> ParseJsonObject(std::string_view line, std::string* error) {
  FlatObject sax;
  if (json::sax_parse(line, &sax)) return std::move(sax.object);
  if (error != nullptr) *error = sax.error;
  return std::nullopt;
}

const JsonScalar* FindKey(const JsonObject& object, std::string_view key) {
  for (const auto& [k, v] : object) {
    if (k == key) return &v;
  }
  return nullptr;
}

}  // namespace px::jetcheck
