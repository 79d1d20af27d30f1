#include "platform/clock.h"

namespace px::platform {

std::tm LocalParts(std::time_t t) {
  std::tm parts{};
#ifdef _WIN32
  localtime_s(&parts, &t);
#else
  localtime_r(&t, &parts);
#endif
  return parts;
}

std::tm UtcParts(std::time_t t) {
  std::tm parts{};
#ifdef _WIN32
  gmtime_s(&parts, &t);
#else
  gmtime_r(&t, &parts);
#endif
  return parts;
}

}  // namespace px::platform
