#include "corruption_helpers.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <random>
#include <set>

#include "core/bytes.h"
#include "jet/format.h"

namespace px::testing {
namespace {

using Bytes = std::vector<uint8_t>;
using jet::JetFormat;

constexpr std::size_t kMaxPagesPerKind = 2;

// Writes that fall past the end of a copy are dropped (the copy stays as it was there).
void Put16(Bytes& b, std::size_t at, uint16_t v) {
  if (at + 2 <= b.size()) StoreLe16(&b[at], v);
}
void Put32(Bytes& b, std::size_t at, uint32_t v) {
  if (at + 4 <= b.size()) StoreLe32(&b[at], v);
}

// A row pointer as Jet stores it: row number in the low byte, page number above it.
uint32_t RowPointer(std::size_t page, uint8_t row) {
  return uint32_t(page << 8) | row;
}

class Damager {
 public:
  explicit Damager(const Bytes& original)
      : original_(original),
        f_(original[0x14] == 0 ? jet::kJet3Format : jet::kJet4Format),
        page_count_(original.size() / f_.page_size),
        beyond_(uint32_t(page_count_ + 7)) {
    for (std::size_t p = 1; p < page_count_; ++p) {
      const uint8_t* page = &original[PageAt(p)];
      if (page[0] == jet::page_type::kTableDef) tdefs_.push_back(p);
      if (page[0] == jet::page_type::kData) {
        (std::memcmp(page + 4, "LVAL", 4) == 0 ? lvals_ : data_).push_back(p);
      }
    }
  }

  std::vector<DamagedCopy> All() {
    Truncations();
    Header();
    for (std::size_t p : Pick(tdefs_)) Tdef(p);
    for (std::size_t p : PickDataPages()) DataPage(p);
    for (std::size_t p : Pick(lvals_)) LvalPage(p);
    UsageMaps();
    LongValuePointers();
    RandomDamage();
    return std::move(copies_);
  }

 private:
  using Damage = std::function<void(Bytes&)>;

  std::size_t PageAt(std::size_t p) const { return p * f_.page_size; }
  uint16_t Get16(std::size_t at) const { return LoadLe16(&original_[at]); }
  uint32_t Get32(std::size_t at) const { return LoadLe32(&original_[at]); }

  // The first and the last page of a kind: for table definitions the catalog's own
  // (page 2) and, as a rule, the most recently created user table.
  std::vector<std::size_t> Pick(const std::vector<std::size_t>& pages) const {
    if (pages.size() <= kMaxPagesPerKind) return pages;
    return {pages.front(), pages.back()};
  }

  // Page 1 (the database's page map) and the first data page of each picked table.
  std::vector<std::size_t> PickDataPages() const {
    std::vector<std::size_t> picked;
    if (std::count(data_.begin(), data_.end(), 1u)) picked.push_back(1);
    for (std::size_t tdef : Pick(tdefs_)) {
      auto first = std::find_if(data_.begin(), data_.end(), [&](std::size_t p) {
        return p != 1 && Get32(PageAt(p) + 4) == tdef;
      });
      if (first != data_.end()) picked.push_back(*first);
    }
    return picked;
  }

  void Add(const std::string& label, const Damage& damage) {
    Bytes copy = original_;
    damage(copy);
    if (copy != original_) copies_.push_back({label, std::move(copy)});
  }

  // Adds the damages of one page, labelled "<kind>-p<page>-<what>".
  void AddAll(const char* kind, std::size_t p,
              std::initializer_list<std::pair<const char*, Damage>> damages) {
    for (const auto& [what, damage] : damages) {
      Add(std::string(kind) + "-p" + std::to_string(p) + "-" + what, damage);
    }
  }

  void Truncations() {
    const std::size_t ps = f_.page_size, size = original_.size();
    for (std::size_t cut :
         std::set<std::size_t>{0, 1, 0x14, 0x80, ps - 1, ps, ps + 100, 2 * ps, 3 * ps + 17,
                               size / 2, size - ps, size - ps / 2, size - 1}) {
      if (cut >= size) continue;
      copies_.push_back({"truncated-at-" + std::to_string(cut),
                         Bytes(original_.begin(), original_.begin() + std::ptrdiff_t(cut))});
    }
  }

  void Header() {
    const bool jet3 = f_.version == jet::JetVersion::kJet3;
    Add("header-version-ace2007", [](Bytes& b) { b[0x14] = 0x02; });
    Add("header-version-ff", [](Bytes& b) { b[0x14] = 0xFF; });
    Add("header-other-format", [&](Bytes& b) { b[0x14] = jet3 ? 0x01 : 0x00; });
    Add("header-format-id", [](Bytes& b) { std::memcpy(&b[4], "Standard XYZ DB", 15); });
    Add("header-page-type", [](Bytes& b) { b[0] = 0x02; });
    Add("header-masked-region", [](Bytes& b) {
      for (std::size_t i = 0x18; i < 0x98 && i < b.size(); ++i) b[i] ^= 0x5A;
    });
    Add("header-database-key", [](Bytes& b) { b[0x3E] ^= 0x11; });
    Add("header-code-page", [](Bytes& b) { b[0x3C] ^= 0x77; });
  }

  void Tdef(std::size_t p) {
    const std::size_t at = PageAt(p);
    // The first column block follows the per-index entries, the column names the blocks.
    const std::size_t column =
        at + f_.tdef_header_size +
        std::min<uint32_t>(Get32(at + f_.tdef_num_real), 64) * f_.tdef_real_preamble;
    const std::size_t name_at =
        column + std::min<uint16_t>(Get16(at + f_.tdef_num_cols), 255) * f_.col_size;
    auto put16 = [](std::size_t off, uint16_t v) { return [=](Bytes& b) { Put16(b, off, v); }; };
    auto put32 = [](std::size_t off, uint32_t v) { return [=](Bytes& b) { Put32(b, off, v); }; };
    AddAll("tdef", p,
           {{"next-self", put32(at + 4, uint32_t(p))},
            {"next-beyond-end", put32(at + 4, beyond_)},
            {"next-huge", put32(at + 4, 0xFFFFFFFFu)},
            {"next-global-map-page", put32(at + 4, 1)},
            {"length-huge", put32(at + 8, 0x7FFFFFFFu)},
            {"length-tiny", put32(at + 8, 3)},
            {"row-count-huge", put32(at + f_.tdef_row_count, 0xFFFFFFF0u)},
            {"column-count-ffff", put16(at + f_.tdef_num_cols, 0xFFFF)},
            {"column-count-zero", put16(at + f_.tdef_num_cols, 0)},
            {"var-column-count-ffff", put16(at + f_.tdef_var_cols, 0xFFFF)},
            {"logical-index-count-huge", put32(at + f_.tdef_num_logical, 0x7FFFFFFFu)},
            {"real-index-count-huge", put32(at + f_.tdef_num_real, 0x7FFFFFFFu)},
            {"owned-map-pointer-beyond", put32(at + f_.tdef_owned_map, RowPointer(beyond_, 0))},
            {"owned-map-pointer-row-ff", [&](Bytes& b) { b[at + f_.tdef_owned_map] = 0xFF; }},
            {"free-map-pointer-beyond", put32(at + f_.tdef_free_map, RowPointer(beyond_, 3))},
            {"column-type-unknown",
             [&](Bytes& b) {
               if (column < at + f_.page_size) b[column] = 0x7E;
             }},
            {"column-length-ffff", put16(column + f_.col_length, 0xFFFF)},
            {"column-var-index-ffff", put16(column + f_.col_var_index, 0xFFFF)},
            {"column-number-ffff", put16(column + f_.col_number, 0xFFFF)},
            {"column-name-length-huge",
             f_.name_length_size == 1 ? put16(name_at, 0xFFFF) : put16(name_at, 0xFFFE)}});
  }

  // The row slots of a data page: [offset entry, start, end).
  struct Slot {
    std::size_t entry, start, end;
  };
  std::vector<Slot> Slots(std::size_t p) const {
    std::vector<Slot> slots;
    const std::size_t at = PageAt(p);
    std::size_t end = f_.page_size;
    for (uint16_t i = 0; i < Get16(at + f_.data_row_count) && i < 256; ++i) {
      std::size_t entry = at + f_.data_row_count + 2 + 2 * std::size_t(i);
      std::size_t start = Get16(entry) & 0x1FFF;
      if (start >= end || start < f_.data_row_count + 2) break;
      slots.push_back({entry, at + start, at + end});
      end = start;
    }
    return slots;
  }

  // Bytes [from, to) of a copy replaced by a seeded random sequence.
  static void Scramble(Bytes& b, std::size_t from, std::size_t to, uint32_t seed) {
    std::mt19937 rng(seed);
    for (std::size_t i = from; i < to; ++i) b[i] = uint8_t(rng());
  }

  void DataPage(std::size_t p) {
    const std::size_t at = PageAt(p), count = at + f_.data_row_count;
    AddAll("data", p,
           {{"row-count-ffff", [&](Bytes& b) { Put16(b, count, 0xFFFF); }},
            {"row-count-300", [&](Bytes& b) { Put16(b, count, 300); }},
            {"owner-beyond", [&](Bytes& b) { Put32(b, at + 4, uint32_t(page_count_ + 9)); }}});
    const std::vector<Slot> slots = Slots(p);
    if (slots.empty()) return;
    const Slot first = slots.front();
    const std::size_t len = first.end - first.start;
    auto overflow_to = [&](std::size_t page) {
      return [=](Bytes& b) {
        Put16(b, first.entry, uint16_t((LoadLe16(&b[first.entry]) & 0x1FFF) | 0x4000));
        Put32(b, first.start, RowPointer(page, 0));
      };
    };
    // The end of a row holds the variable-column count and offsets and the null mask.
    AddAll("data", p,
           {{"row-offset-past-page", [&](Bytes& b) { Put16(b, first.entry, 0x1FFF); }},
            {"row-offset-into-header", [&](Bytes& b) { Put16(b, first.entry, 2); }},
            {"row-offsets-reversed",
             [&](Bytes& b) {
               for (const Slot& s : slots)
                 Put16(b, s.entry, uint16_t(f_.page_size - 1 - (s.start - at)));
             }},
            {"row-overflow-pointer-beyond", overflow_to(page_count_ + 5)},
            {"row-overflow-pointer-self", overflow_to(p)},
            {"row-column-count-huge",
             [&](Bytes& b) {
               for (std::size_t i = 0; i < f_.row_count_size; ++i) b[first.start + i] = 0xFF;
             }},
            {"row-tail-ff",
             [&](Bytes& b) {
               std::fill(&b[first.end - std::min<std::size_t>(8, len)], &b[first.end], 0xFF);
             }},
            {"row-tail-var-offsets",
             [&](Bytes& b) {
               Scramble(b, first.end - std::min<std::size_t>(len, 12), first.end - 1,
                        uint32_t(p) * 7919u);
             }},
            {"every-row-random", [&](Bytes& b) {
               for (const Slot& s : slots) Scramble(b, s.start, s.end, uint32_t(p) * 104729u);
             }}});
  }

  void LvalPage(std::size_t p) {
    const std::vector<Slot> slots = Slots(p);
    auto chain_to = [&](std::size_t page, uint8_t row) {
      return [=](Bytes& b) {
        for (const Slot& s : slots) Put32(b, s.start, RowPointer(page, row));
      };
    };
    AddAll("lval", p,
           {{"row-count-ffff", [&](Bytes& b) { Put16(b, PageAt(p) + f_.data_row_count, 0xFFFF); }},
            {"chain-pointers-self", chain_to(p, 0)},
            {"chain-pointers-beyond", chain_to(page_count_ + 3, 1)},
            {"row-offsets-random", [&](Bytes& b) {
               std::mt19937 rng(uint32_t(p) * 31337u);
               for (const Slot& s : slots) Put16(b, s.entry, uint16_t(rng()));
             }}});
  }

  // A usage map row turned into a reference map whose every page pointer is `page`.
  static Damage ReferenceTo(const Slot& map, uint32_t page) {
    return [=](Bytes& b) {
      b[map.start] = 1;
      for (std::size_t i = map.start + 1; i + 4 <= map.end; i += 4) Put32(b, i, page);
    };
  }

  void UsageMaps() {
    // Page 1 row 0 is the database's own page map.
    if (std::vector<Slot> global = Slots(1); !global.empty()) {
      const Slot map = global.front();
      Add("usage-global-type-7", [&](Bytes& b) { b[map.start] = 7; });
      Add("usage-global-reference-beyond", ReferenceTo(map, uint32_t(page_count_ + 11)));
    }
    // Each table's owned-pages map: all bits set (pages past the end of the file claimed),
    // start page far out, or turned into a reference map to nowhere or to itself.
    for (std::size_t p : Pick(tdefs_)) {
      const uint32_t ptr = Get32(PageAt(p) + f_.tdef_owned_map);
      const uint32_t map_page = ptr >> 8;
      if (map_page == 0 || map_page >= page_count_) continue;
      const std::vector<Slot> slots = Slots(map_page);
      if (uint8_t(ptr) >= slots.size()) continue;
      const Slot map = slots[uint8_t(ptr)];
      if (map.end - map.start < 6) continue;
      const std::string base = "usage-owned-of-p" + std::to_string(p) + "-";
      Add(base + "all-pages", [&](Bytes& b) {
        b[map.start] = 0;
        std::fill(&b[map.start + 5], &b[map.end], 0xFF);
      });
      Add(base + "start-far", [&](Bytes& b) {
        b[map.start] = 0;
        Put32(b, map.start + 1, 0x7FFFFFF8u);
      });
      Add(base + "reference-beyond", ReferenceTo(map, uint32_t(page_count_ + 2)));
      Add(base + "reference-to-self", [&](Bytes& b) {
        b[map.start] = 1;
        Put32(b, map.start + 1, map_page);
      });
    }
  }

  // Long value descriptors in rows: a 4-byte length whose top bits say "one LVAL row" or
  // "chain", then a row pointer to a row that exists on an LVAL page.
  void LongValuePointers() {
    std::set<uint32_t> targets;
    for (std::size_t p : lvals_) {
      for (std::size_t r = 0; r < Slots(p).size(); ++r) targets.insert(RowPointer(p, uint8_t(r)));
    }
    std::vector<std::size_t> found;
    for (std::size_t p : data_) {
      for (const Slot& s : Slots(p)) {
        for (std::size_t i = s.start; i + 12 <= s.end && found.size() < kMaxPagesPerKind; ++i) {
          const uint8_t kind = original_[i + 3] & 0xC0;
          if ((kind == 0x40 || kind == 0x00) && targets.count(Get32(i + 4)) && Get32(i) != 0) {
            found.push_back(i);
            i += 11;
          }
        }
      }
    }
    for (std::size_t at : found) {
      const std::string base = "lvptr-at-" + std::to_string(at) + "-";
      Add(base + "length-huge",
          [&](Bytes& b) { Put32(b, at, (LoadLe32(&b[at]) & 0xC0000000u) | 0x3FFFFFFFu); });
      Add(base + "page-beyond",
          [&](Bytes& b) { Put32(b, at + 4, RowPointer(page_count_ + 4, 0)); });
      Add(base + "row-missing", [&](Bytes& b) { b[at + 4] = 0xEE; });
      Add(base + "kind-invalid", [&](Bytes& b) { b[at + 3] |= 0xC0; });
      Add(base + "to-data-page",
          [&](Bytes& b) { Put32(b, at + 4, RowPointer(data_.empty() ? 1 : data_.front(), 0)); });
    }
  }

  void RandomDamage() {
    const std::size_t ps = f_.page_size;
    if (original_.size() <= ps) return;
    for (uint32_t seed = 1; seed <= 6; ++seed) {
      Add("random-bytes-seed-" + std::to_string(seed), [&](Bytes& b) {
        std::mt19937 rng(seed);
        for (int i = 0; i < 24; ++i) b[ps + rng() % (b.size() - ps)] = uint8_t(rng());
      });
    }
    for (uint32_t seed = 11; seed <= 14; ++seed) {
      Add("random-page-seed-" + std::to_string(seed), [&](Bytes& b) {
        std::mt19937 rng(seed);
        const std::size_t at = PageAt(1 + rng() % (page_count_ - 1));
        const uint8_t type = b[at];  // kept, so that the damage reaches the page's parser
        Scramble(b, at, at + ps, rng());
        b[at] = type;
      });
    }
  }

  const Bytes& original_;
  const JetFormat& f_;
  const std::size_t page_count_;
  const uint32_t beyond_;  // a page number past the end of the file
  std::vector<std::size_t> tdefs_, data_, lvals_;
  std::vector<DamagedCopy> copies_;
};

}  // namespace

std::vector<DamagedCopy> MakeDamagedCopies(const std::vector<uint8_t>& original) {
  if (original.size() < 0x100) return {};
  return Damager(original).All();
}

}  // namespace px::testing
