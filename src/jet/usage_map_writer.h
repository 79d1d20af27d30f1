#pragma once
// Changing usage maps (layout in usage_map.h) through the page store. An inline map whose
// window cannot hold a new page is moved when it is empty, and otherwise promoted in place
// to a reference map (same row length: 17 bitmap page slots in Jet 4, 33 in Jet 3), its
// bits copied onto the new bitmap pages. A reference map gains a bitmap page the first
// time a page of that page's range is added.

#include <cstdint>
#include <functional>
#include <string>

#include "core/result.h"
#include "jet/format.h"
#include "jet/writable_pages.h"

namespace px::jet {

// Marks `page` as in (or out of) the map the row pointer `map` names. `what` ("owned pages
// of table Cari") goes into messages.
Status UsageMapSet(WritablePages& pages, const JetFormat& f, RowPointer map, uint32_t page,
                   bool in_map, const std::string& what);

// Calls `fn` for every page in the map, ascending; stops at the first error. The map may
// be changed by `fn` only for pages already visited.
Status ForEachMappedPage(WritablePages& pages, const JetFormat& f, RowPointer map,
                         const std::string& what, const std::function<Status(uint32_t)>& fn);

}  // namespace px::jet
