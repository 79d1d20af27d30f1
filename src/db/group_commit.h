#pragma once
// Several databases committed together: after an error every one of them is as it was, and
// a program killed at any moment leaves them all as before or, once the next run has read
// the commit record, all as after.
//
// Each database's new state is first written and flushed beside it (its prepared file,
// Database::CommitFiles()); nothing is renamed yet. A commit record listing every (prepared
// file, database) pair is made durable before the first prepared file is written, marked
// undecided, and rewritten as decided once every prepared file is complete: from that moment
// the commit stands, and each prepared file is renamed over its database. The record goes
// last. Found by a later run, an undecided record means: remove the prepared files it lists
// (the databases were never touched); a decided one: rename those still there.
//
// The record is plain UTF-8 text, one item per line ("\n"), replaced whole:
//   pergonix-commit 1
//   undecided | decided
//   <prepared file> TAB <database>      one line per database, host paths
//   end <number of databases>
// A record that does not read exactly so is an error naming it; nothing is guessed.

#include <span>
#include <string>
#include <vector>

#include "core/result.h"
#include "db/database.h"

namespace px::platform {
class FileLayer;
}

namespace px::db {

// The record's name in the folder its owner keeps it in.
inline constexpr char kCommitRecordName[] = ".~pergonix-commit.tmp";

// Where the restore runs of a suite keep their record: the suite's work area +
// "\GeriAlOncesi\" + kCommitRecordName (in the work area's spelling). Whatever reads or
// changes the suite's databases deals with a record found there first.
std::string SuiteCommitRecord(std::string_view work_area);

// Beside the record, a file that whoever commits or finishes a commit holds locked: a run
// never mistakes another run's commit under way for an interrupted one. It stays when done.
inline constexpr char kCommitLockName[] = "pergonix-commit.lock";
std::string CommitLockBeside(const std::string& record_path);

struct CommitRecord {
  bool decided = false;
  std::vector<PreparedCommit> files;
};

// The record's text, and the record read back from it (`where` names it in messages).
std::string EncodeCommitRecord(const CommitRecord& record);
Result<CommitRecord> DecodeCommitRecord(std::string_view text, const std::string& where);

// Commits the open transactions of `databases` together through the record at
// `record_path` (a host path; its folder is made when missing). One database, or databases
// that keep no files, commit one after another without a record.
//
// On an error before the decision every database is rolled back and as before. An error
// after it (a refused rename) leaves the record and the prepared files not yet renamed for
// FinishInterruptedCommit; the message says so. Either way the caller closes the databases
// without rolling them back.
Status CommitTogether(platform::FileLayer& files, const std::string& record_path,
                      std::span<Database* const> databases);

// What a killed program's record at `record_path` asks for: a decided commit finished (the
// prepared files still there renamed over their databases), an undecided one undone (its
// prepared files removed, and the pages set aside for a database it was to create); then
// the record goes. OK without a record; Busy while another run's commit is under way.
// Errors name the file.
Status FinishInterruptedCommit(platform::FileLayer& files, const std::string& record_path);

// What a run does first: the record at `record_path` dealt with as above, then what killed
// programs left beside databases in `folders` and the folders below them (`depth` levels;
// host paths, missing ones skipped) removed: spill, scratch and prepared files
// (jet/page_store.h). That record is the only one kept for these databases, so once it is
// gone no prepared file is needed. A database that exists is locked while its leftovers go,
// and one in use keeps them. A record that cannot be dealt with is returned as the error
// and nothing is removed.
Status RemoveStaleLeftovers(platform::FileLayer& files, const std::string& record_path,
                            std::span<const std::string> folders, int depth);

}  // namespace px::db
