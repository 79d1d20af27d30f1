#include "xbf/read_ahead.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace px::xbf {

struct ReadAheadRows::State {
  RowSource* inner = nullptr;
  std::mutex mu;
  std::condition_variable changed;
  std::deque<std::vector<Row>> full;   // read, waiting for the caller, in table order
  std::deque<std::vector<Row>> empty;  // handed back for reuse (rows keep their capacity)
  bool stopping = false;
  bool ended = false;  // the reader has read its last row
  Status status;       // the inner source's, set when `ended`
  std::thread reader;

  // The caller's current batch.
  std::vector<Row> batch;
  size_t next = 0;
  bool finished = false;  // Next() has answered false

  void Read() {
    for (;;) {
      std::vector<Row> rows;
      {
        std::unique_lock lock(mu);
        changed.wait(lock, [&] { return stopping || !empty.empty(); });
        if (stopping) return;
        rows = std::move(empty.front());
        empty.pop_front();
      }
      rows.resize(kBatchRows);
      size_t n = 0;
      while (n < kBatchRows && inner->Next(rows[n])) ++n;
      rows.resize(n);
      const bool last = n < kBatchRows;
      {
        std::lock_guard lock(mu);
        if (n > 0) full.push_back(std::move(rows));
        if (last) {
          ended = true;
          status = inner->status();
        }
      }
      changed.notify_all();
      if (last) return;
    }
  }
};

ReadAheadRows::ReadAheadRows(RowSource& inner)
    : fields_(inner.fields()), s_(std::make_unique<State>()) {
  s_->inner = &inner;
  s_->empty.resize(kBatches);
  s_->reader = std::thread([s = s_.get()] { s->Read(); });
}

ReadAheadRows::~ReadAheadRows() {
  {
    std::lock_guard lock(s_->mu);
    s_->stopping = true;
  }
  s_->changed.notify_all();
  s_->reader.join();
}

bool ReadAheadRows::Next(Row& row) {
  State& s = *s_;
  if (s.next == s.batch.size()) {
    std::unique_lock lock(s.mu);
    if (!s.batch.empty()) {
      s.empty.push_back(std::move(s.batch));
      s.changed.notify_all();
    }
    s.batch.clear();
    s.next = 0;
    s.changed.wait(lock, [&] { return !s.full.empty() || s.ended; });
    if (s.full.empty()) {
      s.finished = true;
      return false;
    }
    s.batch = std::move(s.full.front());
    s.full.pop_front();
  }
  std::swap(row, s.batch[s.next++]);
  return true;
}

Status ReadAheadRows::status() const {
  std::lock_guard lock(s_->mu);
  return s_->finished ? s_->status : Status::Ok();
}

}  // namespace px::xbf
