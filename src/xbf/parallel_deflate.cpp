#include "xbf/parallel_deflate.h"

#include <zlib.h>

#if PX_HAVE_LIBDEFLATE
#include <libdeflate.h>
#endif

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace px::xbf {
namespace {

constexpr size_t kDictionary = size_t{32} << 10;

struct Job {
  std::string dictionary;
  std::string input;
  bool last = false;
  // Filled by the worker.
  std::string output;
  Status status;
  bool done = false;
};

#if PX_HAVE_LIBDEFLATE
// libdeflate compresses a whole buffer about half again as fast as zlib at the same level,
// but only into a complete deflate stream and without a preset dictionary. Each block is
// therefore compressed on its own and then made to continue: zlib's inflate walks the
// block headers (Z_BLOCK) to find the final block, whose "last" bit is cleared, and an empty
// stored block (3 zero header bits, padding, 00 00 FF FF) takes the stream to a byte
// boundary, as a sync flush does. The last job of the file stays final.
struct BlockPosition {
  size_t byte = 0;
  int bit = 0;  // 0 = least significant
};

Status MakeContinuable(std::string& out) {
  z_stream z{};
  if (inflateInit2(&z, -15) != Z_OK) return Status::IOError("cannot start zlib");
  std::string sink(size_t{64} << 10, '\0');
  z.next_in = reinterpret_cast<Bytef*>(out.data());
  z.avail_in = uInt(out.size());
  BlockPosition last_header;  // the first block starts at bit 0 of byte 0
  int unused_at_end = 0;
  int rc = Z_OK;
  while (rc == Z_OK) {
    z.next_out = reinterpret_cast<Bytef*>(sink.data());
    z.avail_out = uInt(sink.size());
    rc = inflate(&z, Z_BLOCK);
    const size_t used = out.size() - z.avail_in;
    if (rc == Z_OK && (z.data_type & 128)) {
      // At a block boundary. After the final block: the unused bits of the last byte are
      // padding. Otherwise the next header starts after them.
      const int unused = z.data_type & 7;
      if (z.data_type & 64) {
        unused_at_end = unused;
      } else {
        last_header = unused ? BlockPosition{used - 1, 8 - unused} : BlockPosition{used, 0};
      }
    }
  }
  const bool whole = rc == Z_STREAM_END && z.avail_in == 0;
  inflateEnd(&z);
  if (!whole || last_header.byte >= out.size()) {
    return Status::IOError("a compressed block does not read back");
  }
  out[last_header.byte] = char(out[last_header.byte] & ~(1 << last_header.bit));
  // The end: unused high bits of the last byte are zero; the stored block's header takes 3.
  out.back() = char(out.back() & ((1 << (8 - unused_at_end)) - 1));
  if (unused_at_end < 3) out += '\0';
  out.append("\0\0\xFF\xFF", 4);
  return Status::Ok();
}

Status DeflateBlock(Job& job, int level) {
  struct Compressor {
    libdeflate_compressor* c = nullptr;
    int level = -1;
    ~Compressor() { libdeflate_free_compressor(c); }
  };
  thread_local Compressor compressor;
  if (compressor.level != level) {
    libdeflate_free_compressor(compressor.c);
    compressor.c = libdeflate_alloc_compressor(level);
    compressor.level = level;
  }
  if (!compressor.c) return Status::IOError("cannot start libdeflate");
  job.output.resize(libdeflate_deflate_compress_bound(compressor.c, job.input.size()));
  const size_t n = libdeflate_deflate_compress(compressor.c, job.input.data(), job.input.size(),
                                               job.output.data(), job.output.size());
  if (n == 0) return Status::IOError("libdeflate could not compress a block");
  job.output.resize(n);
  return job.last ? Status::Ok() : MakeContinuable(job.output);
}
#else
// Raw deflate of one block with the 32 KB before it as preset dictionary; sync-flushed
// unless last. Each worker keeps its deflater from block to block (a reset costs far less
// than setting one up).
Status DeflateBlock(Job& job, int level) {
  struct Deflater {
    z_stream z{};
    int level = -1;
    ~Deflater() {
      if (level >= 0) deflateEnd(&z);
    }
  };
  thread_local Deflater d;
  if (d.level != level) {
    if (d.level >= 0) deflateEnd(&d.z);
    d.z = z_stream{};
    d.level = -1;
    if (deflateInit2(&d.z, level, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
      return Status::InvalidArgument("cannot start zlib");
    }
    d.level = level;
  } else if (deflateReset(&d.z) != Z_OK) {
    return Status::IOError("cannot restart zlib");
  }
  z_stream& z = d.z;
  if (!job.dictionary.empty()) {
    deflateSetDictionary(&z, reinterpret_cast<const Bytef*>(job.dictionary.data()),
                         uInt(job.dictionary.size()));
  }
  job.output.resize(deflateBound(&z, uLong(job.input.size())) + 16);
  z.next_in = reinterpret_cast<Bytef*>(job.input.data());
  z.avail_in = uInt(job.input.size());
  z.next_out = reinterpret_cast<Bytef*>(job.output.data());
  z.avail_out = uInt(job.output.size());
  const int rc = deflate(&z, job.last ? Z_FINISH : Z_SYNC_FLUSH);
  const bool ok = job.last ? rc == Z_STREAM_END : (rc == Z_OK && z.avail_in == 0);
  job.output.resize(job.output.size() - z.avail_out);
  return ok ? Status::Ok() : Status::IOError("zlib could not compress a block");
}
#endif

}  // namespace

struct ParallelDeflateSink::State {
  ByteSink* out = nullptr;
  int level = 5;
  std::string block;  // input gathered for the next job
  std::string tail;   // the last 32 KB of input handed out
  uLong adler = adler32(0, nullptr, 0);
  size_t max_in_flight = 4;
  bool header_written = false;
  bool finished = false;
  Status error;

  std::mutex mu;
  std::condition_variable work_ready;
  std::condition_variable job_done;
  std::deque<std::shared_ptr<Job>> queue;      // waiting for a worker
  std::deque<std::shared_ptr<Job>> in_flight;  // in input order, until written
  std::vector<Job> spare;  // written jobs, whose buffers the next jobs take over
  bool stopping = false;
  std::vector<std::thread> workers;

  void Work() {
    for (;;) {
      std::shared_ptr<Job> job;
      {
        std::unique_lock lock(mu);
        work_ready.wait(lock, [&] { return stopping || !queue.empty(); });
        if (queue.empty()) return;
        job = queue.front();
        queue.pop_front();
      }
      Status st = DeflateBlock(*job, level);
      {
        std::lock_guard lock(mu);
        job->status = std::move(st);
        job->done = true;
      }
      job_done.notify_all();
    }
  }

  void Stop() {
    {
      std::lock_guard lock(mu);
      stopping = true;
    }
    work_ready.notify_all();
    for (auto& t : workers) t.join();
    workers.clear();
  }
};

ParallelDeflateSink::ParallelDeflateSink(std::unique_ptr<State> s) : s_(std::move(s)) {}

ParallelDeflateSink::~ParallelDeflateSink() {
  s_->Stop();
}

Result<std::unique_ptr<ParallelDeflateSink>> ParallelDeflateSink::Create(ByteSink& out, int level,
                                                                         unsigned threads) {
  if (level < 0 || level > 9) return Status::InvalidArgument("zlib level out of range");
  if (threads == 0) threads = std::max(4u, std::thread::hardware_concurrency());
  auto s = std::make_unique<State>();
  s->out = &out;
  s->level = level;
  s->max_in_flight = 2 * size_t(threads);
  s->block.reserve(kBlockSize);
  State* raw = s.get();
  for (unsigned i = 0; i < threads; ++i) s->workers.emplace_back([raw] { raw->Work(); });
  return std::unique_ptr<ParallelDeflateSink>(new ParallelDeflateSink(std::move(s)));
}

Status ParallelDeflateSink::WriteOldest() {
  std::shared_ptr<Job> job;
  {
    std::unique_lock lock(s_->mu);
    job = s_->in_flight.front();
    s_->job_done.wait(lock, [&] { return job->done; });
    s_->in_flight.pop_front();
  }
  if (!job->status.ok()) return job->status;
  PX_RETURN_IF_ERROR(s_->out->Write(job->output));
  // The buffers go to the next jobs: no fresh memory to fault in for every block.
  s_->spare.push_back(std::move(*job));
  return Status::Ok();
}

Status ParallelDeflateSink::Submit(bool last) {
  if (!s_->header_written) {
    // CMF 0x78 (deflate, 32 KB window); FLG with the level class zlib writes for 2 to 5.
    static constexpr char kHeader[2] = {0x78, 0x5E};
    PX_RETURN_IF_ERROR(s_->out->Write(std::string_view(kHeader, 2)));
    s_->header_written = true;
  }
  auto job = std::make_shared<Job>();
  if (!s_->spare.empty()) {
    *job = std::move(s_->spare.back());
    s_->spare.pop_back();
    job->status = Status::Ok();
    job->done = false;
  }
  job->dictionary = s_->tail;
  job->last = last;
  s_->adler =
      adler32(s_->adler, reinterpret_cast<const Bytef*>(s_->block.data()), uInt(s_->block.size()));
  if (s_->block.size() >= kDictionary) {
    s_->tail.assign(s_->block, s_->block.size() - kDictionary, kDictionary);
  } else {
    s_->tail.append(s_->block);
    if (s_->tail.size() > kDictionary) s_->tail.erase(0, s_->tail.size() - kDictionary);
  }
  job->input.swap(s_->block);  // the job's old input, if any, becomes the next block
  s_->block.clear();
  s_->block.reserve(kBlockSize);
  while (s_->in_flight.size() >= s_->max_in_flight) PX_RETURN_IF_ERROR(WriteOldest());
  {
    std::lock_guard lock(s_->mu);
    s_->queue.push_back(job);
    s_->in_flight.push_back(job);
  }
  s_->work_ready.notify_one();
  return Status::Ok();
}

Status ParallelDeflateSink::Write(std::string_view bytes) {
  PX_RETURN_IF_ERROR(s_->error);
  if (s_->finished) return Status::InvalidArgument("write after the end of the zlib stream");
  while (!bytes.empty()) {
    const size_t take = std::min(bytes.size(), kBlockSize - s_->block.size());
    s_->block.append(bytes.substr(0, take));
    bytes.remove_prefix(take);
    if (s_->block.size() == kBlockSize) {
      s_->error = Submit(false);
      PX_RETURN_IF_ERROR(s_->error);
    }
  }
  return Status::Ok();
}

Status ParallelDeflateSink::Finish() {
  PX_RETURN_IF_ERROR(s_->error);
  if (s_->finished) return Status::Ok();
  s_->finished = true;
  s_->error = Submit(true);
  while (s_->error.ok() && !s_->in_flight.empty()) s_->error = WriteOldest();
  PX_RETURN_IF_ERROR(s_->error);
  const uLong a = s_->adler;
  const char trailer[4] = {char(a >> 24), char(a >> 16), char(a >> 8), char(a)};
  s_->error = s_->out->Write(std::string_view(trailer, 4));
  s_->Stop();
  return s_->error;
}

}  // namespace px::xbf
