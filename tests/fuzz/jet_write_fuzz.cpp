// Opens arbitrary bytes as an Access database for change and, inside a transaction that is
// rolled back, inserts two rows into every user table, updates every row and deletes them
// all. A damaged file may refuse any step; it must never crash, hang or read out of bounds.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "jet/writer.h"
#include "platform/files.h"

namespace {

px::Value SampleValue(const px::FieldInfo& field, int64_t n) {
  switch (field.ado_type) {
    case px::ado::kVarWChar:
    case px::ado::kLongVarWChar:
      return std::string("Çağrı ") + std::to_string(n);
    case px::ado::kBoolean:
      return n % 2 == 0;
    case px::ado::kUnsignedTinyInt:
    case px::ado::kSmallInt:
    case px::ado::kInteger:
      return field.autonumber ? px::Value(px::Null{}) : px::Value(n);
    case px::ado::kSingle:
      return static_cast<float>(n) / 4;
    case px::ado::kDouble:
      return static_cast<double>(n) / 8;
    case px::ado::kCurrency:
      return px::Currency{n * 10000};
    case px::ado::kDate:
      return px::OleDate{40000.5 + static_cast<double>(n)};
    case px::ado::kBinary:
    case px::ado::kLongVarBinary:
      return px::Binary{std::vector<uint8_t>(static_cast<size_t>(n % 7), 0xAB)};
    default:
      return px::Null{};
  }
}

std::string ScratchPath() {
  return (std::filesystem::temp_directory_path() / "px-jet-write-fuzz.mdb").string();
}

void Exercise(px::jet::Writer& writer) {
  if (!writer.Begin().ok()) return;
  std::vector<std::string> names;
  for (const px::jet::CatalogEntry& e : writer.db().tables()) {
    if (e.has_tdef() && !e.name.starts_with("MSys")) names.push_back(e.name);
  }
  for (const std::string& name : names) {
    auto schema = writer.db().ReadSchema(name);
    if (!schema.ok()) continue;
    for (int64_t n = 1; n <= 2; ++n) {
      px::Row row;
      for (const px::FieldInfo& f : schema->fields) row.push_back(SampleValue(f, n));
      (void)writer.InsertRow(name, row);
    }
    (void)writer.UpdateRows(name, [](px::Row& row) -> px::Result<bool> {
      for (px::Value& v : row) {
        if (std::holds_alternative<std::string>(v)) v = std::string(300, 'x');
      }
      return true;
    });
    (void)writer.DeleteAll(name);
  }
  (void)writer.Rollback();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = ScratchPath();
  std::FILE* out = std::fopen(path.c_str(), "wb");
  if (out == nullptr) return 0;
  const bool written = std::fwrite(data, 1, size, out) == size;
  std::fclose(out);
  if (written) {
    auto writer = px::jet::Writer::Open(px::platform::SystemFiles(), path, "fuzz.mdb");
    if (writer.ok()) Exercise(**writer);
  }
  std::remove(path.c_str());
  return 0;
}
