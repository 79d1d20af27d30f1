#pragma once
// A package-file compressor that runs deflate on several threads yet writes ONE zlib stream
// (RFC 1950), as pigz does: the input is cut into blocks, each deflated on a worker so that
// the raw outputs concatenate into one deflate stream (every block but the file's last ends
// on a byte boundary without the "last block" mark); the caller's thread adds the zlib
// header and the Adler-32 of the whole input, and writes the blocks in order. With libdeflate
// a block is compressed on its own; with zlib alone, with the 32 KB before it as preset
// dictionary and a sync flush. Any zlib inflater reads the result. Memory is bounded: at
// most 2 x threads blocks of input and their outputs are in flight, whatever the file size.

#include <memory>

#include "core/result.h"
#include "xbf/byte_stream.h"

namespace px::xbf {

class ParallelDeflateSink : public ByteSink {
 public:
  static constexpr size_t kBlockSize = size_t{512} << 10;

  // `threads` 0: the hardware's count, at least 4 (on a busy machine more workers get more
  // of it; on an idle one they cost next to nothing). `out` must outlive the sink and is only
  // written from the thread that calls Write() and Finish().
  static Result<std::unique_ptr<ParallelDeflateSink>> Create(ByteSink& out, int level,
                                                             unsigned threads = 0);
  ~ParallelDeflateSink() override;
  ParallelDeflateSink(const ParallelDeflateSink&) = delete;
  ParallelDeflateSink& operator=(const ParallelDeflateSink&) = delete;

  Status Write(std::string_view bytes) override;
  // Deflates what is left, writes the trailer and stops the workers.
  Status Finish();

 private:
  struct State;
  explicit ParallelDeflateSink(std::unique_ptr<State> s);
  Status Submit(bool last);
  Status WriteOldest();
  std::unique_ptr<State> s_;
};

}  // namespace px::xbf
