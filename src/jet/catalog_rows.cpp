#include "jet/catalog_rows.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "jet/data_page.h"
#include "jet/long_value.h"
#include "jet/row_writer.h"
#include "jet/text.h"
#include "jet/usage_map.h"
#include "platform/codepage.h"

namespace px::jet {

namespace {

constexpr size_t kDataFreeSpace = 2;
constexpr size_t kUsageMapInlineHeader = 5;  // type byte + start page
// Long values up to this size stay in the row.
constexpr size_t kInlineLongValueMax = 64;
constexpr uint8_t kLvalOwner[4] = {'L', 'V', 'A', 'L'};
constexpr size_t kMaxJet4RowSize = 4060;
// Text keys use this many characters at most.
constexpr size_t kMaxKeyChars = 255;

std::string Loc(const std::string& file, uint32_t page) {
  return file + ": page " + std::to_string(page);
}

uint32_t PointerValue(RowPointer p) {
  return p.page << 8 | p.row;
}

// Row start offsets on a data page: slot i starts at start(i), ends at start(i-1).
uint16_t SlotStart(const JetFormat& f, Bytes p, uint16_t slot) {
  return LoadLe16(&p[f.data_row_table + 2 * slot]) & kRowOffsetMask;
}

// ---- usage maps ------------------------------------------------------------------------

struct MapRow {
  MutablePage page;
  size_t start = 0;
  size_t length = 0;
  uint8_t* bytes() const { return page.data() + start; }
};

Result<MapRow> OpenMapRow(PageStore& store, RowPointer map, const std::string& what) {
  const JetFormat& f = store.format();
  PX_ASSIGN_OR_RETURN(MutablePage page, store.Modify(map.page));
  Bytes p(page.data(), store.page_size());
  const uint16_t rows = p[0] == page_type::kData ? LoadLe16(&p[f.data_row_count]) : 0;
  if (map.row >= rows) {
    return Status::Corruption(Loc(store.name(), map.page) + ": no usage map row " +
                              std::to_string(map.row) + " for " + what);
  }
  const size_t start = SlotStart(f, p, map.row);
  const size_t end = map.row == 0 ? store.page_size() : SlotStart(f, p, uint16_t(map.row - 1));
  if (start >= end || end > store.page_size() || end - start < kUsageMapInlineHeader) {
    return Status::Corruption(Loc(store.name(), map.page) + ": bad usage map row " +
                              std::to_string(map.row) + " for " + what);
  }
  return MapRow{std::move(page), start, end - start};
}

Status SetReferenceBit(PageStore& store, MapRow& row, uint32_t page, bool add,
                       const std::string& what) {
  const size_t per_page = (store.page_size() - kUsageMapPageHeader) * 8;
  const size_t slot = page / per_page;
  if (1 + 4 * (slot + 1) > row.length) {
    return Status::NotSupported(store.name() + ": page " + std::to_string(page) +
                                " is beyond the reach of the usage map of " + what);
  }
  uint32_t bitmap_page = LoadLe32(row.bytes() + 1 + 4 * slot);
  if (bitmap_page == 0) {
    if (!add) return Status::Ok();
    PX_ASSIGN_OR_RETURN(MutablePage bm, store.Allocate(page_type::kUsageMap, 0));
    bitmap_page = bm.number();
    StoreLe32(row.bytes() + 1 + 4 * slot, bitmap_page);
  }
  PX_ASSIGN_OR_RETURN(MutablePage bm, store.Modify(bitmap_page));
  if (bm.bytes()[0] != page_type::kUsageMap) {
    return Status::Corruption(Loc(store.name(), bitmap_page) + ": not a usage map page of " + what);
  }
  const size_t bit = page - slot * per_page;
  uint8_t& b = bm.bytes()[kUsageMapPageHeader + bit / 8];
  b = add ? uint8_t(b | (1u << (bit % 8))) : uint8_t(b & ~(1u << (bit % 8)));
  return Status::Ok();
}

}  // namespace

std::vector<uint8_t> EmptyInlineUsageMap(const JetFormat& f) {
  // 64 bitmap bytes in Jet 4 (512 pages), 128 in Jet 3.
  return std::vector<uint8_t>(kUsageMapInlineHeader + (f.page_size == 4096 ? 64 : 128), 0);
}

Status SetUsageMapPage(PageStore& store, RowPointer map, uint32_t page, bool add,
                       const std::string& what) {
  PX_ASSIGN_OR_RETURN(MapRow row, OpenMapRow(store, map, what));
  uint8_t* r = row.bytes();
  if (r[0] == kUsageMapReference) return SetReferenceBit(store, row, page, add, what);
  if (r[0] != kUsageMapInline) {
    return Status::Corruption(Loc(store.name(), map.page) + ": unknown usage map type " +
                              std::to_string(r[0]) + " for " + what);
  }
  const uint32_t first = LoadLe32(r + 1);
  const size_t bits = (row.length - kUsageMapInlineHeader) * 8;
  if (page >= first && page < first + bits) {
    const uint32_t bit = page - first;
    uint8_t& b = r[kUsageMapInlineHeader + bit / 8];
    b = add ? uint8_t(b | (1u << (bit % 8))) : uint8_t(b & ~(1u << (bit % 8)));
    return Status::Ok();
  }
  if (!add) return Status::Ok();
  // An empty map simply moves its window.
  bool empty = true;
  for (size_t i = kUsageMapInlineHeader; i < row.length; ++i) empty = empty && r[i] == 0;
  if (empty) {
    const uint32_t start = page - page % 8;
    StoreLe32(r + 1, start);
    r[kUsageMapInlineHeader + (page - start) / 8] |= uint8_t(1u << ((page - start) % 8));
    return Status::Ok();
  }
  // Otherwise the map becomes a reference map holding the pages it listed.
  std::vector<uint32_t> pages;
  for (size_t bit = 0; bit < bits; ++bit) {
    if ((r[kUsageMapInlineHeader + bit / 8] >> (bit % 8)) & 1)
      pages.push_back(first + uint32_t(bit));
  }
  pages.push_back(page);
  std::memset(r, 0, row.length);
  r[0] = kUsageMapReference;
  for (uint32_t p : pages) PX_RETURN_IF_ERROR(SetReferenceBit(store, row, p, true, what));
  return Status::Ok();
}

Result<std::optional<uint16_t>> AddRowToPage(PageStore& store, uint32_t page_number, Bytes row) {
  const JetFormat& f = store.format();
  PX_ASSIGN_OR_RETURN(MutablePage page, store.Modify(page_number));
  uint8_t* p = page.data();
  const uint16_t free = LoadLe16(p + kDataFreeSpace);
  const uint16_t count = LoadLe16(p + f.data_row_count);
  if (size_t(free) < row.size() + 2 || count >= 255) return std::optional<uint16_t>();
  const size_t end = count == 0 ? store.page_size()
                                : SlotStart(f, Bytes(p, store.page_size()), uint16_t(count - 1));
  const size_t table_end = f.data_row_table + 2 * (size_t(count) + 1);
  if (end < row.size() + table_end) return std::optional<uint16_t>();
  const size_t start = end - row.size();
  std::memcpy(p + start, row.data(), row.size());
  StoreLe16(p + f.data_row_table + 2 * count, uint16_t(start));
  StoreLe16(p + f.data_row_count, uint16_t(count + 1));
  StoreLe16(p + kDataFreeSpace, uint16_t(free - row.size() - 2));
  return std::optional<uint16_t>(count);
}

namespace {

// ---- values ---------------------------------------------------------------------------

Status TypeError(const std::string& where, const ColumnDef& c, const Value& v) {
  (void)v;
  return Status::InvalidArgument(where + ": column " + c.name +
                                 ": the value does not fit the column's type");
}

Result<int64_t> AsInteger(const Value& v, const ColumnDef& c, const std::string& where) {
  if (auto* i = std::get_if<int64_t>(&v)) return *i;
  if (auto* b = std::get_if<bool>(&v)) return int64_t(*b ? -1 : 0);
  if (auto* d = std::get_if<double>(&v)) {
    if (std::nearbyint(*d) == *d && std::fabs(*d) < 9.2e18) return int64_t(*d);
  }
  return TypeError(where, c, v);
}

Result<double> AsDouble(const Value& v, const ColumnDef& c, const std::string& where) {
  if (auto* d = std::get_if<double>(&v)) return *d;
  if (auto* fl = std::get_if<float>(&v)) return double(*fl);
  if (auto* i = std::get_if<int64_t>(&v)) return double(*i);
  if (auto* o = std::get_if<OleDate>(&v)) return o->days;
  return TypeError(where, c, v);
}

Status CheckRange(int64_t v, int64_t lo, int64_t hi, const ColumnDef& c, const std::string& where) {
  if (v < lo || v > hi) {
    return Status::InvalidArgument(where + ": column " + c.name + ": " + std::to_string(v) +
                                   " is out of the column's range");
  }
  return Status::Ok();
}

// Decimal rescaled to the column's scale: 16-byte magnitude, most significant word first.
Result<std::vector<uint8_t>> NumericBytes(const Value& v, const ColumnDef& c,
                                          const std::string& where) {
  Decimal d;
  if (auto* dec = std::get_if<Decimal>(&v)) {
    d = *dec;
  } else if (auto* i = std::get_if<int64_t>(&v)) {
    d.negative = *i < 0;
    d.lo = d.negative ? uint64_t(0) - uint64_t(*i) : uint64_t(*i);
  } else {
    return TypeError(where, c, v);
  }
  unsigned __int128 mag = (unsigned __int128)d.hi << 64 | d.lo;
  int scale = d.scale;
  while (scale < c.scale) {
    mag *= 10;
    ++scale;
  }
  while (scale > c.scale) {
    if (mag % 10 != 0) {
      return Status::InvalidArgument(where + ": column " + c.name +
                                     ": the value has more decimals than the column keeps");
    }
    mag /= 10;
    --scale;
  }
  std::vector<uint8_t> out(17, 0);
  out[0] = d.negative && mag != 0 ? 0x80 : 0x00;
  for (int w = 0; w < 4; ++w) {
    const uint32_t word = uint32_t(mag >> (32 * (3 - w)));
    StoreLe32(&out[1 + 4 * size_t(w)], word);
  }
  return out;
}

// Jet 4 text: compressed (FF FE, one byte a character) when the column allows it and every
// character is in U+0001..U+00FF; otherwise UTF-16LE.
Result<std::vector<uint8_t>> TextBytes(const std::string& s, bool may_compress, const ColumnDef& c,
                                       const std::string& where, size_t& chars) {
  std::vector<uint32_t> cps;
  size_t i = 0;
  while (i < s.size()) {
    std::optional<uint32_t> cp = NextUtf8(s, i);
    if (!cp) {
      return Status::InvalidArgument(where + ": column " + c.name + ": text is not valid UTF-8");
    }
    cps.push_back(*cp);
  }
  chars = 0;
  for (uint32_t cp : cps) chars += cp >= 0x10000 ? 2 : 1;
  bool compress = may_compress && cps.size() > 2;
  for (uint32_t cp : cps) compress = compress && cp >= 1 && cp <= 0xFF;
  std::vector<uint8_t> out;
  if (compress) {
    out = {0xFF, 0xFE};
    for (uint32_t cp : cps) out.push_back(uint8_t(cp));
    return out;
  }
  for (uint32_t cp : cps) AppendUtf16Le(out, cp);
  return out;
}

Result<std::vector<uint8_t>> FixedBytes(const ColumnDef& c, const Value& v,
                                        const std::string& where) {
  std::vector<uint8_t> out(c.length, 0);
  switch (c.type) {
    case coltype::kByte: {
      PX_ASSIGN_OR_RETURN(int64_t i, AsInteger(v, c, where));
      PX_RETURN_IF_ERROR(CheckRange(i, 0, 255, c, where));
      out[0] = uint8_t(i);
      break;
    }
    case coltype::kInteger: {
      PX_ASSIGN_OR_RETURN(int64_t i, AsInteger(v, c, where));
      PX_RETURN_IF_ERROR(CheckRange(i, INT16_MIN, INT16_MAX, c, where));
      StoreLe16(out.data(), uint16_t(int16_t(i)));
      break;
    }
    case coltype::kLong: {
      PX_ASSIGN_OR_RETURN(int64_t i, AsInteger(v, c, where));
      PX_RETURN_IF_ERROR(CheckRange(i, INT32_MIN, INT32_MAX, c, where));
      StoreLe32(out.data(), uint32_t(int32_t(i)));
      break;
    }
    case coltype::kCurrency: {
      int64_t scaled;
      if (auto* cur = std::get_if<Currency>(&v)) {
        scaled = cur->scaled;
      } else {
        PX_ASSIGN_OR_RETURN(int64_t i, AsInteger(v, c, where));
        scaled = i * 10000;
      }
      StoreLe64(out.data(), uint64_t(scaled));
      break;
    }
    case coltype::kSingle: {
      PX_ASSIGN_OR_RETURN(double d, AsDouble(v, c, where));
      StoreLe32(out.data(), FloatToBits(float(d)));
      break;
    }
    case coltype::kDouble:
    case coltype::kDateTime: {
      PX_ASSIGN_OR_RETURN(double d, AsDouble(v, c, where));
      StoreLe64(out.data(), DoubleToBits(d));
      break;
    }
    case coltype::kGuid: {
      auto* g = std::get_if<Guid>(&v);
      if (g == nullptr) return TypeError(where, c, v);
      std::memcpy(out.data(), g->bytes.data(), 16);
      break;
    }
    case coltype::kNumeric: {
      PX_ASSIGN_OR_RETURN(out, NumericBytes(v, c, where));
      break;
    }
    default:
      return Status::NotSupported(where + ": column " + c.name + ": type " +
                                  std::to_string(c.type) + " cannot be written");
  }
  return out;
}

Result<uint32_t> LongValuePage(PageStore& store, TableDef const& def, uint16_t column, size_t need,
                               AppendState& state, const std::string& table) {
  const LongValueMaps* maps = nullptr;
  for (const LongValueMaps& m : def.long_value_maps) {
    if (m.column_number == column) maps = &m;
  }
  if (maps == nullptr) {
    return Status::Corruption(store.name() + ": table " + table +
                              ": no usage map for the long values of column id " +
                              std::to_string(column));
  }
  uint32_t& last = state.long_value_page[column];
  if (last != 0) {
    PX_ASSIGN_OR_RETURN(Page p, store.Get(last));
    if (LoadLe16(&p.bytes()[kDataFreeSpace]) >= need + 2) return last;
  }
  PX_ASSIGN_OR_RETURN(MutablePage page, store.Allocate(page_type::kData, 0));
  std::memcpy(page.data() + store.format().data_owner, kLvalOwner, 4);
  last = page.number();
  PX_RETURN_IF_ERROR(
      SetUsageMapPage(store, maps->owned, last, true, "long values of table " + table));
  return last;
}

Result<RowPointer> StoreLvalRow(PageStore& store, const TableDef& def, uint16_t column, Bytes data,
                                AppendState& state, const std::string& table) {
  PX_ASSIGN_OR_RETURN(uint32_t page, LongValuePage(store, def, column, data.size(), state, table));
  PX_ASSIGN_OR_RETURN(std::optional<uint16_t> slot, AddRowToPage(store, page, data));
  if (!slot) {
    return Status::Corruption(Loc(store.name(), page) + ": no room for a long value of " + table);
  }
  return RowPointer{page, uint8_t(*slot)};
}

Result<std::vector<uint8_t>> LongValueBytes(PageStore& store, const TableDef& def,
                                            const ColumnDef& c, Bytes data, AppendState& state,
                                            const std::string& table, bool never_inline) {
  std::vector<uint8_t> out(kLongValueHeaderSize, 0);
  const size_t page_room = store.page_size() - store.format().data_row_table - 2 - 4;
  if (data.size() > kLongValueLengthMask) {
    return Status::InvalidArgument(table + ": column " + c.name + ": value too long");
  }
  if (data.size() <= kInlineLongValueMax && !never_inline) {
    StoreLe32(out.data(), uint32_t(data.size()) | kLongValueInline);
    out.insert(out.end(), data.begin(), data.end());
    return out;
  }
  if (data.size() <= page_room) {
    PX_ASSIGN_OR_RETURN(RowPointer at, StoreLvalRow(store, def, c.number, data, state, table));
    StoreLe32(out.data(), uint32_t(data.size()) | kLongValueSingle);
    StoreLe32(out.data() + 4, PointerValue(at));
    return out;
  }
  // A chain, written last piece first so that each piece knows its successor.
  const size_t piece = page_room - 4;
  const size_t pieces = (data.size() + piece - 1) / piece;
  RowPointer next{};
  for (size_t k = pieces; k-- > 0;) {
    const size_t from = k * piece;
    const size_t len = std::min(piece, data.size() - from);
    std::vector<uint8_t> row(4 + len);
    StoreLe32(row.data(), k + 1 == pieces ? 0 : PointerValue(next));
    std::memcpy(row.data() + 4, data.data() + from, len);
    state.long_value_page[c.number] = 0;  // every piece on a fresh page
    PX_ASSIGN_OR_RETURN(next, StoreLvalRow(store, def, c.number, row, state, table));
  }
  StoreLe32(out.data(), uint32_t(data.size()));
  StoreLe32(out.data() + 4, PointerValue(next));
  return out;
}

}  // namespace

Result<std::vector<uint8_t>> EncodeValuesRow(PageStore& store, const TableDef& def,
                                             std::span<const Value> values, AppendState& state,
                                             const std::string& table) {
  const JetFormat& f = store.format();
  if (f.version != JetVersion::kJet4) {
    return Status::NotSupported(store.name() + ": rows are written in Jet 4 files only");
  }
  if (values.size() != def.columns.size()) {
    return Status::InvalidArgument(table + ": " + std::to_string(values.size()) + " values for " +
                                   std::to_string(def.columns.size()) + " columns");
  }
  const std::string where = store.name() + ": table " + table;
  std::vector<RowPart> parts(def.columns.size());
  for (size_t i = 0; i < def.columns.size(); ++i) {
    const ColumnDef& c = def.columns[i];
    const Value& v = values[i];
    RowPart& part = parts[i];
    if (c.type == coltype::kBoolean) {
      if (auto* pb = std::get_if<bool>(&v)) {
        part.bit = *pb;
      } else if (auto* pi = std::get_if<int64_t>(&v)) {
        part.bit = *pi != 0;
      } else if (!IsNull(v)) {
        return TypeError(where, c, v);
      }
      continue;
    }
    if (IsNull(v)) continue;
    part.present = true;
    if (c.fixed()) {
      PX_ASSIGN_OR_RETURN(part.bytes, FixedBytes(c, v, where));
      continue;
    }
    if (c.var_index >= def.var_cols) {
      return Status::Corruption(where + ": column " + c.name + " has variable slot " +
                                std::to_string(c.var_index) + " of " +
                                std::to_string(def.var_cols));
    }
    std::vector<uint8_t>& out = part.bytes;
    if (c.type == coltype::kText || c.type == coltype::kMemo) {
      auto* s = std::get_if<std::string>(&v);
      if (s == nullptr) return TypeError(where, c, v);
      size_t chars = 0;
      const bool may_compress = (c.extra_flags & kColExtraCompressedUnicode) != 0 &&
                                (c.type == coltype::kText || s->size() <= 1024);
      PX_ASSIGN_OR_RETURN(std::vector<uint8_t> text, TextBytes(*s, may_compress, c, where, chars));
      if (c.type == coltype::kText) {
        if (chars * 2 > c.length) {
          return Status::InvalidArgument(where + ": column " + c.name + ": text of " +
                                         std::to_string(chars) + " characters is longer than " +
                                         std::to_string(c.length / 2));
        }
        out = std::move(text);
      } else {
        PX_ASSIGN_OR_RETURN(out, LongValueBytes(store, def, c, text, state, table, false));
      }
    } else if (c.type == coltype::kBinary || c.type == coltype::kOle) {
      auto* b = std::get_if<Binary>(&v);
      if (b == nullptr) return TypeError(where, c, v);
      if (c.type == coltype::kBinary) {
        if (b->bytes.size() > c.length) {
          return Status::InvalidArgument(where + ": column " + c.name + ": " +
                                         std::to_string(b->bytes.size()) + " bytes are more than " +
                                         std::to_string(c.length));
        }
        out = b->bytes;
      } else {
        PX_ASSIGN_OR_RETURN(out, LongValueBytes(store, def, c, b->bytes, state, table, false));
      }
    } else {
      PX_ASSIGN_OR_RETURN(out, FixedBytes(c, v, where));
    }
  }
  std::vector<ColumnData> columns(parts.size());
  for (size_t i = 0; i < parts.size(); ++i) {
    columns[i] = ColumnData{!parts[i].present, parts[i].bit, parts[i].bytes};
  }
  PX_ASSIGN_OR_RETURN(std::vector<uint8_t> row, EncodeRow(f, def, columns, where));
  if (row.size() > kMaxJet4RowSize) {
    return Status::InvalidArgument(where + ": the row is " + std::to_string(row.size()) +
                                   " bytes, more than a row may hold (" +
                                   std::to_string(kMaxJet4RowSize) + ")");
  }
  return row;
}

Result<std::vector<uint8_t>> StoreLongValue(PageStore& store, const TableDef& def,
                                            const ColumnDef& c, Bytes data, AppendState& state,
                                            const std::string& table, bool never_inline) {
  return LongValueBytes(store, def, c, data, state, table, never_inline);
}

Result<bool> ReplaceRowOnPage(PageStore& store, uint32_t page_number, uint16_t slot, Bytes row) {
  const JetFormat& f = store.format();
  PX_ASSIGN_OR_RETURN(MutablePage page, store.Modify(page_number));
  uint8_t* p = page.data();
  const size_t page_size = store.page_size();
  const uint16_t count = LoadLe16(p + f.data_row_count);
  if (slot >= count) {
    return Status::Corruption(Loc(store.name(), page_number) + ": no row " + std::to_string(slot));
  }
  std::vector<std::vector<uint8_t>> rows(count);
  std::vector<uint16_t> flags(count);
  size_t end = page_size;
  for (uint16_t i = 0; i < count; ++i) {
    const uint16_t entry = LoadLe16(p + f.data_row_table + 2 * i);
    const size_t start = entry & kRowOffsetMask;
    flags[i] = entry & uint16_t(~kRowOffsetMask);
    if (start <= end && start >= f.data_row_table + 2 * size_t(count)) {
      rows[i].assign(p + start, p + end);
      end = start;
    }
  }
  rows[slot].assign(row.begin(), row.end());
  size_t total = 0;
  for (const auto& r : rows) total += r.size();
  if (f.data_row_table + 2 * size_t(count) + total > page_size) return false;
  end = page_size;
  for (uint16_t i = 0; i < count; ++i) {
    end -= rows[i].size();
    std::memcpy(p + end, rows[i].data(), rows[i].size());
    StoreLe16(p + f.data_row_table + 2 * i, uint16_t(end | flags[i]));
  }
  std::memset(p + f.data_row_table + 2 * size_t(count), 0,
              end - (f.data_row_table + 2 * size_t(count)));
  StoreLe16(p + kDataFreeSpace, uint16_t(end - (f.data_row_table + 2 * size_t(count))));
  return true;
}

Status DeleteRowOnPage(PageStore& store, RowPointer at) {
  const JetFormat& f = store.format();
  PX_ASSIGN_OR_RETURN(MutablePage page, store.Modify(at.page));
  uint8_t* p = page.data();
  if (at.row >= LoadLe16(p + f.data_row_count)) {
    return Status::Corruption(Loc(store.name(), at.page) + ": no row " + std::to_string(at.row));
  }
  uint8_t* entry = p + f.data_row_table + 2 * at.row;
  StoreLe16(entry, uint16_t(LoadLe16(entry) | kRowDeletedFlag));
  return Status::Ok();
}

Result<RowPointer> AppendRow(PageStore& store, TableDef& def, Bytes row, AppendState& state,
                             const std::string& table) {
  if (state.data_page != 0) {
    PX_ASSIGN_OR_RETURN(std::optional<uint16_t> slot, AddRowToPage(store, state.data_page, row));
    if (slot) {
      ++def.row_count;
      return RowPointer{state.data_page, uint8_t(*slot)};
    }
    PX_RETURN_IF_ERROR(
        SetUsageMapPage(store, def.free_map, state.data_page, false, "table " + table));
  }
  PX_ASSIGN_OR_RETURN(MutablePage page, store.Allocate(page_type::kData, def.page));
  state.data_page = page.number();
  page = MutablePage();
  PX_RETURN_IF_ERROR(
      SetUsageMapPage(store, def.owned_map, state.data_page, true, "table " + table));
  PX_RETURN_IF_ERROR(SetUsageMapPage(store, def.free_map, state.data_page, true, "table " + table));
  PX_ASSIGN_OR_RETURN(std::optional<uint16_t> slot, AddRowToPage(store, state.data_page, row));
  if (!slot) {
    return Status::InvalidArgument(store.name() + ": table " + table + ": a row of " +
                                   std::to_string(row.size()) + " bytes does not fit a page");
  }
  ++def.row_count;
  return RowPointer{state.data_page, uint8_t(*slot)};
}

// ---- index keys -----------------------------------------------------------------------

namespace {

// Jet 4 "General" (legacy) primary weights of the printable ASCII characters, from U+0020
// on; 0 = a character whose key needs more than a primary weight (apostrophe, hyphen).
// Two-byte weights are stored as 0x2Bxx.
constexpr uint16_t kGeneralAscii[95] = {
    0x07, 0x09, 0x0A, 0x0C, 0x0E, 0x10, 0x12,   0x00,   0x14,   0x16,   0x18,  0x2C, 0x1A, 0x00,
    0x1C, 0x1E, 0x36, 0x38, 0x3A, 0x3C, 0x3E,   0x40,   0x42,   0x44,   0x46,  0x48, 0x20, 0x22,
    0x2E, 0x30, 0x32, 0x24, 0x26, 0x4A, 0x4C,   0x4D,   0x4F,   0x51,   0x53,  0x55, 0x57, 0x59,
    0x5B, 0x5C, 0x5E, 0x60, 0x62, 0x64, 0x66,   0x68,   0x69,   0x6B,   0x6D,  0x6F, 0x71, 0x73,
    0x75, 0x76, 0x78, 0x27, 0x29, 0x2A, 0x2B02, 0x2B03, 0x2B07, 0x4A,   0x4C,  0x4D, 0x4F, 0x51,
    0x53, 0x55, 0x57, 0x59, 0x5B, 0x5C, 0x5E,   0x60,   0x62,   0x64,   0x66,  0x68, 0x69, 0x6B,
    0x6D, 0x6F, 0x71, 0x73, 0x75, 0x76, 0x78,   0x2B09, 0x2B0B, 0x2B0D, 0x2B0F};

constexpr uint8_t kKeyAscending = 0x7F;
constexpr uint8_t kKeyDescending = 0x80;
constexpr uint8_t kKeyNullAscending = 0x00;
constexpr uint8_t kKeyNullDescending = 0xFF;
constexpr uint8_t kTextKeyEnd = 0x01;
constexpr uint8_t kTextKeyExtraEnd = 0x00;

Status AppendTextKey(std::vector<uint8_t>& out, const std::string& s, const ColumnDef& c,
                     const std::string& what) {
  if (c.sort_order != kLcidGeneral) {
    return Status::NotSupported(what + ": text keys of sort order " + std::to_string(c.sort_order) +
                                " cannot be made yet");
  }
  std::vector<uint32_t> cps;
  size_t i = 0;
  while (i < s.size() && cps.size() < kMaxKeyChars) {
    std::optional<uint32_t> cp = NextUtf8(s, i);
    if (!cp) return Status::InvalidArgument(what + ": text is not valid UTF-8");
    cps.push_back(*cp);
  }
  while (!cps.empty() && cps.back() == ' ') cps.pop_back();
  for (uint32_t cp : cps) {
    const uint16_t w = cp >= 0x20 && cp < 0x7F ? kGeneralAscii[cp - 0x20] : 0;
    if (w == 0) {
      std::string ch;
      AppendUtf8CodePoint(ch, cp);
      return Status::NotSupported(what + ": no index key is known for the character \"" + ch +
                                  "\"");
    }
    if (w > 0xFF) out.push_back(uint8_t(w >> 8));
    out.push_back(uint8_t(w));
  }
  out.push_back(kTextKeyEnd);
  out.push_back(kTextKeyExtraEnd);
  return Status::Ok();
}

void AppendBigEndian(std::vector<uint8_t>& out, uint64_t v, size_t bytes) {
  for (size_t k = bytes; k-- > 0;) out.push_back(uint8_t(v >> (8 * k)));
}

}  // namespace

Result<std::vector<uint8_t>> CatalogIndexKey(const TableDef& def, const RealIndex& index,
                                             std::span<const Value> values,
                                             const std::string& what) {
  std::vector<uint8_t> key;
  for (const IndexColumn& ic : index.columns) {
    const int at = def.ColumnByNumber(ic.column_number);
    if (at < 0) return Status::Corruption(what + ": index on a missing column");
    const ColumnDef& c = def.columns[size_t(at)];
    const Value& v = values[size_t(at)];
    const size_t begin = key.size();
    if (c.type == coltype::kBoolean) {
      bool b = false;
      if (auto* pb = std::get_if<bool>(&v)) b = *pb;
      key.push_back(b ? 0x00 : 0xFF);
    } else if (IsNull(v)) {
      key.push_back(ic.ascending ? kKeyNullAscending : kKeyNullDescending);
      continue;
    } else {
      key.push_back(kKeyAscending);
      switch (c.type) {
        case coltype::kByte:
        case coltype::kInteger:
        case coltype::kLong:
        case coltype::kCurrency: {
          PX_ASSIGN_OR_RETURN(std::vector<uint8_t> b, FixedBytes(c, v, what));
          std::reverse(b.begin(), b.end());
          if (c.type != coltype::kByte) b[0] ^= 0x80;
          key.insert(key.end(), b.begin(), b.end());
          break;
        }
        case coltype::kSingle:
        case coltype::kDouble:
        case coltype::kDateTime: {
          PX_ASSIGN_OR_RETURN(std::vector<uint8_t> b, FixedBytes(c, v, what));
          std::reverse(b.begin(), b.end());
          if (b[0] & 0x80) {
            for (uint8_t& x : b) x = uint8_t(~x);
          } else {
            b[0] ^= 0x80;
          }
          key.insert(key.end(), b.begin(), b.end());
          break;
        }
        case coltype::kText: {
          if (!ic.ascending) {
            return Status::NotSupported(what + ": descending text keys cannot be made yet");
          }
          auto* s = std::get_if<std::string>(&v);
          if (s == nullptr) return Status::InvalidArgument(what + ": text expected");
          key.pop_back();  // the text key carries its own 0x7F
          key.push_back(kKeyAscending);
          PX_RETURN_IF_ERROR(AppendTextKey(key, *s, c, what));
          break;
        }
        default:
          return Status::NotSupported(what + ": keys of column type " + std::to_string(c.type) +
                                      " cannot be made yet");
      }
    }
    if (!ic.ascending) {
      key[begin] = kKeyDescending;
      for (size_t k = begin + 1; k < key.size(); ++k) key[k] = uint8_t(~key[k]);
    }
  }
  (void)AppendBigEndian;
  return key;
}

// ---- single-leaf indexes --------------------------------------------------------------

Result<std::vector<std::vector<uint8_t>>> ReadLeafEntries(PageStore& store, uint32_t leaf,
                                                          const std::string& what) {
  const JetFormat& f = store.format();
  PX_ASSIGN_OR_RETURN(Page page, store.Get(leaf));
  Bytes p = page.bytes();
  if (p[0] != page_type::kIndexLeaf) {
    return Status::NotSupported(Loc(store.name(), leaf) + ": " + what +
                                " spans more than one index page; not supported yet");
  }
  const size_t prefix_len = LoadLe16(&p[f.index_prefix_len]);
  std::vector<std::vector<uint8_t>> entries;
  size_t start = f.index_first_entry;
  const size_t mask_bytes = f.index_first_entry - f.index_bitmask;
  std::vector<uint8_t> first;
  for (size_t bit = 1; bit < mask_bytes * 8; ++bit) {
    if (!((p[f.index_bitmask + bit / 8] >> (bit % 8)) & 1)) continue;
    const size_t end = f.index_first_entry + bit;
    if (end > p.size() || end <= start) {
      return Status::Corruption(Loc(store.name(), leaf) + ": bad entry bounds in " + what);
    }
    std::vector<uint8_t> e;
    if (!entries.empty()) {
      if (prefix_len > first.size()) {
        return Status::Corruption(Loc(store.name(), leaf) + ": bad prefix in " + what);
      }
      e.assign(first.begin(), first.begin() + long(prefix_len));
    }
    e.insert(e.end(), p.begin() + long(start), p.begin() + long(end));
    if (entries.empty()) first = e;
    entries.push_back(std::move(e));
    start = end;
  }
  return entries;
}

Result<bool> WriteLeafEntries(PageStore& store, uint32_t leaf, uint32_t table_page,
                              const std::vector<std::vector<uint8_t>>& entries) {
  const JetFormat& f = store.format();
  size_t total = 0;
  for (const auto& e : entries) total += e.size();
  if (f.index_first_entry + total > store.page_size()) return false;
  PX_ASSIGN_OR_RETURN(MutablePage page, store.Modify(leaf));
  uint8_t* p = page.data();
  const uint32_t prev = LoadLe32(p + f.index_prev_page);
  const uint32_t next = LoadLe32(p + f.index_next_page);
  std::memset(p, 0, store.page_size());
  p[0] = page_type::kIndexLeaf;
  p[1] = 0x01;
  StoreLe16(p + 2, uint16_t(store.page_size() - f.index_first_entry - total));
  StoreLe32(p + 4, table_page);
  StoreLe32(p + f.index_prev_page, prev);
  StoreLe32(p + f.index_next_page, next);
  size_t at = 0;
  for (const auto& e : entries) {
    std::memcpy(p + f.index_first_entry + at, e.data(), e.size());
    at += e.size();
    p[f.index_bitmask + at / 8] |= uint8_t(1u << (at % 8));
  }
  return true;
}

Status AddIndexEntry(PageStore& store, uint32_t table_page, const RealIndex& index, Bytes key,
                     RowPointer row, const std::string& what) {
  PX_ASSIGN_OR_RETURN(auto entries, ReadLeafEntries(store, index.root_page, what));
  std::vector<uint8_t> entry(key.begin(), key.end());
  entry.push_back(uint8_t(row.page >> 16));
  entry.push_back(uint8_t(row.page >> 8));
  entry.push_back(uint8_t(row.page));
  entry.push_back(row.row);
  auto it = std::lower_bound(entries.begin(), entries.end(), entry);
  if (index.unique() && it != entries.end() && it->size() == entry.size() &&
      std::equal(key.begin(), key.end(), it->begin())) {
    return Status::InvalidArgument(what + ": the value is already in the unique index");
  }
  if (index.unique() && it != entries.begin()) {
    const auto& before = *(it - 1);
    if (before.size() == entry.size() && std::equal(key.begin(), key.end(), before.begin())) {
      return Status::InvalidArgument(what + ": the value is already in the unique index");
    }
  }
  entries.insert(it, std::move(entry));
  PX_ASSIGN_OR_RETURN(bool fits, WriteLeafEntries(store, index.root_page, table_page, entries));
  if (!fits) {
    return Status::NotSupported(store.name() + ": " + what +
                                " would need more than one index page; not supported yet");
  }
  return Status::Ok();
}

}  // namespace px::jet
