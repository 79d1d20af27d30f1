#pragma once
// The company numbers of the suite, for backing up every company: intSirketNo of tblSirket
// in ascending order, each as three digits with leading zeros ("001").

#include <string>
#include <vector>

#include "core/result.h"
#include "db/connection.h"

namespace px::backup {

// Appends the numbers to `liste`.
Status SirketNumaralariniAl(db::Connection& sirket_db, std::vector<std::string>& liste);

// A number in the format "000": at least three digits, rounded half away from zero, the sign
// kept; text that reads as a number is formatted as that number, other text is kept, Null
// gives "".
std::string UcHaneli(const Value& v);

}  // namespace px::backup
