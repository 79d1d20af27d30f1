#pragma once
// Compressed table files (".pbf"): one zlib stream (RFC 1950) at compression level 5 holding
// one file, with nothing before or after it. Both directions stream in fixed-size chunks.

#include <memory>
#include <optional>
#include <string>

#include "core/result.h"
#include "xbf/byte_stream.h"

namespace px::xbf {

inline constexpr int kPbfLevel = 5;

// A sink that compresses what it is given into `out`. Finish() ends the zlib stream; without
// it the output is incomplete. `out` must outlive the sink.
class DeflateSink : public ByteSink {
 public:
  static Result<std::unique_ptr<DeflateSink>> Create(ByteSink& out, int level = kPbfLevel);
  ~DeflateSink() override;
  DeflateSink(const DeflateSink&) = delete;
  DeflateSink& operator=(const DeflateSink&) = delete;
  Status Write(std::string_view bytes) override;
  Status Finish();

 private:
  struct State;
  explicit DeflateSink(std::unique_ptr<State> s);
  Status Pump(int flush);
  std::unique_ptr<State> s_;
};

// An input that decompresses a zlib stream read from `in`. A damaged stream, a stream that
// ends early and bytes after the end of the stream are errors naming `name` and the
// compressed offset. `in` must outlive this input.
class InflateInput : public ByteInput {
 public:
  static Result<std::unique_ptr<InflateInput>> Create(ByteInput& in, std::string name);
  ~InflateInput() override;
  InflateInput(const InflateInput&) = delete;
  InflateInput& operator=(const InflateInput&) = delete;
  Result<size_t> Read(uint8_t* buf, size_t n) override;

 private:
  struct State;
  explicit InflateInput(std::unique_ptr<State> s);
  Status CheckTrailing();
  Result<size_t> ZlibRead(uint8_t* buf, size_t n);
  Result<std::optional<size_t>> FastRead(uint8_t* buf, size_t n);  // used with ISA-L only
  Status ZlibTakesOver();
  std::unique_ptr<State> s_;
};

// Compresses the file `input` into `output` (level 5). The output appears only when complete.
Status Sikistir(const std::string& input, const std::string& output);
// Decompresses `input` into `output`. On any error `output` is left as it was. A scratch
// output (Durability::kScratch) is not flushed to disk.
Status Ac(const std::string& input, const std::string& output,
          platform::Durability durability = platform::Durability::kFlushed);
// Ac(), and meanwhile, on a second thread, the rows of the recordset file it writes are
// counted: once Ac() succeeds, `rows` holds what XbfReader::CountRows() gives for `output`
// opened afterwards (its error included, named after `output`).
Status AcVeSay(const std::string& input, const std::string& output, platform::Durability durability,
               Result<int64_t>& rows);

// Name rules of compressed packages. A compressed file is the plain file's name + ".pbf".
std::string CompressedName(const std::string& name);
// What decompression of a package file is named: the name less its last four characters
// (so "x-y.pbf" gives "x-y", and "x-ypbf" loses one character too many, as intended).
// InvalidArgument when the name has fewer than four characters.
Result<std::string> DecompressedName(const std::string& name);
// The staging name a table import decompresses into: the path with its last three characters
// replaced by "xbf" ("a-T.pbf" -> "a-T.xbf"). InvalidArgument when shorter than three.
Result<std::string> ImportStagingName(const std::string& path);
// True when the upper-cased last three characters of `name` are "PBF".
bool IsCompressedName(const std::string& name);

// Opens a table file for reading: through decompression when IsCompressedName(path).
class TableFileInput : public ByteInput {
 public:
  static Result<std::unique_ptr<TableFileInput>> Open(const std::string& path);
  Result<size_t> Read(uint8_t* buf, size_t n) override { return top_->Read(buf, n); }

 private:
  std::unique_ptr<FileInput> file_;
  std::unique_ptr<InflateInput> inflate_;
  ByteInput* top_ = nullptr;
};

}  // namespace px::xbf
