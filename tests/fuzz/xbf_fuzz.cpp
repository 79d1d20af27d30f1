// Fuzzes the recordset file reader: any input must end in rows or a clean error. Files that
// read cleanly must also survive being written again and read back with the same rows.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "xbf/byte_stream.h"
#include "xbf/xbf_reader.h"
#include "xbf/xbf_writer.h"

namespace {

constexpr size_t kMaxRows = 1000;

bool ReadAll(const std::string& text, std::vector<px::Row>& rows, px::xbf::RowsetOptions* opts,
             std::vector<px::FieldInfo>* fields) {
  px::xbf::MemoryInput in(text);
  auto reader = px::xbf::XbfReader::Open(in, "fuzz.xbf");
  if (!reader.ok()) return false;
  if (opts) *opts = (*reader)->rowset();
  if (fields) *fields = (*reader)->fields();
  px::Row row;
  while (rows.size() < kMaxRows && (*reader)->Next(row)) rows.push_back(row);
  return (*reader)->status().ok() && rows.size() < kMaxRows;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::vector<px::Row> rows;
  px::xbf::RowsetOptions opts;
  std::vector<px::FieldInfo> fields;
  if (!ReadAll(text, rows, &opts, &fields)) return 0;

  // Write what was read and read it again: the rows must be the same.
  px::xbf::StringSink sink;
  px::xbf::XbfWriter writer(sink, opts);
  if (!writer.Begin(fields).ok()) return 0;
  for (const auto& row : rows) {
    if (!writer.WriteRow(row).ok()) return 0;  // e.g. a date outside the years a file holds
  }
  if (!writer.Finish().ok()) return 0;
  std::vector<px::Row> again;
  if (!ReadAll(sink.data(), again, nullptr, nullptr)) std::abort();
  if (again.size() != rows.size()) std::abort();
  return 0;
}
