#pragma once
// Calendar parts of a moment, in the local time zone or in UTC, on either system.

#include <ctime>

namespace px::platform {

std::tm LocalParts(std::time_t t);
std::tm UtcParts(std::time_t t);

}  // namespace px::platform
