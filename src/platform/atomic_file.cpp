#include "platform/atomic_file.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <system_error>

namespace px {
namespace fs = std::filesystem;

namespace {

fs::path TempNameBeside(const fs::path& target) {
  static std::atomic<unsigned> counter{0};
  const auto tick = std::chrono::steady_clock::now().time_since_epoch().count();
  return target.parent_path() / ("." + target.filename().string() + ".tmp" + std::to_string(tick) +
                                 "-" + std::to_string(counter++));
}

}  // namespace

Status WriteFileAtomically(const fs::path& target, std::string_view content) {
  const fs::path temp = TempNameBeside(target);
  {
    std::ofstream out(temp, std::ios::binary | std::ios::trunc);
    if (!out) return Status::IOError("cannot create " + temp.string());
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    out.flush();
    if (!out) {
      out.close();
      std::error_code ignored;
      fs::remove(temp, ignored);
      return Status::IOError("cannot write " + temp.string());
    }
  }
  std::error_code ec;
  if (fs::exists(target, ec)) {
    fs::permissions(temp, fs::status(target, ec).permissions(), ec);
  }
  fs::rename(temp, target, ec);
  if (ec) {
    std::error_code ignored;
    fs::remove(temp, ignored);
    return Status::IOError("cannot replace " + target.string() + ": " + ec.message());
  }
  return Status::Ok();
}

Result<std::string> ReadWholeFile(const fs::path& file, size_t max_bytes) {
  std::error_code ec;
  if (!fs::is_regular_file(file, ec)) return Status::NotFound(file.string() + " not found");
  const auto size = fs::file_size(file, ec);
  if (ec) return Status::IOError("cannot size " + file.string() + ": " + ec.message());
  if (size > max_bytes) {
    return Status::InvalidArgument(file.string() + " is larger than " + std::to_string(max_bytes) +
                                   " bytes");
  }
  std::ifstream in(file, std::ios::binary);
  if (!in) return Status::IOError("cannot open " + file.string());
  std::string content(static_cast<size_t>(size), '\0');
  in.read(content.data(), static_cast<std::streamsize>(content.size()));
  content.resize(static_cast<size_t>(in.gcount()));
  return content;
}

}  // namespace px
