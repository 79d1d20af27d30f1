#pragma once
// Byte streams for the recordset file formats: inputs that are read in chunks (a file, a
// memory buffer, a zlib stream) and sinks that are written in chunks (a string, a file that
// replaces its target only when committed). Memory use never depends on the file size.

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "core/result.h"
#include "core/status.h"

namespace px::xbf {

class ByteInput {
 public:
  virtual ~ByteInput() = default;
  // Reads up to `n` bytes into `buf`; 0 means the end of the input.
  virtual Result<size_t> Read(uint8_t* buf, size_t n) = 0;
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

 private:
  std::string_view data_;
  size_t pos_ = 0;
};

class FileInput : public ByteInput {
 public:
  // Opens `path` for reading; NotFound / IOError naming the path.
  static Result<std::unique_ptr<FileInput>> Open(const std::string& path);
  ~FileInput() override;
  FileInput(const FileInput&) = delete;
  FileInput& operator=(const FileInput&) = delete;
  Result<size_t> Read(uint8_t* buf, size_t n) override;

 private:
  FileInput(std::FILE* f, std::string path) : file_(f), path_(std::move(path)) {}
  std::FILE* file_;
  std::string path_;
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

// Writes to a temporary file in the target's folder; Commit() flushes it to disk and renames
// it over the target. Until then the target is untouched, and a file that is destroyed
// without a successful Commit() removes its temporary file.
class ReplacingFile : public ByteSink {
 public:
  static Result<std::unique_ptr<ReplacingFile>> Create(const std::string& target);
  ~ReplacingFile() override;
  ReplacingFile(const ReplacingFile&) = delete;
  ReplacingFile& operator=(const ReplacingFile&) = delete;

  Status Write(std::string_view bytes) override;
  Status Commit();
  const std::string& temp_path() const { return temp_path_; }

 private:
  ReplacingFile(int fd, std::string target, std::string temp)
      : fd_(fd), target_(std::move(target)), temp_path_(std::move(temp)) {}
  void Discard();

  int fd_;
  std::string target_;
  std::string temp_path_;
  bool committed_ = false;
  Status error_;  // the first write error; later calls return it again
};

}  // namespace px::xbf
