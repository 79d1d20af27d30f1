#include "jet/catalog.h"

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

}  // namespace px::jet
