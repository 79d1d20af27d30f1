#pragma once
// Every row of a table through the reader, in the reader's order. A table that does not open
// or a read that fails is a test failure; the rows read until then are returned.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "jet/database.h"

namespace px::jet::testing {

inline std::vector<Row> TableRows(Database& db, const std::string& table) {
  std::vector<Row> rows;
  auto reader = db.OpenTable(table);
  EXPECT_TRUE(reader.ok()) << reader.status().ToString();
  if (!reader.ok()) return rows;
  Row row;
  while ((*reader)->Next(row)) rows.push_back(row);
  EXPECT_TRUE((*reader)->status().ok()) << (*reader)->status().ToString();
  return rows;
}

}  // namespace px::jet::testing
