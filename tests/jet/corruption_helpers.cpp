#include "corruption_helpers.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <random>
#include <set>

namespace px::testing {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint8_t kPageData = 0x01;
constexpr uint8_t kPageTdef = 0x02;
constexpr std::size_t kMaxPagesPerKind = 2;

// Offsets that differ between Jet 3 and Jet 4 (see the format notes in shared/reference).
struct Layout {
  bool jet3 = false;
  std::size_t page_size = 4096;
  std::size_t data_row_count = 12;  // data page: number of row slots, then the offsets
  std::size_t tdef_row_count = 0x10;
  std::size_t tdef_var_cols = 0x2B;
  std::size_t tdef_col_count = 0x2D;
  std::size_t tdef_logical_idx = 0x2F;
  std::size_t tdef_real_idx = 0x33;
  std::size_t tdef_owned_map = 0x37;
  std::size_t tdef_free_map = 0x3B;
  std::size_t tdef_header = 63;
  std::size_t real_idx_entry = 12;

  static Layout For(const Bytes& file) {
    Layout l;
    if (file.size() > 0x14 && file[0x14] == 0) {
      l = {true, 2048, 8, 0x0C, 0x17, 0x19, 0x1B, 0x1F, 0x23, 0x27, 43, 8};
    }
    return l;
  }
};

void Put16(Bytes& b, std::size_t at, uint16_t v) {
  if (at + 2 > b.size()) return;
  b[at] = uint8_t(v);
  b[at + 1] = uint8_t(v >> 8);
}

void Put32(Bytes& b, std::size_t at, uint32_t v) {
  if (at + 4 > b.size()) return;
  for (int i = 0; i < 4; ++i) b[at + i] = uint8_t(v >> (8 * i));
}

uint16_t Get16(const Bytes& b, std::size_t at) {
  return at + 2 > b.size() ? 0 : uint16_t(b[at] | (b[at + 1] << 8));
}

uint32_t Get32(const Bytes& b, std::size_t at) {
  if (at + 4 > b.size()) return 0;
  return uint32_t(b[at]) | uint32_t(b[at + 1]) << 8 | uint32_t(b[at + 2]) << 16 |
         uint32_t(b[at + 3]) << 24;
}

// A row pointer as Jet stores it: row number in the low byte, page number above it.
uint32_t RowPointer(uint32_t page, uint8_t row) {
  return (page << 8) | row;
}

class Damager {
 public:
  explicit Damager(const Bytes& original) : original_(original), layout_(Layout::For(original)) {
    page_count_ = original.size() / layout_.page_size;
    for (std::size_t p = 1; p < page_count_; ++p) {
      std::size_t at = p * layout_.page_size;
      if (original[at] == kPageTdef) tdefs_.push_back(p);
      if (original[at] == kPageData) {
        (IsLval(p) ? lvals_ : data_).push_back(p);
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
  std::size_t PageAt(std::size_t p) const { return p * layout_.page_size; }
  bool IsLval(std::size_t p) const {
    return std::memcmp(&original_[PageAt(p) + 4], "LVAL", 4) == 0;
  }

  // The first and the last page of a kind: for table definitions the catalog's own
  // (page 2) and, as a rule, the most recently created user table.
  std::vector<std::size_t> Pick(const std::vector<std::size_t>& pages) const {
    if (pages.size() <= kMaxPagesPerKind) return pages;
    return {pages.front(), pages.back()};
  }

  // Page 1 (the database's page map) and the first data page of each picked table.
  std::vector<std::size_t> PickDataPages() const {
    std::vector<std::size_t> picked;
    for (std::size_t p : data_) {
      if (p == 1) picked.push_back(p);
    }
    for (std::size_t tdef : Pick(tdefs_)) {
      for (std::size_t p : data_) {
        if (p != 1 && Get32(original_, PageAt(p) + 4) == tdef) {
          picked.push_back(p);
          break;
        }
      }
    }
    return picked;
  }

  void Add(const std::string& label, const std::function<void(Bytes&)>& damage) {
    Bytes copy = original_;
    damage(copy);
    if (copy != original_) copies_.push_back({label, std::move(copy)});
  }

  std::string PageLabel(const char* kind, std::size_t p, const char* what) const {
    return std::string(kind) + "-p" + std::to_string(p) + "-" + what;
  }

  void Truncations() {
    const std::size_t ps = layout_.page_size, size = original_.size();
    std::set<std::size_t> cuts = {0,        1,      0x14,        0x80,     ps - 1,    ps,
                                  ps + 100, 2 * ps, 3 * ps + 17, size / 2, size - ps, size - ps / 2,
                                  size - 1};
    for (std::size_t cut : cuts) {
      if (cut >= size) continue;
      copies_.push_back({"truncated-at-" + std::to_string(cut),
                         Bytes(original_.begin(), original_.begin() + std::ptrdiff_t(cut))});
    }
  }

  void Header() {
    Add("header-version-ace2007", [](Bytes& b) { b[0x14] = 0x02; });
    Add("header-version-ff", [](Bytes& b) { b[0x14] = 0xFF; });
    Add("header-other-format", [this](Bytes& b) { b[0x14] = layout_.jet3 ? 0x01 : 0x00; });
    Add("header-format-id", [](Bytes& b) { std::memcpy(&b[4], "Standard XYZ DB", 15); });
    Add("header-page-type", [](Bytes& b) { b[0] = 0x02; });
    Add("header-masked-region", [](Bytes& b) {
      for (std::size_t i = 0x18; i < 0x98 && i < b.size(); ++i) b[i] ^= 0x5A;
    });
    Add("header-database-key", [](Bytes& b) { b[0x3E] ^= 0x11; });
    Add("header-code-page", [](Bytes& b) { b[0x3C] ^= 0x77; });
  }

  void Tdef(std::size_t p) {
    const Layout& l = layout_;
    const std::size_t at = PageAt(p);
    const uint32_t beyond = uint32_t(page_count_ + 7);
    auto add = [&](const char* what, std::function<void(Bytes&)> f) {
      Add(PageLabel("tdef", p, what), f);
    };
    add("next-self", [&](Bytes& b) { Put32(b, at + 4, uint32_t(p)); });
    add("next-beyond-end", [&](Bytes& b) { Put32(b, at + 4, beyond); });
    add("next-huge", [&](Bytes& b) { Put32(b, at + 4, 0xFFFFFFFFu); });
    add("next-global-map-page", [&](Bytes& b) { Put32(b, at + 4, 1); });
    add("length-huge", [&](Bytes& b) { Put32(b, at + 8, 0x7FFFFFFFu); });
    add("length-tiny", [&](Bytes& b) { Put32(b, at + 8, 3); });
    add("row-count-huge", [&](Bytes& b) { Put32(b, at + l.tdef_row_count, 0xFFFFFFF0u); });
    add("column-count-ffff", [&](Bytes& b) { Put16(b, at + l.tdef_col_count, 0xFFFF); });
    add("column-count-zero", [&](Bytes& b) { Put16(b, at + l.tdef_col_count, 0); });
    add("var-column-count-ffff", [&](Bytes& b) { Put16(b, at + l.tdef_var_cols, 0xFFFF); });
    add("logical-index-count-huge",
        [&](Bytes& b) { Put32(b, at + l.tdef_logical_idx, 0x7FFFFFFFu); });
    add("real-index-count-huge", [&](Bytes& b) { Put32(b, at + l.tdef_real_idx, 0x7FFFFFFFu); });
    add("owned-map-pointer-beyond",
        [&](Bytes& b) { Put32(b, at + l.tdef_owned_map, RowPointer(beyond, 0)); });
    add("owned-map-pointer-row-ff", [&](Bytes& b) { b[at + l.tdef_owned_map] = 0xFF; });
    add("free-map-pointer-beyond",
        [&](Bytes& b) { Put32(b, at + l.tdef_free_map, RowPointer(beyond, 3)); });
    // The first column block follows the per-index entries.
    const uint32_t real_idx = Get32(original_, at + l.tdef_real_idx);
    const std::size_t column =
        at + l.tdef_header + std::min<uint32_t>(real_idx, 64) * l.real_idx_entry;
    const std::size_t column_size = l.jet3 ? 18 : 25;
    const std::size_t length_at = column + (l.jet3 ? 16 : 23);
    add("column-type-unknown", [&](Bytes& b) {
      if (column < at + l.page_size) b[column] = 0x7E;
    });
    add("column-length-ffff", [&](Bytes& b) { Put16(b, length_at, 0xFFFF); });
    add("column-var-index-ffff", [&](Bytes& b) { Put16(b, column + (l.jet3 ? 3 : 7), 0xFFFF); });
    add("column-number-ffff", [&](Bytes& b) { Put16(b, column + (l.jet3 ? 1 : 5), 0xFFFF); });
    // Column names follow the column blocks; the first one's length.
    const uint16_t columns = Get16(original_, at + l.tdef_col_count);
    const std::size_t name_at = column + std::min<uint16_t>(columns, 255) * column_size;
    add("column-name-length-huge", [&](Bytes& b) {
      if (l.jet3) {
        if (name_at < b.size()) b[name_at] = 0xFF;
      } else {
        Put16(b, name_at, 0xFFFE);
      }
    });
  }

  // Offsets of the row slots of a data page: [offset position, start, end).
  struct Slot {
    std::size_t entry;
    std::size_t start;
    std::size_t end;
  };
  std::vector<Slot> Slots(std::size_t p) const {
    std::vector<Slot> slots;
    const std::size_t at = PageAt(p), ps = layout_.page_size;
    const uint16_t n = Get16(original_, at + layout_.data_row_count);
    std::size_t end = ps;
    for (uint16_t i = 0; i < n && i < 256; ++i) {
      std::size_t entry = at + layout_.data_row_count + 2 + 2 * std::size_t(i);
      std::size_t start = Get16(original_, entry) & 0x1FFF;
      if (start >= end || start < layout_.data_row_count + 2) break;
      slots.push_back({entry, at + start, at + end});
      end = start;
    }
    return slots;
  }

  void DataPage(std::size_t p) {
    const std::size_t at = PageAt(p), count = at + layout_.data_row_count;
    auto add = [&](const char* what, std::function<void(Bytes&)> f) {
      Add(PageLabel("data", p, what), f);
    };
    add("row-count-ffff", [&](Bytes& b) { Put16(b, count, 0xFFFF); });
    add("row-count-300", [&](Bytes& b) { Put16(b, count, 300); });
    add("owner-beyond", [&](Bytes& b) { Put32(b, at + 4, uint32_t(page_count_ + 9)); });
    std::vector<Slot> slots = Slots(p);
    if (slots.empty()) return;
    const Slot first = slots.front();
    add("row-offset-past-page", [&](Bytes& b) { Put16(b, first.entry, 0x1FFF); });
    add("row-offset-into-header", [&](Bytes& b) { Put16(b, first.entry, 2); });
    add("row-offsets-reversed", [&](Bytes& b) {
      for (const Slot& s : slots)
        Put16(b, s.entry, uint16_t(layout_.page_size - 1 - (s.start - at)));
    });
    add("row-overflow-pointer-beyond", [&](Bytes& b) {
      Put16(b, first.entry, uint16_t((Get16(b, first.entry) & 0x1FFF) | 0x4000));
      Put32(b, first.start, RowPointer(uint32_t(page_count_ + 5), 0));
    });
    add("row-overflow-pointer-self", [&](Bytes& b) {
      Put16(b, first.entry, uint16_t((Get16(b, first.entry) & 0x1FFF) | 0x4000));
      Put32(b, first.start, RowPointer(uint32_t(p), 0));
    });
    add("row-column-count-huge", [&](Bytes& b) {
      if (layout_.jet3) {
        b[first.start] = 0xFF;
      } else {
        Put16(b, first.start, 0xFFFF);
      }
    });
    // The end of a row holds the variable-column count and offsets and the null mask.
    add("row-tail-ff", [&](Bytes& b) {
      for (std::size_t i = first.end - std::min<std::size_t>(8, first.end - first.start);
           i < first.end; ++i) {
        b[i] = 0xFF;
      }
    });
    add("row-tail-var-offsets", [&](Bytes& b) {
      std::mt19937 rng(uint32_t(p) * 7919u);
      std::size_t len = first.end - first.start;
      for (std::size_t i = first.end - std::min<std::size_t>(len, 12); i + 1 < first.end; ++i) {
        b[i] = uint8_t(rng());
      }
    });
    add("every-row-random", [&](Bytes& b) {
      std::mt19937 rng(uint32_t(p) * 104729u);
      for (const Slot& s : slots) {
        for (std::size_t i = s.start; i < s.end; ++i) b[i] = uint8_t(rng());
      }
    });
  }

  void LvalPage(std::size_t p) {
    const std::size_t at = PageAt(p);
    auto add = [&](const char* what, std::function<void(Bytes&)> f) {
      Add(PageLabel("lval", p, what), f);
    };
    add("row-count-ffff", [&](Bytes& b) { Put16(b, at + layout_.data_row_count, 0xFFFF); });
    std::vector<Slot> slots = Slots(p);
    add("chain-pointers-self", [&](Bytes& b) {
      for (const Slot& s : slots) Put32(b, s.start, RowPointer(uint32_t(p), 0));
    });
    add("chain-pointers-beyond", [&](Bytes& b) {
      for (const Slot& s : slots) Put32(b, s.start, RowPointer(uint32_t(page_count_ + 3), 1));
    });
    add("row-offsets-random", [&](Bytes& b) {
      std::mt19937 rng(uint32_t(p) * 31337u);
      for (const Slot& s : slots) Put16(b, s.entry, uint16_t(rng()));
    });
  }

  void UsageMaps() {
    // Page 1 row 0 is the database's own page map.
    std::vector<Slot> global = Slots(1);
    if (!global.empty()) {
      const Slot map = global.front();
      Add("usage-global-type-7", [&](Bytes& b) { b[map.start] = 7; });
      Add("usage-global-reference-beyond", [&](Bytes& b) {
        b[map.start] = 1;
        for (std::size_t i = map.start + 1; i + 4 <= map.end; i += 4) {
          Put32(b, i, uint32_t(page_count_ + 11));
        }
      });
    }
    // Each table's owned-pages map: all bits set (pages past the end of the file claimed),
    // start page far out, or turned into a reference map to nowhere.
    for (std::size_t p : Pick(tdefs_)) {
      uint32_t ptr = Get32(original_, PageAt(p) + layout_.tdef_owned_map);
      uint32_t map_page = ptr >> 8;
      uint8_t map_row = uint8_t(ptr);
      if (map_page == 0 || map_page >= page_count_) continue;
      std::vector<Slot> slots = Slots(map_page);
      if (map_row >= slots.size()) continue;
      const Slot map = slots[map_row];
      if (map.end - map.start < 6) continue;
      std::string base = "usage-owned-of-p" + std::to_string(p) + "-";
      Add(base + "all-pages", [&](Bytes& b) {
        b[map.start] = 0;
        for (std::size_t i = map.start + 5; i < map.end; ++i) b[i] = 0xFF;
      });
      Add(base + "start-far", [&](Bytes& b) {
        b[map.start] = 0;
        Put32(b, map.start + 1, 0x7FFFFFF8u);
      });
      Add(base + "reference-beyond", [&](Bytes& b) {
        b[map.start] = 1;
        for (std::size_t i = map.start + 1; i + 4 <= map.end; i += 4) {
          Put32(b, i, uint32_t(page_count_ + 2));
        }
      });
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
      for (std::size_t r = 0; r < Slots(p).size(); ++r)
        targets.insert(RowPointer(uint32_t(p), uint8_t(r)));
    }
    std::vector<std::size_t> found;
    for (std::size_t p : data_) {
      for (const Slot& s : Slots(p)) {
        for (std::size_t i = s.start; i + 12 <= s.end && found.size() < kMaxPagesPerKind; ++i) {
          uint8_t kind = original_[i + 3] & 0xC0;
          if ((kind == 0x40 || kind == 0x00) && targets.count(Get32(original_, i + 4)) &&
              Get32(original_, i) != 0) {
            found.push_back(i);
            i += 11;
          }
        }
      }
    }
    for (std::size_t at : found) {
      std::string base = "lvptr-at-" + std::to_string(at) + "-";
      Add(base + "length-huge",
          [&](Bytes& b) { Put32(b, at, (Get32(b, at) & 0xC0000000u) | 0x3FFFFFFFu); });
      Add(base + "page-beyond",
          [&](Bytes& b) { Put32(b, at + 4, RowPointer(uint32_t(page_count_ + 4), 0)); });
      Add(base + "row-missing", [&](Bytes& b) { b[at + 4] = 0xEE; });
      Add(base + "kind-invalid", [&](Bytes& b) { b[at + 3] |= 0xC0; });
      Add(base + "to-data-page", [&](Bytes& b) {
        Put32(b, at + 4, RowPointer(uint32_t(data_.empty() ? 1 : data_.front()), 0));
      });
    }
  }

  void RandomDamage() {
    const std::size_t ps = layout_.page_size;
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
        std::size_t page = 1 + rng() % (page_count_ - 1);
        uint8_t type = b[PageAt(page)];
        for (std::size_t i = PageAt(page); i < PageAt(page) + ps; ++i) b[i] = uint8_t(rng());
        b[PageAt(page)] = type;  // keep the page kind so the damage reaches its parser
      });
    }
  }

  const Bytes& original_;
  Layout layout_;
  std::size_t page_count_ = 0;
  std::vector<std::size_t> tdefs_, data_, lvals_;
  std::vector<DamagedCopy> copies_;
};

}  // namespace

std::vector<DamagedCopy> MakeDamagedCopies(const std::vector<uint8_t>& original) {
  if (original.size() < 0x100) return {};
  return Damager(original).All();
}

}  // namespace px::testing
