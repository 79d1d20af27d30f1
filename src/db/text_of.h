#pragma once
// A value turned into text the way the suite's code does it, by concatenating it with an
// empty string: Null gives "", booleans "True"/"False", numbers their plain digits with a
// point, dates "YYYY-MM-DD HH:MM:SS" (the time left out at midnight), GUIDs in braces.

#include <string>

#include "core/value.h"

namespace px::db {

std::string TextOf(const Value& v);

}  // namespace px::db
