#include "xbf/pbf.h"

#include <zlib.h>

#if PX_HAVE_ISAL
#include <isa-l/igzip_lib.h>
#endif

#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "xbf/parallel_deflate.h"
#include "xbf/xbf_reader.h"

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
  bool z_started = false;
#if PX_HAVE_ISAL
  std::unique_ptr<inflate_state> fast;  // until zlib takes over
#endif
  std::vector<uint8_t> buf = std::vector<uint8_t>(kChunk);
  uint64_t consumed = 0;  // compressed bytes handed to the inflater so far
  uint64_t given = 0;     // decompressed bytes handed out so far
  bool input_done = false;
  bool stream_end = false;
  Status error;
};

InflateInput::InflateInput(std::unique_ptr<State> s) : s_(std::move(s)) {}

InflateInput::~InflateInput() {
  if (s_->z_started) inflateEnd(&s_->z);
}

Result<std::unique_ptr<InflateInput>> InflateInput::Create(ByteInput& in, std::string name) {
  auto s = std::make_unique<State>();
  s->in = &in;
  s->name = std::move(name);
#if PX_HAVE_ISAL
  s->fast = std::make_unique<inflate_state>();
  isal_inflate_init(s->fast.get());
  s->fast->crc_flag = ISAL_ZLIB;  // header checked, Adler-32 of the output verified
#else
  if (inflateInit(&s->z) != Z_OK) return Status::InvalidArgument("cannot start zlib");
  s->z_started = true;
#endif
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
#if PX_HAVE_ISAL
  if (s.fast) {
    Result<std::optional<size_t>> got = FastRead(buf, n);
    if (!got.ok()) return s.error = got.status();
    if (*got) {
      s.given += **got;
      return **got;
    }
    PX_RETURN_IF_ERROR(ZlibTakesOver());
  }
#endif
  return ZlibRead(buf, n);
}

#if PX_HAVE_ISAL
// ISA-L's inflate, until anything but a sound stream: then nullopt, and zlib reads the stream
// again to say what is wrong with it, in the words and at the offsets it always used. (ISA-L
// also takes some streams zlib refuses: an incomplete code of distances that the data never
// uses. Such a stream still decompresses to bytes whose Adler-32 matches.)
Result<std::optional<size_t>> InflateInput::FastRead(uint8_t* buf, size_t n) {
  State& s = *s_;
  inflate_state& f = *s.fast;
  const auto want = uint32_t(std::min<size_t>(n, 1u << 30));
  f.next_out = buf;
  f.avail_out = want;
  while (f.avail_out == want) {
    if (f.avail_in == 0 && !s.input_done) {
      PX_ASSIGN_OR_RETURN(size_t got, s.in->Read(s.buf.data(), s.buf.size()));
      if (got == 0) s.input_done = true;
      f.next_in = s.buf.data();
      f.avail_in = uint32_t(got);
      s.consumed += got;
    }
    if (isal_inflate(&f) != ISAL_DECOMP_OK) return std::optional<size_t>();
    if (f.block_state == ISAL_BLOCK_FINISH) {
      if (f.avail_in > 0) return std::optional<size_t>();
      uint8_t extra;
      PX_ASSIGN_OR_RETURN(size_t more, s.in->Read(&extra, 1));
      if (more) return std::optional<size_t>();
      s.stream_end = true;
      break;
    }
    if (s.input_done && f.avail_in == 0 && f.avail_out == want) return std::optional<size_t>();
  }
  return std::optional<size_t>(want - f.avail_out);
}

Status InflateInput::ZlibTakesOver() {
  State& s = *s_;
  s.fast.reset();
  Status rewound = s.in->Rewind();
  if (!rewound.ok()) {
    return s.error = Status::Corruption(s.name + ": damaged compressed stream near offset " +
                                        std::to_string(s.consumed));
  }
  s.consumed = 0;
  s.input_done = false;
  s.stream_end = false;
  if (inflateInit(&s.z) != Z_OK) return s.error = Status::InvalidArgument("cannot start zlib");
  s.z_started = true;
  // The bytes handed out already are passed over; a stream damaged before them fails here.
  std::vector<uint8_t> scratch(kChunk);
  for (uint64_t left = s.given; left > 0;) {
    PX_ASSIGN_OR_RETURN(size_t got, ZlibRead(scratch.data(), std::min<uint64_t>(left, kChunk)));
    if (got == 0) break;
    left -= got;
  }
  return Status::Ok();
}
#endif

Result<size_t> InflateInput::ZlibRead(uint8_t* buf, size_t n) {
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

// Decompressed bytes are handed on in pieces of this size: larger ones cost fewer calls of
// the inflater and of the file system, and four of them in flight stay well within memory.
constexpr size_t kOutChunk = 256 * 1024;

Status Copy(ByteInput& in, ByteSink& out) {
  std::vector<uint8_t> buf(kOutChunk);
  for (;;) {
    PX_ASSIGN_OR_RETURN(size_t n, in.Read(buf.data(), buf.size()));
    if (n == 0) return Status::Ok();
    PX_RETURN_IF_ERROR(out.Write(std::string_view(reinterpret_cast<const char*>(buf.data()), n)));
  }
}

// Pieces of a byte stream passed from one thread to another: the writer fills free pieces
// and hands them on in order, the reader reads them as a ByteInput and frees them. At most
// kPieces pieces exist, so a writer ahead of its reader waits.
class Pipe : public ByteInput {
 public:
  static constexpr size_t kPieces = 4;

  Pipe() {
    for (auto& p : pieces_) free_.push_back(&p);
  }
  // A free piece to fill, sized kOutChunk; null once the reader has gone.
  std::vector<uint8_t>* Take() {
    std::unique_lock lock(mu_);
    changed_.wait(lock, [&] { return !free_.empty() || reader_gone_; });
    if (reader_gone_) return nullptr;
    std::vector<uint8_t>* p = free_.front();
    free_.pop_front();
    p->resize(kOutChunk);
    return p;
  }
  // Hands on the first `n` bytes of a piece from Take().
  void Give(std::vector<uint8_t>* p, size_t n) {
    p->resize(n);
    {
      std::lock_guard lock(mu_);
      full_.push_back(p);
    }
    changed_.notify_all();
  }
  // No more pieces: the end of the stream, or `why` it broke off.
  void Close(Status why) {
    {
      std::lock_guard lock(mu_);
      closed_ = true;
      why_ = std::move(why);
    }
    changed_.notify_all();
  }
  // The reader takes no more; the writer's pieces are freed from now on.
  void ReaderGone() {
    {
      std::lock_guard lock(mu_);
      reader_gone_ = true;
    }
    changed_.notify_all();
  }

  Result<size_t> Read(uint8_t* buf, size_t n) override {
    if (current_ == nullptr) {
      std::unique_lock lock(mu_);
      changed_.wait(lock, [&] { return !full_.empty() || closed_; });
      if (full_.empty()) {
        if (!why_.ok()) return why_;
        return size_t(0);
      }
      current_ = full_.front();
      full_.pop_front();
      at_ = 0;
    }
    const size_t take = std::min(n, current_->size() - at_);
    std::memcpy(buf, current_->data() + at_, take);
    at_ += take;
    if (at_ == current_->size()) {
      {
        std::lock_guard lock(mu_);
        free_.push_back(current_);
      }
      current_ = nullptr;
      changed_.notify_all();
    }
    return take;
  }

 private:
  std::vector<uint8_t> pieces_[kPieces];
  std::mutex mu_;
  std::condition_variable changed_;
  std::deque<std::vector<uint8_t>*> free_, full_;
  bool closed_ = false, reader_gone_ = false;
  Status why_;
  std::vector<uint8_t>* current_ = nullptr;  // the reader's piece
  size_t at_ = 0;
};

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

Status AcVeSay(const std::string& input, const std::string& output, platform::Durability durability,
               Result<int64_t>& rows) {
  PX_ASSIGN_OR_RETURN(auto in, FileInput::Open(input));
  PX_ASSIGN_OR_RETURN(auto inflate, InflateInput::Create(*in, input));
  PX_ASSIGN_OR_RETURN(auto file,
                      ReplacingFile::Create(output, platform::SystemFiles(), durability));
  // The count reads the file's bytes as a reader of `output` would, on a thread of its own,
  // while this one decompresses and writes them.
  Pipe pipe;
  Result<int64_t> counted = int64_t{0};
  std::thread counter([&] {
    counted = [&]() -> Result<int64_t> {
      PX_ASSIGN_OR_RETURN(auto reader, XbfReader::Open(pipe, output));
      return reader->CountRows();
    }();
    pipe.ReaderGone();
  });
  Status st = [&]() -> Status {
    for (;;) {
      std::vector<uint8_t>* piece = pipe.Take();
      std::vector<uint8_t> own;
      if (piece == nullptr) {  // the count has ended early; the file is still written whole
        own.resize(kOutChunk);
        piece = &own;
      }
      PX_ASSIGN_OR_RETURN(size_t n, inflate->Read(piece->data(), piece->size()));
      PX_RETURN_IF_ERROR(
          file->Write(std::string_view(reinterpret_cast<const char*>(piece->data()), n)));
      if (piece != &own && n > 0) pipe.Give(piece, n);
      if (n == 0) return Status::Ok();
    }
  }();
  pipe.Close(st.ok() ? Status::Ok() : Status::Corruption(output + ": not decompressed whole"));
  counter.join();
  PX_RETURN_IF_ERROR(st);
  PX_RETURN_IF_ERROR(file->Commit());
  rows = std::move(counted);
  return Status::Ok();
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
