#include "xbf/pbf.h"

#include <zlib.h>

#include <vector>

#include "xbf/parallel_deflate.h"

namespace px::xbf {

namespace {

constexpr size_t kChunk = 64 * 1024;

std::string ZlibMessage(const z_stream& z, int rc) {
  if (z.msg) return z.msg;
  return "zlib error " + std::to_string(rc);
}

}  // namespace

struct DeflateSink::State {
  ByteSink* out = nullptr;
  z_stream z{};
  std::vector<uint8_t> buf = std::vector<uint8_t>(kChunk);
  bool finished = false;
  Status error;
};

DeflateSink::DeflateSink(std::unique_ptr<State> s) : s_(std::move(s)) {}

DeflateSink::~DeflateSink() {
  deflateEnd(&s_->z);
}

Result<std::unique_ptr<DeflateSink>> DeflateSink::Create(ByteSink& out, int level) {
  auto s = std::make_unique<State>();
  s->out = &out;
  if (deflateInit(&s->z, level) != Z_OK) return Status::InvalidArgument("cannot start zlib");
  return std::unique_ptr<DeflateSink>(new DeflateSink(std::move(s)));
}

Status DeflateSink::Pump(int flush) {
  z_stream& z = s_->z;
  int rc;
  do {
    z.next_out = s_->buf.data();
    z.avail_out = uInt(s_->buf.size());
    rc = deflate(&z, flush);
    if (rc == Z_STREAM_ERROR) return s_->error = Status::InvalidArgument(ZlibMessage(z, rc));
    const size_t have = s_->buf.size() - z.avail_out;
    if (have) {
      Status st =
          s_->out->Write(std::string_view(reinterpret_cast<const char*>(s_->buf.data()), have));
      if (!st.ok()) return s_->error = st;
    }
  } while (z.avail_out == 0 || (flush == Z_FINISH && rc != Z_STREAM_END));
  return Status::Ok();
}

Status DeflateSink::Write(std::string_view bytes) {
  if (!s_->error.ok()) return s_->error;
  if (s_->finished)
    return s_->error = Status::InvalidArgument("write after the end of a zlib stream");
  while (!bytes.empty()) {
    const size_t take = std::min<size_t>(bytes.size(), kChunk);
    s_->z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    s_->z.avail_in = uInt(take);
    PX_RETURN_IF_ERROR(Pump(Z_NO_FLUSH));
    bytes.remove_prefix(take);
  }
  return Status::Ok();
}

Status DeflateSink::Finish() {
  if (!s_->error.ok()) return s_->error;
  if (s_->finished) return Status::Ok();
  s_->z.next_in = nullptr;
  s_->z.avail_in = 0;
  PX_RETURN_IF_ERROR(Pump(Z_FINISH));
  s_->finished = true;
  return Status::Ok();
}

struct InflateInput::State {
  ByteInput* in = nullptr;
  std::string name;
  z_stream z{};
  std::vector<uint8_t> buf = std::vector<uint8_t>(kChunk);
  uint64_t consumed = 0;  // compressed bytes handed to zlib so far
  bool input_done = false;
  bool stream_end = false;
  Status error;
};

InflateInput::InflateInput(std::unique_ptr<State> s) : s_(std::move(s)) {}

InflateInput::~InflateInput() {
  inflateEnd(&s_->z);
}

Result<std::unique_ptr<InflateInput>> InflateInput::Create(ByteInput& in, std::string name) {
  auto s = std::make_unique<State>();
  s->in = &in;
  s->name = std::move(name);
  if (inflateInit(&s->z) != Z_OK) return Status::InvalidArgument("cannot start zlib");
  return std::unique_ptr<InflateInput>(new InflateInput(std::move(s)));
}

Status InflateInput::CheckTrailing() {
  // Bytes after the end of the stream mean the file is not what we wrote.
  if (s_->z.avail_in > 0) {
    return Status::Corruption(s_->name +
                              ": data after the end of the compressed stream at offset " +
                              std::to_string(s_->consumed - s_->z.avail_in));
  }
  uint8_t extra;
  PX_ASSIGN_OR_RETURN(size_t n, s_->in->Read(&extra, 1));
  if (n) {
    return Status::Corruption(s_->name +
                              ": data after the end of the compressed stream at offset " +
                              std::to_string(s_->consumed));
  }
  return Status::Ok();
}

Result<size_t> InflateInput::Read(uint8_t* buf, size_t n) {
  State& s = *s_;
  if (!s.error.ok()) return s.error;
  if (s.stream_end || n == 0) return size_t(0);
  s.z.next_out = buf;
  s.z.avail_out = uInt(std::min<size_t>(n, 1u << 30));
  while (s.z.avail_out == uInt(std::min<size_t>(n, 1u << 30))) {
    if (s.z.avail_in == 0 && !s.input_done) {
      auto got = s.in->Read(s.buf.data(), s.buf.size());
      if (!got.ok()) return s.error = got.status();
      if (*got == 0) s.input_done = true;
      s.z.next_in = s.buf.data();
      s.z.avail_in = uInt(*got);
      s.consumed += *got;
    }
    const int rc = inflate(&s.z, Z_NO_FLUSH);
    if (rc == Z_STREAM_END) {
      s.stream_end = true;
      Status st = CheckTrailing();
      if (!st.ok()) return s.error = st;
      break;
    }
    if (rc == Z_BUF_ERROR && s.input_done) {
      return s.error = Status::Corruption(s.name + ": compressed stream ends early at offset " +
                                          std::to_string(s.consumed));
    }
    if (rc != Z_OK && rc != Z_BUF_ERROR) {
      return s.error = Status::Corruption(s.name + ": damaged compressed stream near offset " +
                                          std::to_string(s.consumed - s.z.avail_in) + ": " +
                                          ZlibMessage(s.z, rc));
    }
  }
  return std::min<size_t>(n, 1u << 30) - s.z.avail_out;
}

namespace {

Status Copy(ByteInput& in, ByteSink& out) {
  std::vector<uint8_t> buf(kChunk);
  for (;;) {
    PX_ASSIGN_OR_RETURN(size_t n, in.Read(buf.data(), buf.size()));
    if (n == 0) return Status::Ok();
    PX_RETURN_IF_ERROR(out.Write(std::string_view(reinterpret_cast<const char*>(buf.data()), n)));
  }
}

}  // namespace

Status Sikistir(const std::string& input, const std::string& output) {
  PX_ASSIGN_OR_RETURN(auto in, FileInput::Open(input));
  PX_ASSIGN_OR_RETURN(auto file, ReplacingFile::Create(output));
  PX_ASSIGN_OR_RETURN(auto deflate, ParallelDeflateSink::Create(*file, kPbfLevel));
  PX_RETURN_IF_ERROR(Copy(*in, *deflate));
  PX_RETURN_IF_ERROR(deflate->Finish());
  return file->Commit();
}

Status Ac(const std::string& input, const std::string& output, platform::Durability durability) {
  PX_ASSIGN_OR_RETURN(auto in, FileInput::Open(input));
  PX_ASSIGN_OR_RETURN(auto inflate, InflateInput::Create(*in, input));
  PX_ASSIGN_OR_RETURN(auto file,
                      ReplacingFile::Create(output, platform::SystemFiles(), durability));
  PX_RETURN_IF_ERROR(Copy(*inflate, *file));
  return file->Commit();
}

std::string CompressedName(const std::string& name) {
  return name + ".pbf";
}

Result<std::string> DecompressedName(const std::string& name) {
  if (name.size() < 4) return Status::InvalidArgument(name + ": name too short to drop \".pbf\"");
  return name.substr(0, name.size() - 4);
}

Result<std::string> ImportStagingName(const std::string& path) {
  if (path.size() < 3) return Status::InvalidArgument(path + ": name too short for an extension");
  return path.substr(0, path.size() - 3) + "xbf";
}

bool IsCompressedName(const std::string& name) {
  if (name.size() < 3) return false;
  std::string tail = name.substr(name.size() - 3);
  for (char& c : tail) c = char(std::toupper(static_cast<unsigned char>(c)));
  return tail == "PBF";
}

Result<std::unique_ptr<TableFileInput>> TableFileInput::Open(const std::string& path) {
  auto t = std::unique_ptr<TableFileInput>(new TableFileInput());
  PX_ASSIGN_OR_RETURN(t->file_, FileInput::Open(path));
  t->top_ = t->file_.get();
  if (IsCompressedName(path)) {
    PX_ASSIGN_OR_RETURN(t->inflate_, InflateInput::Create(*t->file_, path));
    t->top_ = t->inflate_.get();
  }
  return t;
}

}  // namespace px::xbf
