#include "xbf/byte_stream.h"

#include <algorithm>
#include <cstring>

namespace px::xbf {

Result<size_t> MemoryInput::Read(uint8_t* buf, size_t n) {
  const size_t take = std::min(n, data_.size() - pos_);
  std::memcpy(buf, data_.data() + pos_, take);
  pos_ += take;
  return take;
}

Result<std::unique_ptr<FileInput>> FileInput::Open(const std::string& path,
                                                   platform::FileLayer& files) {
  PX_ASSIGN_OR_RETURN(auto file, files.Open(path, platform::OpenMode::kRead));
  return std::unique_ptr<FileInput>(new FileInput(std::move(file)));
}

Result<size_t> FileInput::Read(uint8_t* buf, size_t n) {
  PX_ASSIGN_OR_RETURN(size_t got, file_->ReadAt(pos_, {buf, n}));
  pos_ += got;
  return got;
}

Result<std::unique_ptr<ReplacingFile>> ReplacingFile::Create(const std::string& target,
                                                             platform::FileLayer& files,
                                                             platform::Durability durability) {
  PX_ASSIGN_OR_RETURN(auto file, platform::FileReplacement::Create(files, target, durability));
  return std::unique_ptr<ReplacingFile>(new ReplacingFile(std::move(file)));
}

Status ReplacingFile::Write(std::string_view bytes) {
  return file_->Write({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
}

}  // namespace px::xbf
