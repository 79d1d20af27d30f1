#pragma once
// Byte streams for the recordset file formats: inputs that are read in chunks (a file, a
// memory buffer, a zlib stream) and sinks that are written in chunks (a string, a file that
// replaces its target only when committed). Memory use never depends on the file size.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "core/result.h"
#include "core/status.h"
#include "platform/files.h"

namespace px::xbf {

class ByteInput {
 public:
  virtual ~ByteInput() = default;
  // Reads up to `n` bytes into `buf`; 0 means the end of the input.
  virtual Result<size_t> Read(uint8_t* buf, size_t n) = 0;
  // Goes back to the first byte; NotSupported for an input that cannot be read twice.
  virtual Status Rewind() { return Status::NotSupported("the input cannot be read again"); }
};

class ByteSink {
 public:
  virtual ~ByteSink() = default;
  virtual Status Write(std::string_view bytes) = 0;
};

// Reads a borrowed buffer; the buffer must outlive the input.
class MemoryInput : public ByteInput {
 public:
  explicit MemoryInput(std::string_view data) : data_(data) {}
  Result<size_t> Read(uint8_t* buf, size_t n) override;
  Status Rewind() override {
    pos_ = 0;
    return Status::Ok();
  }

 private:
  std::string_view data_;
  size_t pos_ = 0;
};

class FileInput : public ByteInput {
 public:
  // Opens `path` for reading; NotFound / IOError naming the path.
  static Result<std::unique_ptr<FileInput>> Open(
      const std::string& path, platform::FileLayer& files = platform::SystemFiles());
  Result<size_t> Read(uint8_t* buf, size_t n) override;
  Status Rewind() override {
    pos_ = 0;
    return Status::Ok();
  }

 private:
  explicit FileInput(std::unique_ptr<platform::File> file) : file_(std::move(file)) {}
  std::unique_ptr<platform::File> file_;
  uint64_t pos_ = 0;
};

class StringSink : public ByteSink {
 public:
  Status Write(std::string_view bytes) override {
    data_.append(bytes);
    return Status::Ok();
  }
  const std::string& data() const { return data_; }

 private:
  std::string data_;
};

// A sink that replaces its target whole (platform::FileReplacement): the target changes
// only when Commit() succeeds; otherwise the temporary file is removed.
class ReplacingFile : public ByteSink {
 public:
  static Result<std::unique_ptr<ReplacingFile>> Create(
      const std::string& target, platform::FileLayer& files = platform::SystemFiles(),
      platform::Durability durability = platform::Durability::kFlushed);
  Status Write(std::string_view bytes) override;
  Status Commit() { return file_->Commit(); }
  const std::string& temp_path() const { return file_->temp_path(); }

 private:
  explicit ReplacingFile(std::unique_ptr<platform::FileReplacement> file)
      : file_(std::move(file)) {}
  std::unique_ptr<platform::FileReplacement> file_;
};

}  // namespace px::xbf
