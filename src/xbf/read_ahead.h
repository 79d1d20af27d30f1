#pragma once
// Work done ahead on a thread of its own, a batch of items at a time, while the caller works
// on the batches done before: decoding a table's pages overlaps writing the file, parsing a
// table file overlaps adding its rows. At most `batches` batches of `batch_items` items are
// held, whatever the size of the table.

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "core/result.h"
#include "core/value.h"

namespace px::xbf {

template <typename T>
class ReadAhead {
 public:
  // Fills an item with the next one: true, or false at the end. An error ends it too. Called
  // on the other thread, on items in place (an item may point into itself); an item is
  // reused once the caller is done with it.
  using Fill = std::function<Result<bool>(T& item)>;

  // REQUIRES: nothing else touches what `fill` uses until this is destroyed.
  explicit ReadAhead(Fill fill, size_t batch_items = 256, size_t batches = 4)
      : s_(std::make_unique<State>()) {
    s_->fill = std::move(fill);
    s_->batch_items = batch_items;
    s_->empty.resize(batches);
    s_->worker = std::thread([s = s_.get()] { s->Work(); });
  }
  // Stops the other thread, also in the middle of the table.
  ~ReadAhead() {
    {
      std::lock_guard lock(s_->mu);
      s_->stopping = true;
    }
    s_->changed.notify_all();
    s_->worker.join();
  }
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;

  // The next item in order, valid until the next call; null at the end, which status() then
  // tells (an error comes after the items filled before it).
  T* Next() {
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
        return nullptr;
      }
      s.batch = std::move(s.full.front());
      s.full.pop_front();
    }
    return &s.batch[s.next++];
  }
  // OK until Next() has answered null; then how the filling ended.
  Status status() const {
    std::lock_guard lock(s_->mu);
    return s_->finished ? s_->status : Status::Ok();
  }

 private:
  struct State {
    Fill fill;
    size_t batch_items = 0;
    std::mutex mu;
    std::condition_variable changed;
    std::deque<std::vector<T>> full;   // filled, waiting for the caller, in order
    std::deque<std::vector<T>> empty;  // handed back for reuse (items keep their storage)
    bool stopping = false;
    bool ended = false;  // the last item has been filled
    Status status;       // how filling ended, set when `ended`
    std::thread worker;

    // The caller's current batch.
    std::vector<T> batch;
    size_t next = 0;
    bool finished = false;  // Next() has answered null

    void Work() {
      for (;;) {
        std::vector<T> items;
        {
          std::unique_lock lock(mu);
          changed.wait(lock, [&] { return stopping || !empty.empty(); });
          if (stopping) return;
          items = std::move(empty.front());
          empty.pop_front();
        }
        items.resize(batch_items);
        size_t n = 0;
        Status st;
        for (; n < batch_items; ++n) {
          Result<bool> more = fill(items[n]);
          if (!more.ok()) st = more.status();
          if (!more.ok() || !*more) break;
        }
        items.resize(n);
        const bool last = n < batch_items;
        {
          std::lock_guard lock(mu);
          if (n > 0) full.push_back(std::move(items));
          if (last) {
            ended = true;
            status = st;
          }
        }
        changed.notify_all();
        if (last) return;
      }
    }
  };
  std::unique_ptr<State> s_;
};

// A row source read ahead: rows come in order, then the inner source's status.
class ReadAheadRows final : public RowSource {
 public:
  static constexpr size_t kBatchRows = 256;
  static constexpr size_t kBatches = 4;

  // REQUIRES: nothing else touches `inner` (nor the database it reads) until this source is
  // destroyed; `inner` outlives it.
  explicit ReadAheadRows(RowSource& inner);
  ReadAheadRows(const ReadAheadRows&) = delete;
  ReadAheadRows& operator=(const ReadAheadRows&) = delete;

  const std::vector<FieldInfo>& fields() const override { return fields_; }
  bool Next(Row& row) override;
  // OK until Next() has answered false; then the inner source's status.
  Status status() const override { return ahead_.status(); }

 private:
  std::vector<FieldInfo> fields_;
  ReadAhead<Row> ahead_;
};

}  // namespace px::xbf
