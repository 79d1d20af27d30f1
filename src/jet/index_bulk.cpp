#include "jet/index_bulk.h"

#include <algorithm>
#include <cstring>

#include "jet/index_reader.h"
#include "jet/usage_map_writer.h"

namespace px::jet {

namespace {

constexpr size_t kLengthSize = 2;
// Bytes a run is read in.
constexpr size_t kRunChunk = size_t{64} << 10;

int Compare(Bytes a, Bytes b) {
  const size_t n = std::min(a.size(), b.size());
  const int c = n == 0 ? 0 : std::memcmp(a.data(), b.data(), n);
  if (c != 0) return c;
  return a.size() < b.size() ? -1 : (a.size() > b.size() ? 1 : 0);
}

// The sorted buffer of an EntryRuns: (offset, length) slots into its bytes.
template <typename Slot>
class SlotStream final : public EntryStream {
 public:
  SlotStream(const std::vector<uint8_t>& buffer, const std::vector<Slot>& slots)
      : buffer_(buffer), slots_(slots) {}
  Result<bool> Next(Bytes& entry) override {
    if (next_ >= slots_.size()) return false;
    entry = Bytes(buffer_.data() + slots_[next_].at, slots_[next_].length);
    ++next_;
    return true;
  }

 private:
  const std::vector<uint8_t>& buffer_;
  const std::vector<Slot>& slots_;
  size_t next_ = 0;
};

// A run: length-prefixed entries, read a chunk at a time from the scratch file or memory.
class RunStream final : public EntryStream {
 public:
  RunStream(WritablePages& pages, uint64_t offset, uint64_t bytes, const uint8_t* memory)
      : pages_(pages), offset_(offset), end_(offset + bytes), memory_(memory) {}
  Result<bool> Next(Bytes& entry) override {
    if (memory_ != nullptr) {
      if (offset_ >= end_) return false;
      const size_t n = LoadLe16(memory_ + offset_);
      entry = Bytes(memory_ + offset_ + kLengthSize, n);
      offset_ += kLengthSize + n;
      return true;
    }
    if (!Have(kLengthSize)) {
      PX_RETURN_IF_ERROR(Fill());
      if (!Have(kLengthSize)) return false;
    }
    const size_t n = LoadLe16(&chunk_[pos_]);
    if (!Have(kLengthSize + n)) {
      PX_RETURN_IF_ERROR(Fill());
      if (!Have(kLengthSize + n)) {
        return Status::Corruption(pages_.file_name() +
                                  ": sorted index entries end inside an entry");
      }
    }
    entry = Bytes(&chunk_[pos_ + kLengthSize], n);
    pos_ += kLengthSize + n;
    return true;
  }

 private:
  bool Have(size_t n) const { return chunk_.size() - pos_ >= n; }
  // Keeps the unread tail and reads the next chunk after it.
  Status Fill() {
    chunk_.erase(chunk_.begin(), chunk_.begin() + std::ptrdiff_t(pos_));
    pos_ = 0;
    const size_t take = size_t(std::min<uint64_t>(kRunChunk, end_ - offset_));
    if (take == 0) return Status::Ok();
    const size_t old = chunk_.size();
    chunk_.resize(old + take);
    PX_RETURN_IF_ERROR(pages_.ReadScratch(offset_, MutableBytes(chunk_.data() + old, take)));
    offset_ += take;
    return Status::Ok();
  }

  WritablePages& pages_;
  uint64_t offset_;
  uint64_t end_;
  const uint8_t* memory_;
  std::vector<uint8_t> chunk_;
  size_t pos_ = 0;
};

class MergedStream final : public EntryStream {
 public:
  explicit MergedStream(std::vector<std::unique_ptr<EntryStream>> inputs)
      : inputs_(std::move(inputs)), heads_(inputs_.size()), live_(inputs_.size(), false) {}
  Result<bool> Next(Bytes& entry) override {
    if (!started_) {
      started_ = true;
      for (size_t i = 0; i < inputs_.size(); ++i) {
        PX_ASSIGN_OR_RETURN(live_[i], inputs_[i]->Next(heads_[i]));
      }
    } else if (taken_ < inputs_.size()) {
      PX_ASSIGN_OR_RETURN(live_[taken_], inputs_[taken_]->Next(heads_[taken_]));
    }
    // Few inputs (the runs of one index): a scan finds the smallest head.
    taken_ = inputs_.size();
    for (size_t i = 0; i < inputs_.size(); ++i) {
      if (live_[i] && (taken_ == inputs_.size() || Compare(heads_[i], heads_[taken_]) < 0)) {
        taken_ = i;
      }
    }
    if (taken_ == inputs_.size()) return false;
    entry = heads_[taken_];
    return true;
  }

 private:
  std::vector<std::unique_ptr<EntryStream>> inputs_;
  std::vector<Bytes> heads_;
  std::vector<bool> live_;
  size_t taken_ = 0;
  bool started_ = false;
};

}  // namespace

std::unique_ptr<EntryStream> MergeStreams(std::vector<std::unique_ptr<EntryStream>> inputs) {
  if (inputs.size() == 1) return std::move(inputs.front());
  return std::make_unique<MergedStream>(std::move(inputs));
}

Status EntryRuns::Add(Bytes key, RowPointer row) {
  const size_t length = key.size() + kIndexRowPointerSize;
  if (length > 0xFFFF) {
    return Status::InvalidArgument(pages_->file_name() + ": index key of " +
                                   std::to_string(key.size()) + " bytes is too long");
  }
  if (buffer_.size() + length > buffer_bytes_ && !slots_.empty()) {
    PX_RETURN_IF_ERROR(WriteRun());
  }
  const size_t at = buffer_.size();
  buffer_.insert(buffer_.end(), key.begin(), key.end());
  buffer_.insert(buffer_.end(),
                 {uint8_t(row.page >> 16), uint8_t(row.page >> 8), uint8_t(row.page), row.row});
  uint64_t prefix = 0;
  for (size_t i = 0; i < 8; ++i) prefix = prefix << 8 | (i < length ? buffer_[at + i] : 0);
  slots_.push_back({prefix, uint32_t(at), uint16_t(length)});
  ++count_;
  return Status::Ok();
}

void EntryRuns::Clear() {
  buffer_.clear();
  buffer_.shrink_to_fit();
  slots_.clear();
  slots_.shrink_to_fit();
  runs_.clear();
  memory_runs_.clear();
  count_ = 0;
}

void EntryRuns::SortBuffer() {
  const uint8_t* base = buffer_.data();
  // Prefixes that differ order their entries as the bytes do (a shorter entry's zero padding
  // never sorts after a longer one's byte); equal ones are compared whole.
  std::sort(slots_.begin(), slots_.end(), [base](const Slot& a, const Slot& b) {
    if (a.prefix != b.prefix) return a.prefix < b.prefix;
    return Compare(Bytes(base + a.at, a.length), Bytes(base + b.at, b.length)) < 0;
  });
}

Status EntryRuns::WriteRun() {
  SortBuffer();
  const bool scratch = pages_->has_scratch();
  // To the scratch file a chunk at a time (its appends follow one another).
  std::vector<uint8_t> run;
  uint64_t start = 0;
  uint64_t total = 0;
  auto write_out = [&]() -> Status {
    if (run.empty()) return Status::Ok();
    PX_ASSIGN_OR_RETURN(uint64_t at, pages_->AppendScratch(run));
    if (total == 0) start = at;
    total += run.size();
    run.clear();
    return Status::Ok();
  };
  for (const Slot& s : slots_) {
    const uint8_t length[2] = {uint8_t(s.length), uint8_t(s.length >> 8)};
    run.insert(run.end(), length, length + 2);
    run.insert(run.end(), buffer_.begin() + s.at, buffer_.begin() + s.at + s.length);
    if (scratch && run.size() >= kRunChunk) PX_RETURN_IF_ERROR(write_out());
  }
  if (scratch) {
    PX_RETURN_IF_ERROR(write_out());
    runs_.push_back({start, total, false});
  } else {
    runs_.push_back({0, run.size(), true});
    memory_runs_.push_back(std::move(run));
  }
  buffer_.clear();
  slots_.clear();
  return Status::Ok();
}

Result<std::unique_ptr<EntryStream>> EntryRuns::Sorted() {
  SortBuffer();
  std::vector<std::unique_ptr<EntryStream>> inputs;
  size_t memory_run = 0;
  for (const Run& r : runs_) {
    const uint8_t* memory = r.in_memory ? memory_runs_[memory_run++].data() : nullptr;
    inputs.push_back(std::make_unique<RunStream>(*pages_, r.offset, r.bytes, memory));
  }
  inputs.push_back(std::make_unique<SlotStream<Slot>>(buffer_, slots_));
  return MergeStreams(std::move(inputs));
}

IndexPageBuilder::IndexPageBuilder(WritablePages& pages, const JetFormat& f, uint32_t table_page,
                                   const RealIndex& index, std::string what)
    : pages_(pages), f_(f), table_page_(table_page), index_(index), what_(std::move(what)) {}

Result<uint32_t> IndexPageBuilder::NewPage() {
  PX_ASSIGN_OR_RETURN(uint32_t page, pages_.Allocate());
  if (index_.used_map.page != 0) {
    PX_RETURN_IF_ERROR(UsageMapSet(pages_, f_, index_.used_map, page, true, what_));
  }
  return page;
}

Status IndexPageBuilder::Write(uint32_t number, const IndexPage& content) {
  PX_ASSIGN_OR_RETURN(MutableBytes out, pages_.Modify(number));
  Status st = EncodeIndexPage(f_, content, table_page_, out);
  if (!st.ok()) {
    return Status::Corruption(pages_.file_name() + ": page " + std::to_string(number) + ": " +
                              what_ + ": " + st.message());
  }
  return Status::Ok();
}

bool IndexPageBuilder::Fits(const Level& level, Bytes extra) const {
  const auto& e = level.page.entries;
  if (e.empty()) return extra.size() <= IndexEntryArea(f_);
  return IndexEntriesBytes(f_, e.front(), extra, level.bytes + extra.size(), e.size() + 1) <=
         IndexEntryArea(f_);
}

Status IndexPageBuilder::Close(size_t at, size_t keep_from) {
  Level& level = levels_[at];
  IndexPage& page = level.page;
  if (level.number == 0) {
    PX_ASSIGN_OR_RETURN(level.number, NewPage());
  }
  PX_ASSIGN_OR_RETURN(const uint32_t next, NewPage());
  IndexPage closed;
  closed.leaf = page.leaf;
  closed.prev = page.prev;
  closed.next = next;
  closed.entries.assign(std::make_move_iterator(page.entries.begin()),
                        std::make_move_iterator(page.entries.begin() + std::ptrdiff_t(keep_from)));
  page.entries.erase(page.entries.begin(), page.entries.begin() + std::ptrdiff_t(keep_from));
  EntryBytes separator;
  if (closed.leaf) {
    separator = closed.entries.back();
  } else {
    // The last entry's child becomes the tail.
    closed.tail = EntryChild(closed.entries.back());
    separator = EntryWithoutChild(closed.entries.back());
    closed.entries.pop_back();
  }
  PX_RETURN_IF_ERROR(Write(level.number, closed));
  for (EntryBytes& e : closed.entries) spare_.push_back(std::move(e));
  const uint32_t closed_number = level.number;
  level.number = next;
  level.closed_one = true;
  page.prev = closed_number;
  level.bytes = 0;
  for (const auto& e : page.entries) level.bytes += e.size();
  return AddAt(at + 1, NodeEntry(separator, closed_number));
}

Status IndexPageBuilder::AddAt(size_t at, EntryBytes entry) {
  if (at >= kMaxIndexDepth) {
    return Status::Corruption(pages_.file_name() + ": " + what_ + ": index deeper than its bound");
  }
  if (at == levels_.size()) {
    levels_.emplace_back();
    levels_.back().page.leaf = at == 0;
  }
  if (at == 0) {
    if (!Fits(levels_[0], entry)) {
      if (levels_[0].page.entries.empty()) {
        return Status::InvalidArgument(pages_.file_name() + ": " + what_ + ": an entry of " +
                                       std::to_string(entry.size()) + " bytes fills no page");
      }
      PX_RETURN_IF_ERROR(Close(0, levels_[0].page.entries.size()));
    }
    levels_[0].bytes += entry.size();
    levels_[0].page.entries.push_back(std::move(entry));
    return Status::Ok();
  }
  // A node keeps its newest child aside: it becomes the tail when the node is finished.
  if (!levels_[at].has_last) {
    levels_[at].last = std::move(entry);
    levels_[at].has_last = true;
    return Status::Ok();
  }
  if (!Fits(levels_[at], levels_[at].last)) {
    // The page closes with its own last entry's child as tail; the child kept aside opens
    // the next page, so no node is ever left with a tail alone.
    if (levels_[at].page.entries.size() < 2) {
      return Status::InvalidArgument(pages_.file_name() + ": " + what_ +
                                     ": index entries too large for a node page");
    }
    PX_RETURN_IF_ERROR(Close(at, levels_[at].page.entries.size()));
  }
  Level& level = levels_[at];
  level.bytes += level.last.size();
  level.page.entries.push_back(std::move(level.last));
  level.last = std::move(entry);
  return Status::Ok();
}

Status IndexPageBuilder::Add(Bytes entry) {
  EntryBytes copy;
  if (!spare_.empty()) {
    copy = std::move(spare_.back());
    spare_.pop_back();
  }
  copy.assign(entry.begin(), entry.end());
  return AddAt(0, std::move(copy));
}

Status IndexPageBuilder::Finish() {
  if (levels_.empty()) return Write(index_.root_page, IndexPage{});
  for (size_t at = 0; at < levels_.size(); ++at) {
    IndexPage content = std::move(levels_[at].page);
    EntryBytes separator;
    if (content.leaf) {
      separator = content.entries.back();
    } else {
      content.tail = EntryChild(levels_[at].last);
      separator = EntryWithoutChild(levels_[at].last);
    }
    if (at + 1 == levels_.size() && !levels_[at].closed_one) {
      content.prev = content.next = 0;
      return Write(index_.root_page, content);
    }
    uint32_t number = levels_[at].number;
    if (number == 0) {
      PX_ASSIGN_OR_RETURN(number, NewPage());
    }
    content.next = 0;
    PX_RETURN_IF_ERROR(Write(number, content));
    PX_RETURN_IF_ERROR(AddAt(at + 1, NodeEntry(separator, number)));
  }
  return Status::Corruption(pages_.file_name() + ": " + what_ + ": index has no top page");
}

}  // namespace px::jet
