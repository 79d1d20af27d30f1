#pragma once
// Helpers shared by the recordset file tests.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/samples.h"
#include "support/temp_folder.h"
#include "xbf/byte_stream.h"
#include "xbf/xbf_reader.h"
#include "xbf/xbf_writer.h"

namespace px::xbf::testing {

inline std::filesystem::path SampleDir() {
  return std::filesystem::path(PX_SHARED_DIR) / "samples" / "adoxml";
}

using ::px::testing::ReadAll;

// The path of the ADO sample whose name starts with `prefix`, and its bytes.
inline std::string SampleFile(const std::string& prefix) {
  for (const auto& e : std::filesystem::directory_iterator(SampleDir())) {
    if (e.path().filename().string().rfind(prefix, 0) == 0) return e.path().string();
  }
  ADD_FAILURE() << "no sample " << prefix;
  return {};
}
inline std::string Sample(const std::string& prefix) {
  const std::string path = SampleFile(prefix);
  return path.empty() ? std::string() : ReadAll(path);
}

// Reads every row of `text`; fails the test on an error.
struct ReadBack {
  std::vector<FieldInfo> fields;
  std::vector<Row> rows;
  RowsetOptions rowset;
  Status status;
};

inline ReadBack ReadText(const std::string& text) {
  ReadBack out;
  MemoryInput in(text);
  auto r = XbfReader::Open(in, "test.xbf");
  if (!r.ok()) {
    out.status = r.status();
    return out;
  }
  out.fields = (*r)->fields();
  out.rowset = (*r)->rowset();
  Row row;
  while ((*r)->Next(row)) out.rows.push_back(row);
  out.status = (*r)->status();
  return out;
}

// Reads `text` and writes it again with the same schema and rowset properties.
inline std::string Rewrite(const std::string& text, Status* status = nullptr) {
  MemoryInput in(text);
  StringSink sink;
  auto r = XbfReader::Open(in, "test.xbf");
  Status st = r.ok() ? WriteRecordset(**r, sink, (*r)->rowset()) : r.status();
  if (status) *status = st;
  return sink.data();
}

// LF line ends to CRLF (samples whose committer normalised the line ends).
inline std::string ToCrlf(const std::string& s) {
  std::string out;
  for (char c : s) {
    if (c == '\n') out += '\r';
    out += c;
  }
  return out;
}

}  // namespace px::xbf::testing
