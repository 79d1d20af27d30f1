#include "jet/catalog.h"

#include <algorithm>

namespace px::jet {

std::string AdoxTableType(int type, uint32_t flags) {
  switch (type) {
    case objtype::kTable:
      if (flags & kObjectFlagJetSystem) return std::string(kAdoxSystemTable);
      if (flags & kObjectFlagAccessSystem) return std::string(kAdoxAccessTable);
      return std::string(kAdoxTable);
    case objtype::kAccessLink:
      return std::string(kAdoxLink);
    case objtype::kOdbcLink:
      return std::string(kAdoxPassThrough);
    case objtype::kQuery:
      return (flags & kQueryKindMask) == 0 ? std::string(kAdoxView) : std::string();
    default:
      return std::string();
  }
}

void SortLikeAdox(std::vector<CatalogEntry>& entries, std::optional<TextOrder> name_order) {
  struct Place {
    std::vector<uint8_t> key;  // empty: no key
    size_t stored = 0;
  };
  std::vector<Place> places(entries.size());
  for (size_t i = 0; i < entries.size(); ++i) {
    places[i].stored = i;
    if (name_order && !AppendTextKey(*name_order, entries[i].name, true, places[i].key).ok()) {
      places[i].key.clear();
    }
  }
  std::vector<size_t> order(entries.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
    if (entries[a].adox_type != entries[b].adox_type) {
      return entries[a].adox_type < entries[b].adox_type;
    }
    const Place& pa = places[a];
    const Place& pb = places[b];
    if (pa.key.empty() != pb.key.empty()) return !pa.key.empty();
    return pa.key < pb.key;
  });
  std::vector<CatalogEntry> sorted;
  sorted.reserve(entries.size());
  for (size_t i : order) sorted.push_back(std::move(entries[i]));
  entries = std::move(sorted);
}

}  // namespace px::jet
