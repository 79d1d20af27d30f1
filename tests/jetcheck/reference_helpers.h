#pragma once
// The reference readers the Access engine is checked against, and the rules that put their
// output into our value forms.
//
// References:
//   mdb-tables -1     (mdbtools)  user tables, one a line
//   mdb-json          (mdbtools)  rows as JSON, NULL columns left out
//   mdb-reader-dump   (tools/mdb-reader-dump.js over the npm package mdb-reader), rows already
//                     in our forms
//
// Which reference decides where they part (the Access file's own bytes are the judge):
//   * Dates: mdbtools converts an OLE date to calendar parts only for values from 0 to 1e6
//     days (1899-12-30 to the year 4637), prints day zero of 1900 for anything else, and
//     rounds the time to whole seconds. mdb-reader keeps milliseconds, and the dump script
//     undoes its linear reading of dates before 1899-12-30. So dates are held to mdb-reader
//     exactly, and to mdb-json only for the years 1900 to 2699, after rounding ours to the
//     second as mdbtools does.
//   * Single and Double: mdbtools prints a fixed number of significant digits; mdb-reader
//     gives the exact value, which the dump prints as the shortest text that reads back.
//     Held to mdb-reader by text, to mdb-json after rounding ours to the digits it printed.
//   * Currency and Numeric: mdbtools prints every scale digit ("3.5000"); compared after
//     dropping trailing zeros. Booleans: mdbtools prints 1/0.
//   * GUIDs: compared without regard to letter case or braces with mdbtools.
//   * Row order: a row that grew after it was written is moved to another page and its slot
//     keeps a pointer to it (the moved copy is flagged deleted). Jet reads it through the
//     pointer, in the slot's place; both references print it where its bytes lie instead.
//     In files with such rows the rows are matched without regard to order, and the order
//     is held by its own test against the row numbers the sample rows carry.
//   * Jet 3 text: both references decode it as Windows-1252 whatever code page the file
//     names; every sample file is a Western (1252) file, so both are right for them.

#include <optional>
#include <string>
#include <vector>

#include "core/value_text.h"
#include "jetcheck/jsonl_helpers.h"
#include "support/process.h"

namespace px::jetcheck {

using ProcessResult = ::px::testing::RunResult;
using ::px::testing::RunProcess;
using ::px::testing::SplitLines;

// The names of the sample Access files (sorted); empty when they are absent.
std::vector<std::string> SampleFiles();

// Reasons why a reference cannot be used here; empty when it can.
std::string MdbtoolsMissing();
std::string MdbReaderMissing();

// "node tools/mdb-reader-dump.js <args>".
ProcessResult RunMdbReaderDump(const std::vector<std::string>& args);
// "mdb-json" with date formats in our layout.
ProcessResult RunMdbJson(const std::string& file, const std::string& table);

enum class Reference { kMdbReader, kMdbJson };
const char* ReferenceName(Reference ref);

struct ValueCheck {
  bool equal = false;
  bool deferred = false;  // this reference cannot tell; the other one decides
};

// One of our values against the same value from a reference; `theirs` is null when the
// reference left the column out of the row.
ValueCheck CheckValue(Reference ref, const JsonScalar& ours, const JsonScalar* theirs);

struct RowsComparison {
  std::size_t rows = 0;               // rows compared
  std::size_t values = 0;             // values that agreed
  std::size_t deferred = 0;           // values left to the other reference
  std::vector<std::string> failures;  // "table T row N column C: ours X, ref Y"
};

enum class RowOrder { kSame, kAny };

// Compares two JSON Lines row streams of `table`, row by row or, with RowOrder::kAny, each
// of our rows against a reference row not yet matched.
RowsComparison CompareRows(Reference ref, const std::string& table, const std::string& ours,
                           const std::string& theirs, RowOrder order = RowOrder::kSame);

// True when a data page of the file holds a live overflow pointer (slot flag 0x4000).
bool HasOverflowRows(const std::string& path);

// --- normalisation rules (exposed for their own tests) -----------------------------

// True when `ours` (a number's text) rounded to the significant digits shown in
// `printed` gives the number `printed` stands for.
bool SameToPrintedDigits(const std::string& ours, const std::string& printed);

// "YYYY-MM-DDTHH:MM:SS[.fff]" (hour 24 accepted, as mdbtools prints it when rounding
// reaches midnight).
std::optional<DateParts> ParseDateTime(const std::string& text);

}  // namespace px::jetcheck
