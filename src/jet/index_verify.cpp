#include "jet/index_verify.h"

#include <algorithm>
#include <optional>

#include "jet/data_page.h"
#include "jet/index_reader.h"
#include "jet/row_codec.h"
#include "jet/values.h"
#include "platform/codepage.h"

namespace px::jet {

namespace {

constexpr size_t kRowPointerSize = 4;

std::string RowName(RowPointer p) {
  return "row page " + std::to_string(p.page) + " row " + std::to_string(p.row);
}

// Entry bytes as they compare on a page: the key, then the big-endian row pointer.
std::vector<uint8_t> EntryBytes(const IndexLeafEntry& e) {
  std::vector<uint8_t> b = e.key;
  b.push_back(uint8_t(e.row.page >> 16));
  b.push_back(uint8_t(e.row.page >> 8));
  b.push_back(uint8_t(e.row.page));
  b.push_back(e.row.row);
  return b;
}

// The bytes of the live row an index entry points at; a message when there is none.
Result<Bytes> LiveRow(Pager& pager, const JetFormat& f, uint32_t table_page, RowPointer p,
                      Page& page, Page& target, std::string& problem) {
  auto loaded = pager.Get(p.page);
  if (!loaded.ok()) {
    problem = "points at page " + std::to_string(p.page) + " beyond the end of the file";
    return Bytes();
  }
  page = std::move(*loaded);
  if (page.type() != page_type::kData || DataPageOwner(f, page) != table_page) {
    problem = "points at page " + std::to_string(p.page) + ", not a data page of the table";
    return Bytes();
  }
  PX_ASSIGN_OR_RETURN(uint16_t count, DataPageRowCount(f, page, pager.file_name()));
  if (p.row >= count) {
    problem = "points at row " + std::to_string(p.row) + " of page " + std::to_string(p.page) +
              ", which has " + std::to_string(count) + " rows";
    return Bytes();
  }
  PX_ASSIGN_OR_RETURN(RowSlot slot, DataPageRow(f, page, p.row, pager.file_name()));
  if (slot.deleted) {
    problem = "points at the deleted " + RowName(p);
    return Bytes();
  }
  if (!slot.lookup) return slot.data;
  if (slot.data.size() < kRowPointerSize) {
    problem = "points at " + RowName(p) + " whose overflow pointer is truncated";
    return Bytes();
  }
  return ReadRowAt(pager, f, DecodeRowPointer(LoadLe32(slot.data.data())), target);
}

}  // namespace

std::string HexBytes(std::span<const uint8_t> bytes, size_t limit) {
  static const char* digits = "0123456789abcdef";
  std::string s;
  for (size_t i = 0; i < bytes.size() && i < limit; ++i) {
    if (i > 0) s += ' ';
    s += digits[bytes[i] >> 4];
    s += digits[bytes[i] & 0x0F];
  }
  if (bytes.size() > limit) s += " ...";
  return s;
}

void VerifiedCharacters::Add(TextOrder order, std::string_view utf8) {
  if (IsGeneralOrder(order)) return;
  std::set<uint32_t>& seen = seen_[order];
  size_t i = 0;
  while (i < utf8.size()) {
    auto cp = NextUtf8(utf8, i);
    if (!cp) return;
    seen.insert(*cp);
  }
}

Status VerifiedCharacters::MayEncode(TextOrder order, std::string_view utf8) const {
  std::vector<uint8_t> scratch;
  PX_RETURN_IF_ERROR(AppendTextKey(order, utf8, true, scratch));
  if (IsGeneralOrder(order)) return Status::Ok();
  auto it = seen_.find(order);
  // Trailing spaces never reach a key; every other character must have been seen.
  while (!utf8.empty() && utf8.back() == ' ') utf8.remove_suffix(1);
  size_t i = 0;
  while (i < utf8.size()) {
    auto cp = NextUtf8(utf8, i);
    if (!cp) return Status::InvalidArgument("text is not valid UTF-8");
    if (it == seen_.end() || it->second.count(*cp) == 0) {
      return Status::NotSupported("character " + DescribeCharacter(*cp) +
                                  " occurs in no key of the " + std::string(TextOrderName(order)) +
                                  " sort order that this file's indexes confirm");
    }
  }
  return Status::Ok();
}

Status VerifiedCharacters::MayEncodeKey(const JetFormat& f, const TableDef& def,
                                        const RealIndex& index, std::span<const Value> by_column,
                                        const KeyLabels& labels) const {
  return MayEncodeKey(f, def, index, by_column, [&labels] { return labels; });
}

Status VerifiedCharacters::MayEncodeKey(const JetFormat& f, const TableDef& def,
                                        const RealIndex& index, std::span<const Value> by_column,
                                        const std::function<KeyLabels()>& make_labels) const {
  for (const IndexColumn& ic : index.columns) {
    const int pos = def.ColumnByNumber(ic.column_number);
    if (pos < 0 || size_t(pos) >= by_column.size()) continue;
    const ColumnDef& c = def.columns[size_t(pos)];
    if (c.type != coltype::kText && c.type != coltype::kMemo) continue;
    const std::string* s = std::get_if<std::string>(&by_column[size_t(pos)]);
    if (s == nullptr) continue;
    auto order = TextOrderOf(f, c);
    if (!order.ok()) {
      const KeyLabels labels = make_labels();
      return order.status().WithContext("table " + labels.table + ", index " + labels.index);
    }
    // A General order refuses no more than the key encoder itself, which runs next.
    if (IsGeneralOrder(*order)) continue;
    Status st = MayEncode(*order, *s);
    if (!st.ok()) {
      const KeyLabels labels = make_labels();
      return st.WithContext("table " + labels.table + ", index " + labels.index + ", column " +
                            c.name);
    }
  }
  return Status::Ok();
}

Result<std::vector<uint8_t>> EncodeProvenKey(const JetFormat& f, const TableDef& def,
                                             const RealIndex& index,
                                             std::span<const Value> by_column,
                                             const KeyLabels& labels,
                                             const VerifiedCharacters& verified) {
  PX_RETURN_IF_ERROR(verified.MayEncodeKey(f, def, index, by_column, labels));
  return EncodeIndexKey(f, def, index, by_column, labels);
}

Status WalkIndex(Database& db, const std::string& table, const TableDef& def, size_t real,
                 size_t max_findings, VerifiedCharacters* verified, IndexWalk& out) {
  const JetFormat& f = db.format();
  Pager& pager = db.pager();
  const RealIndex& index = def.real_indexes[real];
  out.label = IndexLabel(def, real);
  const KeyLabels labels{table, out.label};
  const std::string what = "table " + table + ", index " + out.label;
  auto finding = [&](const std::string& s) {
    if (out.findings.size() < max_findings) out.findings.push_back(pager.file_name() + ": " + s);
  };

  // Text columns of the index and their orders, for the verified characters.
  std::vector<std::pair<size_t, TextOrder>> texts;
  for (const IndexColumn& ic : index.columns) {
    const int pos = def.ColumnByNumber(ic.column_number);
    if (pos < 0) continue;
    const ColumnDef& c = def.columns[size_t(pos)];
    if (c.type != coltype::kText && c.type != coltype::kMemo) continue;
    auto order = TextOrderOf(f, c);
    if (order.ok()) texts.emplace_back(size_t(pos), *order);
  }

  PX_ASSIGN_OR_RETURN(IndexEntryCursor cursor,
                      IndexEntryCursor::Open(pager, f, def.page, index, what));
  ValueDecoder decoder(pager, f, db.text_code_page());
  std::vector<ColumnData> cracked;
  std::vector<Value> values(def.columns.size());
  std::vector<uint8_t> previous;
  IndexLeafEntry entry;
  Page page, target;
  while (true) {
    PX_ASSIGN_OR_RETURN(bool more, cursor.Next(entry));
    if (!more) break;
    ++out.entries;
    out.rows.push_back(PackRowPointer(entry.row));
    const std::string at =
        what + ", leaf page " + std::to_string(entry.page) + ", entry for " + RowName(entry.row);
    std::vector<uint8_t> bytes = EntryBytes(entry);
    if (!previous.empty() && !(previous < bytes)) {
      finding(at + ": out of key order (" + HexBytes(bytes) + " follows " + HexBytes(previous) +
              ")");
    }
    previous = std::move(bytes);

    std::string problem;
    auto data = LiveRow(pager, f, def.page, entry.row, page, target, problem);
    if (!data.ok()) {
      finding(at + ": " + data.status().message());
      continue;
    }
    if (!problem.empty()) {
      finding(at + ": " + problem);
      continue;
    }
    const std::string where = pager.file_name() + ": table " + table + ": " + RowName(entry.row);
    Status st = CrackRow(f, def, *data, cracked, where);
    if (!st.ok()) {
      finding(at + ": " + st.message());
      continue;
    }
    std::fill(values.begin(), values.end(), Value(Null{}));
    for (const IndexColumn& ic : index.columns) {
      const int pos = def.ColumnByNumber(ic.column_number);
      if (pos < 0 || size_t(pos) >= cracked.size()) continue;
      auto v = decoder.Decode(def.columns[size_t(pos)], cracked[size_t(pos)], where);
      if (!v.ok()) {
        st = v.status();
        break;
      }
      values[size_t(pos)] = std::move(*v);
    }
    if (!st.ok()) {
      finding(at + ": " + st.message());
      continue;
    }
    auto key = EncodeIndexKey(f, def, index, values, labels);
    if (!key.ok() && key.status().IsNotSupported()) {
      if (out.unchecked++ == 0) out.unchecked_why = at + ": " + key.status().message();
      continue;
    }
    if (!key.ok()) {
      finding(at + ": " + key.status().message());
      continue;
    }
    if (*key != entry.key) {
      finding(at + ": stored key " + HexBytes(entry.key) + " differs from the key the row makes " +
              HexBytes(*key));
      continue;
    }
    if (verified != nullptr) {
      for (const auto& [pos, order] : texts) {
        if (const auto* s = std::get_if<std::string>(&values[pos])) verified->Add(order, *s);
      }
    }
  }
  return Status::Ok();
}

Status VerifyIndexKeys(Database& db, const CatalogEntry& table, VerifiedCharacters* verified) {
  PX_ASSIGN_OR_RETURN(TableDef def, db.ReadDefinition(table));
  // Characters of keys found equal are proven even when a later key differs.
  VerifiedCharacters local;
  VerifiedCharacters* into = verified != nullptr ? verified : &local;
  for (size_t i = 0; i < def.real_indexes.size(); ++i) {
    IndexWalk walk;
    PX_RETURN_IF_ERROR(WalkIndex(db, table.name, def, i, 1, into, walk));
    if (!walk.findings.empty()) return Status::Corruption(walk.findings.front());
    if (walk.unchecked > 0) return Status::NotSupported(db.file_name() + ": " + walk.unchecked_why);
  }
  return Status::Ok();
}

}  // namespace px::jet
