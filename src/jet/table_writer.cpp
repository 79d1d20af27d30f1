#include "jet/table_writer.h"

#include <random>

#include "core/value_text.h"
#include "jet/data_page_writer.h"
#include "jet/index_key.h"
#include "jet/long_value_writer.h"
#include "jet/row_codec.h"
#include "jet/row_writer.h"
#include "jet/text.h"
#include "jet/usage_map_writer.h"
#include "jet/value_encoder.h"
#include "jet/values.h"

namespace px::jet {

namespace {

constexpr size_t kOverflowPointerSize = 4;
constexpr size_t kMaxChainRows = size_t(kLongValueLengthMask) / 64 + 2;
// Waiting entries that always go into an index one B-tree insert at a time.
constexpr uint64_t kFewEntries = 16;

// Stops a ForEachMappedPage walk once the page looked for is found.
Status Found() {
  return Status::Cancelled("found");
}
bool IsFound(const Status& st) {
  return st.code() == StatusCode::kCancelled && st.message() == "found";
}

bool IsLongValue(const ColumnDef& c) {
  return c.long_value();
}

std::string ValueForMessage(const Value& v) {
  if (IsNull(v)) return "Null";
  if (auto* s = std::get_if<std::string>(&v)) return "'" + *s + "'";
  if (auto* i = std::get_if<int64_t>(&v)) return std::to_string(*i);
  if (auto* b = std::get_if<bool>(&v)) return *b ? "True" : "False";
  if (auto* c = std::get_if<Currency>(&v)) return CurrencyToPlain(*c);
  if (auto* d = std::get_if<Decimal>(&v)) return DecimalToPlain(*d);
  if (auto* g = std::get_if<Guid>(&v)) return GuidToText(*g);
  if (auto* d = std::get_if<double>(&v)) return std::to_string(*d);
  if (auto* f = std::get_if<float>(&v)) return std::to_string(*f);
  if (auto* o = std::get_if<OleDate>(&v)) return "date " + std::to_string(o->days);
  return "binary value";
}

}  // namespace

IndexKeyFunction AccessIndexKeys(const JetFormat& f, std::string table_name) {
  return [&f, table = std::move(table_name)](const TableDef& def, const RealIndex& index,
                                             std::span<const Value> values,
                                             std::vector<uint8_t>& key) {
    Status st = EncodeIndexKey(f, def, index, values, key);
    if (st.ok()) return st;
    size_t real = 0;
    while (real < def.real_indexes.size() && &def.real_indexes[real] != &index) ++real;
    return KeyError(st, KeyLabels{table, IndexLabel(def, real)});
  };
}

TableWriter::TableWriter(WritablePages& pages, const JetFormat& f, TableDef def,
                         std::string table_name, TableWriterOptions options)
    : pages_(pages),
      f_(f),
      def_(std::move(def)),
      name_(std::move(table_name)),
      row_where_("table " + name_),
      options_(std::move(options)),
      direct_(!options_.defer_index_entries) {
  for (size_t i = 0; i < def_.real_indexes.size(); ++i) {
    indexes_.emplace_back(pages_, f_, def_.page, def_.real_indexes[i],
                          "index " + IndexName(i) + " of table " + name_);
    pending_.emplace_back(pages_);
  }
}

Result<std::unique_ptr<TableWriter>> TableWriter::Open(WritablePages& pages, const JetFormat& f,
                                                       TableDef def, std::string table_name,
                                                       TableWriterOptions options) {
  if (def.owned_map.page == 0) {
    return Status::Corruption(pages.file_name() + ": table " + table_name +
                              " has no owned-pages map");
  }
  if (!def.real_indexes.empty() && !options.index_key) {
    return Status::InvalidArgument("table " + table_name + " has indexes but no key encoder");
  }
  std::unique_ptr<TableWriter> w(
      new TableWriter(pages, f, std::move(def), std::move(table_name), std::move(options)));
  PX_RETURN_IF_ERROR(w->ReadLongValueMaps());
  return w;
}

std::string TableWriter::Where(uint32_t page) const {
  return pages_.file_name() + ": page " + std::to_string(page) + ": table " + name_;
}

std::string TableWriter::IndexName(size_t real) const {
  std::string name;
  for (const auto& l : def_.logical_indexes) {
    if (l.real_index != real) continue;
    if (name.empty() || l.type == kLogicalIndexPrimary) name = l.name;
  }
  return name.empty() ? "#" + std::to_string(real) : name;
}

std::string TableWriter::KeyText(size_t real, std::span<const Value> values) const {
  std::string out;
  for (const auto& col : def_.real_indexes[real].columns) {
    const int i = def_.ColumnByNumber(col.column_number);
    if (!out.empty()) out += ", ";
    out += i < 0 ? "?" : ValueForMessage(values[i]);
  }
  return out;
}

Status TableWriter::AssignAutoNumbers(std::vector<Value>& values) {
  for (size_t i = 0; i < def_.columns.size(); ++i) {
    const ColumnDef& c = def_.columns[i];
    if (c.flags & colflag::kAutoGuid) {
      if (!IsNull(values[i])) continue;
      static thread_local std::mt19937_64 rng{std::random_device{}()};
      Guid g;
      for (size_t k = 0; k < 16; k += 8) StoreLe64(&g.bytes[k], rng());
      g.bytes[7] = uint8_t((g.bytes[7] & 0x0F) | 0x40);  // version 4, Data3 little-endian
      g.bytes[8] = uint8_t((g.bytes[8] & 0x3F) | 0x80);
      values[i] = g;
      continue;
    }
    if (!(c.flags & colflag::kAutoLong)) continue;
    const int64_t last = int32_t(def_.autonumber_last);
    const int64_t step = def_.autonumber_increment;
    if (IsNull(values[i])) {
      const int64_t next = last + step;
      if (next > INT32_MAX || next < INT32_MIN) {
        return Status::InvalidArgument("table " + name_ + ": AutoNumber column " + c.name +
                                       " has no value left after " + std::to_string(last));
      }
      values[i] = next;
      def_.autonumber_last = uint32_t(int32_t(next));
    } else if (auto* given = std::get_if<int64_t>(&values[i]);
               given && *given >= INT32_MIN && *given <= INT32_MAX &&
               (step > 0 ? *given > last : *given < last)) {
      // The counter moves past a given value in the direction it counts.
      def_.autonumber_last = uint32_t(int32_t(*given));
    }
  }
  return Status::Ok();
}

Status TableWriter::MakeKeys(std::span<const Value> values, const std::string& where, Keys& keys) {
  keys.key.resize(def_.real_indexes.size());
  keys.skip.assign(def_.real_indexes.size(), false);
  for (size_t r = 0; r < def_.real_indexes.size(); ++r) {
    const RealIndex& index = def_.real_indexes[r];
    bool all_null = true;
    for (const auto& col : index.columns) {
      const int i = def_.ColumnByNumber(col.column_number);
      const bool null = i < 0 || (IsNull(values[i]) && def_.columns[i].type != coltype::kBoolean);
      if (null && (index.flags & idxflag::kRequired)) {
        return Status::InvalidArgument(where + ": index " + IndexName(r) +
                                       " requires a value in column " +
                                       (i < 0 ? std::string("?") : def_.columns[i].name));
      }
      all_null = all_null && null;
    }
    if (all_null && (index.flags & idxflag::kIgnoreNulls)) {
      keys.skip[r] = true;
      continue;
    }
    Status st = options_.index_key(def_, index, values, keys.key[r]);
    if (!st.ok()) return st.WithContext(where + ": index " + IndexName(r));
  }
  return Status::Ok();
}

Status TableWriter::CheckUnique(const Keys& keys, std::span<const Value> values,
                                const Keys* old_keys) {
  for (size_t r = 0; r < indexes_.size(); ++r) {
    const RealIndex& index = def_.real_indexes[r];
    if (!index.unique() || keys.skip[r]) continue;
    if (old_keys != nullptr && !old_keys->skip[r] && old_keys->key[r] == keys.key[r]) continue;
    bool all_null = true;
    for (const auto& col : index.columns) {
      const int i = def_.ColumnByNumber(col.column_number);
      all_null = all_null && i >= 0 && IsNull(values[i]);
    }
    if (all_null) continue;  // a unique index takes any number of Nulls
    PX_ASSIGN_OR_RETURN(bool taken, indexes_[r].ContainsKey(keys.key[r]));
    if (taken) {
      return Status::InvalidArgument("table " + name_ + ": index " + IndexName(r) +
                                     " already holds the value " + KeyText(r, values));
    }
  }
  return Status::Ok();
}

Status TableWriter::ReadLongValueMaps() {
  long_value_maps_.assign(def_.columns.size(), LongValueMaps{});
  // The definition's pages joined, as the reader joins them.
  std::vector<uint8_t> buf;
  for (uint32_t p : def_.pages) {
    PX_ASSIGN_OR_RETURN(Bytes page, pages_.Read(p));
    buf.insert(buf.end(), page.begin() + (buf.empty() ? 0 : 8), page.end());
  }
  size_t pos = f_.tdef_header_size + def_.real_indexes.size() * f_.tdef_real_preamble +
               def_.columns.size() * f_.col_size;
  auto skip_names = [&](size_t n) {
    for (size_t k = 0; k < n && pos + f_.name_length_size <= buf.size(); ++k) {
      pos +=
          f_.name_length_size + (f_.name_length_size == 1 ? buf[pos] : size_t(LoadLe16(&buf[pos])));
    }
  };
  skip_names(def_.columns.size());
  pos += def_.real_indexes.size() * f_.real_idx_size +
         def_.logical_indexes.size() * f_.logical_idx_size;
  skip_names(def_.logical_indexes.size());
  // Column number, owned map, free map; FF FF ends the list. A definition without the
  // list (or one that does not parse) leaves LVAL pages out of any column map.
  constexpr size_t kEntry = 10;
  while (pos + 2 <= buf.size() && LoadLe16(&buf[pos]) != 0xFFFF && pos + kEntry <= buf.size()) {
    const int i = def_.ColumnByNumber(LoadLe16(&buf[pos]));
    if (i < 0 || !def_.columns[i].long_value()) break;
    long_value_maps_[i].owned = DecodeRowPointer(LoadLe32(&buf[pos + 2]));
    long_value_maps_[i].free = DecodeRowPointer(LoadLe32(&buf[pos + 6]));
    pos += kEntry;
  }
  return Status::Ok();
}

TableWriter::LongValueMaps& TableWriter::MapsOf(size_t column) {
  return long_value_maps_[column];
}

Status TableWriter::ListLongValuePage(LongValueMaps& maps, uint32_t page, bool owned, bool free) {
  const std::string what = "long values of table " + name_;
  if (maps.owned.page != 0) {
    PX_RETURN_IF_ERROR(UsageMapSet(pages_, f_, maps.owned, page, owned, what));
  }
  if (maps.free.page != 0) {
    PX_RETURN_IF_ERROR(UsageMapSet(pages_, f_, maps.free, page, free, what));
  }
  return Status::Ok();
}

Result<RowPointer> TableWriter::WriteLongValueRow(size_t column, Bytes row) {
  LongValueMaps& maps = MapsOf(column);
  if (maps.current != 0) {
    PX_ASSIGN_OR_RETURN(MutableBytes page, pages_.Modify(maps.current));
    if (auto slot = TryAppendDataRow(f_, page, row)) return RowPointer{maps.current, *slot};
    PX_RETURN_IF_ERROR(ListLongValuePage(maps, maps.current, true, false));
    maps.current = 0;
  }
  PX_ASSIGN_OR_RETURN(maps.current, pages_.Allocate());
  PX_ASSIGN_OR_RETURN(MutableBytes fresh, pages_.Modify(maps.current));
  InitDataPage(f_, fresh, kLongValuePageOwner);
  PX_RETURN_IF_ERROR(ListLongValuePage(maps, maps.current, true, true));
  PX_ASSIGN_OR_RETURN(MutableBytes page, pages_.Modify(maps.current));
  PX_ASSIGN_OR_RETURN(uint8_t slot, AppendDataRow(f_, page, row, Where(maps.current)));
  return RowPointer{maps.current, slot};
}

Status TableWriter::StoreLongValue(size_t column, Bytes payload, bool inline_fits,
                                   std::vector<uint8_t>& out) {
  if (payload.size() > kLongValueLengthMask) {
    return Status::InvalidArgument("table " + name_ + ": long value of " +
                                   std::to_string(payload.size()) + " bytes is too large");
  }
  const LongValueKind kind = ChooseLongValueKind(f_, payload.size(), inline_fits);
  if (kind == LongValueKind::kInline) {
    out = InlineLongValue(payload);
    return Status::Ok();
  }
  RowPointer first;
  if (kind == LongValueKind::kSingle) {
    PX_ASSIGN_OR_RETURN(first, WriteLongValueRow(column, payload));
  } else {
    // Last piece first, so that each row knows where the next one went.
    const size_t piece = ChainPieceSize(f_);
    const size_t n = (payload.size() + piece - 1) / piece;
    RowPointer next;
    for (size_t k = n; k-- > 0;) {
      Bytes part = payload.subspan(k * piece, std::min(piece, payload.size() - k * piece));
      PX_ASSIGN_OR_RETURN(next, WriteLongValueRow(column, ChainRow(next, part)));
    }
    first = next;
  }
  auto d = LongValueDescriptor(kind, uint32_t(payload.size()), first);
  out.assign(d.begin(), d.end());
  return Status::Ok();
}

Status TableWriter::BuildRow(std::span<const Value> values, const std::string& where,
                             std::span<const ColumnData> keep, std::vector<uint8_t>& row) {
  const size_t n = def_.columns.size();
  std::vector<EncodedValue>& enc = encoded_;
  enc.resize(n);
  for (size_t i = 0; i < n; ++i) {
    if (!keep.empty() && !keep[i].null && IsLongValue(def_.columns[i])) {
      enc[i].null = false;
      enc[i].bit = false;
      enc[i].bytes.assign(keep[i].bytes.begin(), keep[i].bytes.end());
      continue;
    }
    PX_RETURN_IF_ERROR(
        EncodeValue(f_, def_.columns[i], values[i], options_.code_page, where, enc[i]));
  }
  std::vector<ColumnData>& data = columns_;
  data.resize(n);
  auto refresh = [&] {
    for (size_t i = 0; i < n; ++i) data[i] = {enc[i].null, enc[i].bit, enc[i].bytes};
  };
  bool new_long_value = false;
  for (size_t i = 0; i < n && !new_long_value; ++i) {
    new_long_value = IsLongValue(def_.columns[i]) && !enc[i].null && (keep.empty() || keep[i].null);
  }
  if (!new_long_value) {  // nothing to place apart from the row: one pass
    refresh();
    return EncodeRow(f_, def_, data, where, row);
  }
  // Size of the row with every new long value as a bare descriptor, then inline values
  // taken in column order while the row stays within its limit.
  payloads_.resize(n);
  for (size_t i = 0; i < n; ++i) {
    payloads_[i].clear();
    if (!IsLongValue(def_.columns[i]) || enc[i].null) continue;
    if (!keep.empty() && !keep[i].null) continue;
    payloads_[i].swap(enc[i].bytes);
    enc[i].bytes.assign(kLongValueHeaderSize, 0);
  }
  refresh();
  PX_RETURN_IF_ERROR(EncodeRow(f_, def_, data, where, row));
  size_t size = row.size();
  for (size_t i = 0; i < n; ++i) {
    if (!IsLongValue(def_.columns[i]) || enc[i].null) continue;
    if (!keep.empty() && !keep[i].null) continue;
    const bool fits = size + payloads_[i].size() <= MaxRowSize(f_);
    PX_RETURN_IF_ERROR(StoreLongValue(i, payloads_[i], fits, enc[i].bytes));
    size += enc[i].bytes.size() - kLongValueHeaderSize;
  }
  refresh();
  return EncodeRow(f_, def_, data, where, row);
}

Result<uint32_t> TableWriter::PageWithRoom(size_t row_size) {
  if (insert_page_ != 0) {
    PX_ASSIGN_OR_RETURN(Bytes page, pages_.Read(insert_page_));
    if (DataPageFits(f_, page, row_size)) return insert_page_;
    if (def_.free_map.page != 0) {
      PX_RETURN_IF_ERROR(UsageMapSet(pages_, f_, def_.free_map, insert_page_, false,
                                     "free-space pages of table " + name_));
    }
    insert_page_ = 0;
  }
  if (def_.free_map.page != 0) {
    uint32_t found = 0;
    Status st = ForEachMappedPage(
        pages_, f_, def_.free_map, "free-space pages of table " + name_, [&](uint32_t p) {
          if (p >= pages_.page_count()) return Status::Ok();
          PX_ASSIGN_OR_RETURN(Bytes page, pages_.Read(p));
          if (page[0] != page_type::kData || LoadLe32(&page[f_.data_owner]) != def_.page) {
            return Status::Ok();
          }
          if (!DataPageFits(f_, page, row_size)) return Status::Ok();
          found = p;
          return Found();
        });
    if (!st.ok() && !IsFound(st)) return st;
    if (found != 0) return insert_page_ = found;
  }
  PX_ASSIGN_OR_RETURN(uint32_t fresh, pages_.Allocate());
  PX_ASSIGN_OR_RETURN(MutableBytes page, pages_.Modify(fresh));
  InitDataPage(f_, page, def_.page);
  PX_RETURN_IF_ERROR(
      UsageMapSet(pages_, f_, def_.owned_map, fresh, true, "owned pages of table " + name_));
  if (def_.free_map.page != 0) {
    PX_RETURN_IF_ERROR(
        UsageMapSet(pages_, f_, def_.free_map, fresh, true, "free-space pages of table " + name_));
  }
  return insert_page_ = fresh;
}

Result<RowPointer> TableWriter::PlaceRow(Bytes row, uint16_t flags) {
  // Most rows go to the page the row before went to: one lookup of it.
  uint32_t number = insert_page_;
  MutableBytes page;
  std::optional<uint8_t> slot;
  if (number != 0) {
    PX_ASSIGN_OR_RETURN(page, pages_.Modify(number));
    slot = TryAppendDataRow(f_, page, row);
  }
  if (!slot) {
    PX_ASSIGN_OR_RETURN(number, PageWithRoom(row.size()));
    PX_ASSIGN_OR_RETURN(page, pages_.Modify(number));
    PX_ASSIGN_OR_RETURN(slot, AppendDataRow(f_, page, row, Where(number)));
  }
  if (flags != 0) {
    uint8_t* entry = &page[f_.data_row_table + 2 * size_t(*slot)];
    StoreLe16(entry, uint16_t(LoadLe16(entry) | flags));
  }
  return RowPointer{number, *slot};
}

Status TableWriter::AddIndexEntries(const Keys& keys, RowPointer row) {
  for (size_t r = 0; r < indexes_.size(); ++r) {
    if (keys.skip[r]) continue;
    if (!direct_) {
      PX_RETURN_IF_ERROR(pending_[r].Add(keys.key[r], row));
      continue;
    }
    PX_ASSIGN_OR_RETURN(bool distinct, indexes_[r].Insert(LeafEntry(keys.key[r], row)));
    if (distinct) ++def_.real_indexes[r].unique_entry_count;
  }
  return Status::Ok();
}

Status TableWriter::RemoveIndexEntries(const Keys& keys, RowPointer row) {
  for (size_t r = 0; r < indexes_.size(); ++r) {
    if (keys.skip[r]) continue;
    PX_RETURN_IF_ERROR(indexes_[r].Remove(LeafEntry(keys.key[r], row)));
    PX_ASSIGN_OR_RETURN(bool present, indexes_[r].ContainsKey(keys.key[r]));
    uint32_t& n = def_.real_indexes[r].unique_entry_count;
    if (!present && n > 0) --n;
  }
  return Status::Ok();
}

Status TableWriter::WriteCounters() {
  counters_dirty_ = true;  // until the page has them
  PX_ASSIGN_OR_RETURN(MutableBytes p, pages_.Modify(def_.page));
  if (p[0] != page_type::kTableDef) {
    return Status::Corruption(Where(def_.page) + ": definition page is not a definition");
  }
  StoreLe32(&p[f_.tdef_row_count], def_.row_count);
  StoreLe32(&p[f_.tdef_autonumber], def_.autonumber_last);
  for (size_t r = 0; r < def_.real_indexes.size(); ++r) {
    const size_t at = f_.tdef_header_size + r * f_.tdef_real_preamble + 4;
    if (at + 4 > p.size()) break;  // on a continuation page: left as it was
    StoreLe32(&p[at], def_.real_indexes[r].unique_entry_count);
  }
  counters_dirty_ = false;
  return Status::Ok();
}

Status TableWriter::Insert(std::span<const Value> in) {
  std::vector<Value> values(in.begin(), in.end());
  return Insert(values);
}

Status TableWriter::Insert(std::vector<Value>& values) {
  if (values.size() != def_.columns.size()) {
    return Status::InvalidArgument("table " + name_ + ": " + std::to_string(values.size()) +
                                   " values for " + std::to_string(def_.columns.size()) +
                                   " columns");
  }
  const uint32_t counter_before = def_.autonumber_last;
  Status st = AssignAutoNumbers(values);
  if (st.ok()) {
    const std::string& where = row_where_;
    st = MakeKeys(values, where, keys_);
    // Waiting entries have their unique keys checked by FlushIndexes().
    if (st.ok() && !options_.defer_index_entries) st = CheckUnique(keys_, values, nullptr);
    if (st.ok()) {
      // From here on the file changes; an error leaves it to the transaction to undo.
      PX_RETURN_IF_ERROR(BuildRow(values, where, {}, row_));
      PX_ASSIGN_OR_RETURN(RowPointer at, PlaceRow(row_, 0));
      PX_RETURN_IF_ERROR(AddIndexEntries(keys_, at));
      ++def_.row_count;
      // Deferred, the counters reach the page with the index entries.
      if (options_.defer_index_entries) {
        counters_dirty_ = true;
        return Status::Ok();
      }
      return WriteCounters();
    }
  }
  def_.autonumber_last = counter_before;
  return st;
}

Result<std::vector<uint8_t>> TableWriter::ReadLongValueBytes(Bytes d, const std::string& where) {
  if (d.size() < kLongValueHeaderSize) {
    return Status::Corruption(where + ": long value descriptor of " + std::to_string(d.size()) +
                              " bytes");
  }
  const uint32_t word = LoadLe32(d.data());
  const uint32_t length = word & kLongValueLengthMask;
  if (word & kLongValueInline) {
    if (length > d.size() - kLongValueHeaderSize) {
      return Status::Corruption(where + ": inline long value overruns its column");
    }
    return std::vector<uint8_t>(d.begin() + kLongValueHeaderSize,
                                d.begin() + kLongValueHeaderSize + length);
  }
  std::vector<uint8_t> out;
  RowPointer ptr = DecodeRowPointer(LoadLe32(d.data() + 4));
  const bool single = (word & kLongValueSingle) != 0;
  for (size_t hops = 0; out.size() < length || (single && hops == 0); ++hops) {
    if (hops > kMaxChainRows || ptr.page == 0) {
      return Status::Corruption(where + ": long value chain ends after " +
                                std::to_string(out.size()) + " of " + std::to_string(length) +
                                " bytes");
    }
    PX_ASSIGN_OR_RETURN(Bytes page, pages_.Read(ptr.page));
    PX_ASSIGN_OR_RETURN(auto at, DataRowBounds(f_, page, ptr.row, Where(ptr.page)));
    Bytes row = page.subspan(at.first, at.second - at.first);
    if (single) {
      if (row.size() < length) return Status::Corruption(where + ": long value row too short");
      return std::vector<uint8_t>(row.begin(), row.begin() + length);
    }
    if (row.size() <= kChainPointerSize) return Status::Corruption(where + ": empty chain row");
    const size_t take = std::min<size_t>(row.size() - kChainPointerSize, length - out.size());
    out.insert(out.end(), row.begin() + kChainPointerSize, row.begin() + kChainPointerSize + take);
    ptr = DecodeRowPointer(LoadLe32(row.data()));
  }
  return out;
}

Status TableWriter::FreeLongValue(size_t column, Bytes d, const std::string& where) {
  if (d.size() < kLongValueHeaderSize) return Status::Ok();
  const uint32_t word = LoadLe32(d.data());
  if (word & kLongValueInline) return Status::Ok();
  const bool single = (word & kLongValueSingle) != 0;
  RowPointer ptr = DecodeRowPointer(LoadLe32(d.data() + 4));
  for (size_t hops = 0; ptr.page != 0; ++hops) {
    if (hops > kMaxChainRows) return Status::Corruption(where + ": long value chain loops");
    PX_ASSIGN_OR_RETURN(MutableBytes page, pages_.Modify(ptr.page));
    if (page[0] != page_type::kData || LoadLe32(&page[f_.data_owner]) != kLongValuePageOwner) {
      return Status::Corruption(Where(ptr.page) + ": long value of " + where +
                                " points at a page that holds no long values");
    }
    PX_ASSIGN_OR_RETURN(auto at, DataRowBounds(f_, page, ptr.row, Where(ptr.page)));
    RowPointer next;
    if (!single && at.second - at.first >= kChainPointerSize) {
      next = DecodeRowPointer(LoadLe32(&page[at.first]));
    }
    PX_RETURN_IF_ERROR(MarkDataRowDeleted(f_, page, ptr.row, Where(ptr.page)));
    const uint16_t count = LoadLe16(&page[f_.data_row_count]);
    bool live = false;
    for (uint16_t r = 0; r < count && !live; ++r) {
      live = !(LoadLe16(&page[f_.data_row_table + 2 * size_t(r)]) & kRowDeletedFlag);
    }
    if (!live) {
      LongValueMaps& maps = MapsOf(column);
      if (maps.current == ptr.page) maps.current = 0;
      PX_RETURN_IF_ERROR(ListLongValuePage(maps, ptr.page, false, false));
      PX_RETURN_IF_ERROR(pages_.Free(ptr.page));
    }
    if (single) break;
    ptr = next;
  }
  return Status::Ok();
}

Result<std::vector<Value>> TableWriter::DecodeRow(Bytes row, const std::string& where) {
  std::vector<ColumnData> cracked;
  PX_RETURN_IF_ERROR(CrackRow(f_, def_, row, cracked, where));
  // Long values are read here through the store; the decoder needs no pages for the rest.
  static thread_local std::unique_ptr<Pager> no_pages;
  if (!no_pages || no_pages->page_size() != f_.page_size) {
    no_pages = std::make_unique<Pager>(MemorySource({}, "none"), f_.page_size, 0);
  }
  ValueDecoder decoder(*no_pages, f_, options_.code_page);
  std::vector<Value> values(def_.columns.size());
  for (size_t i = 0; i < def_.columns.size(); ++i) {
    const ColumnDef& c = def_.columns[i];
    if (IsLongValue(c) && !cracked[i].null) {
      PX_ASSIGN_OR_RETURN(auto payload, ReadLongValueBytes(cracked[i].bytes, where));
      if (c.type == coltype::kOle) {
        values[i] = Binary{std::move(payload)};
        continue;
      }
      ColumnData text{false, false, Bytes(payload)};
      ColumnDef as_text = c;
      as_text.type = coltype::kText;
      PX_ASSIGN_OR_RETURN(values[i], decoder.Decode(as_text, text, where));
      continue;
    }
    PX_ASSIGN_OR_RETURN(values[i], decoder.Decode(c, cracked[i], where));
  }
  return values;
}

Status TableWriter::ReadPlace(Bytes page, RowPointer id, uint16_t raw, Place& out) {
  out.id = out.at = id;
  out.lookup = (raw & kRowLookupFlag) != 0;
  PX_ASSIGN_OR_RETURN(auto bounds, DataRowBounds(f_, page, id.row, Where(id.page)));
  out.slot.assign(page.begin() + bounds.first, page.begin() + bounds.second);
  if (!out.lookup) {
    out.row = out.slot;
    return Status::Ok();
  }
  if (out.slot.size() < kOverflowPointerSize) {
    return Status::Corruption(Where(id.page) + ": overflow row " + std::to_string(id.row) +
                              " is too short");
  }
  out.at = DecodeRowPointer(LoadLe32(out.slot.data()));
  PX_ASSIGN_OR_RETURN(Bytes target, pages_.Read(out.at.page));
  PX_ASSIGN_OR_RETURN(auto tb, DataRowBounds(f_, target, out.at.row, Where(out.at.page)));
  out.row.assign(target.begin() + tb.first, target.begin() + tb.second);
  return Status::Ok();
}

Status TableWriter::ForEachRow(const std::function<Status(Place&)>& visit,
                               const std::function<Status(uint32_t page)>& page_done) {
  Place place;
  return ForEachMappedPage(
      pages_, f_, def_.owned_map, "owned pages of table " + name_, [&](uint32_t p) -> Status {
        PX_ASSIGN_OR_RETURN(Bytes page, pages_.Read(p));
        if (page[0] != page_type::kData || LoadLe32(&page[f_.data_owner]) != def_.page) {
          return Status::Corruption(Where(p) + ": owned page is not one of its data pages");
        }
        const uint16_t count = LoadLe16(&page[f_.data_row_count]);
        for (uint16_t r = 0; r < count; ++r) {
          PX_ASSIGN_OR_RETURN(page, pages_.Read(p));
          const uint16_t raw = LoadLe16(&page[f_.data_row_table + 2 * size_t(r)]);
          if (raw & kRowDeletedFlag) continue;
          PX_RETURN_IF_ERROR(ReadPlace(page, RowPointer{p, uint8_t(r)}, raw, place));
          PX_RETURN_IF_ERROR(visit(place));
        }
        return page_done ? page_done(p) : Status::Ok();
      });
}

Status TableWriter::Duplicate(size_t real, Bytes leaf_entry) {
  const std::string where = pages_.file_name() + ": table " + name_;
  const RowPointer id = EntryRowPointer(EntryBytes(leaf_entry.begin(), leaf_entry.end()), true);
  std::string value = "?";
  auto page = pages_.Read(id.page);
  if (page.ok() && page->size() > f_.data_row_table + 2 * size_t(id.row)) {
    Place place;
    const uint16_t raw = LoadLe16(&(*page)[f_.data_row_table + 2 * size_t(id.row)]);
    if (ReadPlace(*page, id, raw, place).ok()) {
      auto values = DecodeRow(place.row, where);
      if (values.ok()) value = KeyText(real, *values);
    }
  }
  return Status::InvalidArgument(where + ": index " + IndexName(real) +
                                 " already holds the value " + value);
}

Status TableWriter::FlushIndex(size_t r) {
  EntryRuns& pending = pending_[r];
  IndexWriter& index = indexes_[r];
  const RealIndex& def = def_.real_indexes[r];
  // A unique index takes any number of keys whose columns are all Null.
  std::vector<uint8_t> null_key;
  bool has_null_key = false;
  if (def.unique()) {
    std::vector<Value> nulls(def_.columns.size(), Value(Null{}));
    has_null_key = options_.index_key(def_, def, nulls, null_key).ok();
  }
  auto held_once = [&](Bytes key) {
    return def.unique() &&
           !(has_null_key && std::equal(key.begin(), key.end(), null_key.begin(), null_key.end()));
  };
  PX_ASSIGN_OR_RETURN(std::unique_ptr<EntryStream> news, pending.Sorted());
  uint32_t& distinct = def_.real_indexes[r].unique_entry_count;
  // A few entries against a large index: one B-tree insert each costs less than a rebuild.
  const bool few = pending.size() <= kFewEntries || pending.size() * 64 < def_.row_count;
  if (few) {
    Bytes entry;
    while (true) {
      PX_ASSIGN_OR_RETURN(bool more, news->Next(entry));
      if (!more) break;
      const Bytes key = entry.first(entry.size() - kIndexRowPointerSize);
      if (held_once(key)) {
        PX_ASSIGN_OR_RETURN(bool taken, index.ContainsKey(key));
        if (taken) return Duplicate(r, entry);
      }
      PX_ASSIGN_OR_RETURN(bool fresh, index.Insert(EntryBytes(entry.begin(), entry.end())));
      if (fresh) ++distinct;
    }
  } else {
    PX_ASSIGN_OR_RETURN(IndexWriter::Merged merged, index.Rebuild(*news, held_once));
    if (merged.duplicate) return Duplicate(r, *merged.duplicate);
    distinct = merged.distinct_keys;
  }
  pending.Clear();
  return Status::Ok();
}

Status TableWriter::FlushIndexes() {
  bool any = false;
  for (size_t r = 0; r < indexes_.size(); ++r) {
    if (pending_[r].empty()) continue;
    PX_RETURN_IF_ERROR(FlushIndex(r));
    any = true;
  }
  return any || counters_dirty_ ? WriteCounters() : Status::Ok();
}

Result<uint64_t> TableWriter::DeleteAll() {
  for (EntryRuns& pending : pending_) pending.Clear();  // their rows go too
  uint64_t deleted = 0;
  std::vector<ColumnData> cracked;
  auto drop = [&](Place& place) -> Status {
    const std::string where = Where(place.at.page) + " row " + std::to_string(place.at.row);
    PX_RETURN_IF_ERROR(CrackRow(f_, def_, place.row, cracked, where));
    for (size_t i = 0; i < def_.columns.size(); ++i) {
      if (IsLongValue(def_.columns[i]) && !cracked[i].null) {
        PX_RETURN_IF_ERROR(
            FreeLongValue(i, cracked[i].bytes, where + " column " + def_.columns[i].name));
      }
    }
    ++deleted;
    return Status::Ok();
  };
  auto empty_page = [&](uint32_t p) -> Status {
    PX_ASSIGN_OR_RETURN(MutableBytes out, pages_.Modify(p));
    InitDataPage(f_, out, def_.page);
    if (def_.free_map.page == 0) return Status::Ok();
    return UsageMapSet(pages_, f_, def_.free_map, p, true, "free-space pages of table " + name_);
  };
  PX_RETURN_IF_ERROR(ForEachRow(drop, empty_page));
  insert_page_ = 0;
  for (size_t r = 0; r < indexes_.size(); ++r) {
    PX_RETURN_IF_ERROR(indexes_[r].Clear());
    def_.real_indexes[r].unique_entry_count = 0;
  }
  def_.row_count = 0;
  PX_RETURN_IF_ERROR(WriteCounters());
  return deleted;
}

Result<uint64_t> TableWriter::Update(
    const std::function<Result<bool>(std::vector<Value>& values)>& change) {
  PX_RETURN_IF_ERROR(FlushIndexes());
  // Each rewritten row checks its unique keys against the index at once.
  struct Direct {
    bool& flag;
    bool was;
    ~Direct() { flag = was; }
  } direct{direct_, direct_};
  direct_ = true;
  uint64_t changed = 0;
  std::vector<ColumnData> cracked;
  auto rewrite_row = [&](Place& place) -> Status {
    const RowPointer id = place.id;
    const RowPointer at = place.at;
    const std::vector<uint8_t>& old_row = place.row;
    const std::string where = Where(id.page) + " row " + std::to_string(id.row);
    PX_ASSIGN_OR_RETURN(std::vector<Value> old_values, DecodeRow(old_row, where));
    std::vector<Value> values = old_values;
    PX_ASSIGN_OR_RETURN(bool rewrite, change(values));
    if (!rewrite) return Status::Ok();
    if (values.size() != def_.columns.size()) {
      return Status::InvalidArgument(where + ": update changed the number of values");
    }
    Keys old_keys, keys;
    PX_RETURN_IF_ERROR(MakeKeys(old_values, where, old_keys));
    PX_RETURN_IF_ERROR(MakeKeys(values, where, keys));
    PX_RETURN_IF_ERROR(CheckUnique(keys, values, &old_keys));
    // Long values that did not change keep their storage; the others are replaced.
    PX_RETURN_IF_ERROR(CrackRow(f_, def_, old_row, cracked, where));
    std::vector<ColumnData> keep(def_.columns.size());
    for (size_t i = 0; i < def_.columns.size(); ++i) {
      if (!IsLongValue(def_.columns[i]) || cracked[i].null) continue;
      if (values[i] == old_values[i]) {
        keep[i] = cracked[i];
      } else {
        PX_RETURN_IF_ERROR(FreeLongValue(i, cracked[i].bytes, where));
      }
    }
    std::vector<std::vector<uint8_t>> kept_bytes(keep.size());
    for (size_t i = 0; i < keep.size(); ++i) {
      kept_bytes[i].assign(keep[i].bytes.begin(), keep[i].bytes.end());
      keep[i].bytes = kept_bytes[i];
    }
    std::vector<uint8_t> row;
    PX_RETURN_IF_ERROR(BuildRow(values, where, keep, row));
    const bool pad = f_.row_count_size == 2 && row.size() < old_row.size();
    if (row.size() == old_row.size() || pad) {
      if (pad) {
        std::vector<ColumnData> data;
        PX_RETURN_IF_ERROR(CrackRow(f_, def_, row, data, where));
        PX_ASSIGN_OR_RETURN(row, EncodeRow(f_, def_, data, where, old_row.size()));
      }
      PX_ASSIGN_OR_RETURN(MutableBytes out, pages_.Modify(at.page));
      PX_RETURN_IF_ERROR(OverwriteDataRow(f_, out, at.row, row, Where(at.page)));
    } else {
      std::vector<uint8_t>& slot = place.slot;
      if (slot.size() < kOverflowPointerSize) {
        return Status::NotSupported(where + ": row of " + std::to_string(slot.size()) +
                                    " bytes is too short to point to its new place");
      }
      PX_ASSIGN_OR_RETURN(RowPointer moved, PlaceRow(row, kRowDeletedFlag));
      StoreLe32(slot.data(), EncodeRowPointer(moved));
      PX_ASSIGN_OR_RETURN(MutableBytes out, pages_.Modify(id.page));
      PX_RETURN_IF_ERROR(OverwriteDataRow(f_, out, id.row, slot, Where(id.page)));
      uint8_t* entry = &out[f_.data_row_table + 2 * size_t(id.row)];
      StoreLe16(entry, uint16_t(LoadLe16(entry) | kRowLookupFlag));
    }
    for (size_t k = 0; k < indexes_.size(); ++k) {
      if (old_keys.skip[k] == keys.skip[k] && old_keys.key[k] == keys.key[k]) {
        old_keys.skip[k] = keys.skip[k] = true;  // unchanged: neither removed nor added
      }
    }
    PX_RETURN_IF_ERROR(RemoveIndexEntries(old_keys, id));
    PX_RETURN_IF_ERROR(AddIndexEntries(keys, id));
    ++changed;
    return Status::Ok();
  };
  PX_RETURN_IF_ERROR(ForEachRow(rewrite_row, nullptr));
  PX_RETURN_IF_ERROR(WriteCounters());
  return changed;
}

}  // namespace px::jet
