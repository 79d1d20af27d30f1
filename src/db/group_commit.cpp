#include "db/group_commit.h"

#include <charconv>
#include <filesystem>
#include <optional>

#include "jet/page_store.h"
#include "platform/files.h"
#include "platform/utf8_path.h"

namespace px::db {
namespace {

constexpr std::string_view kFirstLine = "pergonix-commit 1";
constexpr std::string_view kDecided = "decided";
constexpr std::string_view kUndecided = "undecided";
constexpr std::string_view kEnd = "end ";
// A record is a few lines per database; anything larger is not one.
constexpr size_t kLargestRecord = size_t{1} << 20;

Status WriteRecord(platform::FileLayer& files, const std::string& record_path,
                   const CommitRecord& record) {
  const std::filesystem::path folder = PathFromUtf8(record_path).parent_path();
  if (!folder.empty()) PX_RETURN_IF_ERROR(files.CreateFolder(Utf8FromPath(folder)));
  Status st = platform::ReplaceFileWhole(files, record_path, EncodeCommitRecord(record));
  if (!st.ok()) return st.WithContext(record_path + ": cannot write the commit record");
  return Status::Ok();
}

// `name` in the folder of `path`: a host path, or a domain path ("C:\Pergonix\x") whose
// separators the host's path type may not know.
std::string NameBeside(std::string_view path, std::string_view name) {
  const size_t end = path.find_last_of("\\/");
  return end == std::string_view::npos ? std::string(name)
                                       : std::string(path.substr(0, end + 1)) + std::string(name);
}

// The lock of the commits recorded at `record_path`, made when missing.
Result<std::unique_ptr<platform::FileLock>> LockCommits(platform::FileLayer& files,
                                                        const std::string& record_path) {
  const std::string lock_path = CommitLockBeside(record_path);
  if (!files.Exists(lock_path)) {
    auto made = files.Open(lock_path, platform::OpenMode::kCreateNew);
    if (!made.ok() && !made.status().IsAlreadyExists()) {
      return made.status().WithContext(record_path + ": cannot make the commit lock");
    }
  }
  auto lock = files.LockExclusive(lock_path);
  if (!lock.ok()) {
    if (lock.status().IsBusy()) {
      return Status::Busy(record_path +
                          ": another run is committing a restore; try again when it has "
                          "finished");
    }
    return lock.status().WithContext(record_path + ": cannot lock the commit record");
  }
  return std::move(*lock);
}

void RollBackAll(std::span<Database* const> databases) {
  for (Database* d : databases) (void)d->Rollback();
}

// One after another, for one database or databases without files: exact for one.
Status CommitEach(std::span<Database* const> databases) {
  for (size_t i = 0; i < databases.size(); ++i) {
    if (Status st = databases[i]->Commit(); !st.ok()) {
      RollBackAll(databases.subspan(i));
      return st;
    }
  }
  return Status::Ok();
}

// The leftovers in `folder` and below it; a database in use keeps its own.
Status RemoveLeftoversIn(platform::FileLayer& files, const std::filesystem::path& folder,
                         int depth) {
  const std::string folder_text = Utf8FromPath(folder);
  if (!files.Exists(folder_text)) return Status::Ok();
  PX_ASSIGN_OR_RETURN(std::vector<platform::FolderEntry> entries, files.List(folder_text));
  for (const platform::FolderEntry& e : entries) {
    const std::string path = Utf8FromPath(folder / PathFromUtf8(e.name));
    if (e.is_folder) {
      if (depth > 0)
        PX_RETURN_IF_ERROR(RemoveLeftoversIn(files, folder / PathFromUtf8(e.name), depth - 1));
      continue;
    }
    const std::optional<std::string> database = jet::DatabaseOfTemporary(path);
    if (!database) continue;
    std::unique_ptr<platform::FileLock> lock;
    if (files.Exists(*database)) {
      auto held = files.LockExclusive(*database);
      if (!held.ok()) continue;  // in use: its transaction may be live
      lock = std::move(*held);
    }
    if (Status st = files.Remove(path); !st.ok()) {
      return st.WithContext(path + ": cannot remove what an interrupted run left");
    }
  }
  return Status::Ok();
}

}  // namespace

std::string CommitLockBeside(const std::string& record_path) {
  return NameBeside(record_path, kCommitLockName);
}

std::string SuiteCommitRecord(std::string_view work_area) {
  return std::string(work_area) + "\\GeriAlOncesi\\" + kCommitRecordName;
}

std::string EncodeCommitRecord(const CommitRecord& record) {
  std::string text(kFirstLine);
  text += '\n';
  text += record.decided ? kDecided : kUndecided;
  text += '\n';
  for (const PreparedCommit& f : record.files) text += f.prepared + '\t' + f.target + '\n';
  text += std::string(kEnd) + std::to_string(record.files.size()) + '\n';
  return text;
}

Result<CommitRecord> DecodeCommitRecord(std::string_view text, const std::string& where) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const size_t nl = text.find('\n');
    if (nl == std::string_view::npos) {
      return Status::Corruption(where + ": line " + std::to_string(lines.size() + 1) +
                                " of the commit record has no end");
    }
    lines.push_back(text.substr(0, nl));
    text.remove_prefix(nl + 1);
  }
  auto bad = [&](size_t line, const std::string& what) {
    return Status::Corruption(where + ": line " + std::to_string(line + 1) +
                              " of the commit record: " + what);
  };
  if (lines.size() < 3) return bad(lines.size(), "the record ends early");
  if (lines[0] != kFirstLine) return bad(0, "not a commit record");
  CommitRecord record;
  if (lines[1] == kDecided) {
    record.decided = true;
  } else if (lines[1] != kUndecided) {
    return bad(1, "neither decided nor undecided");
  }
  for (size_t i = 2; i + 1 < lines.size(); ++i) {
    const size_t tab = lines[i].find('\t');
    if (tab == std::string_view::npos || tab == 0 || tab + 1 == lines[i].size()) {
      return bad(i, "not a prepared file and a database");
    }
    record.files.push_back(
        {std::string(lines[i].substr(0, tab)), std::string(lines[i].substr(tab + 1))});
  }
  const std::string_view last = lines.back();
  size_t count = 0;
  const char* end = last.data() + last.size();
  if (!last.starts_with(kEnd) ||
      std::from_chars(last.data() + kEnd.size(), end, count).ptr != end ||
      count != record.files.size()) {
    return bad(lines.size() - 1, "the count of databases does not match");
  }
  return record;
}

Status CommitTogether(platform::FileLayer& files, const std::string& record_path,
                      std::span<Database* const> databases) {
  CommitRecord record;
  for (Database* d : databases) {
    if (auto f = d->CommitFiles()) record.files.push_back(std::move(*f));
  }
  if (record.files.empty() || databases.size() == 1) return CommitEach(databases);
  if (record.files.size() != databases.size()) {
    RollBackAll(databases);
    return Status::NotSupported("databases with and without files cannot commit together");
  }
  for (const PreparedCommit& f : record.files) {
    if ((f.prepared + f.target).find_first_of("\t\n") != std::string::npos) {
      RollBackAll(databases);
      return Status::InvalidArgument(f.target + ": a path with a tab or a line break");
    }
  }
  auto undo = [&](Status st) {
    RollBackAll(databases);
    (void)files.Remove(record_path);
    return st;
  };
  const std::filesystem::path folder = PathFromUtf8(record_path).parent_path();
  if (!folder.empty()) {
    if (Status st = files.CreateFolder(Utf8FromPath(folder)); !st.ok()) {
      RollBackAll(databases);
      return st.WithContext(record_path + ": cannot make the commit record's folder");
    }
  }
  auto lock = LockCommits(files, record_path);
  if (!lock.ok()) {
    RollBackAll(databases);
    return lock.status();
  }
  // The prepared files are named before they exist, so that a killed program's are found.
  if (Status st = WriteRecord(files, record_path, record); !st.ok()) return undo(st);
  for (Database* d : databases) {
    if (auto prepared = d->PrepareCommit(); !prepared.ok()) return undo(prepared.status());
  }
  record.decided = true;
  if (Status st = WriteRecord(files, record_path, record); !st.ok()) {
    // A failure after the rename (the folder's flush) may have left the decision in place:
    // the record as it stands decides.
    auto now = platform::ReadFileWhole(files, record_path, kLargestRecord);
    Result<CommitRecord> read =
        now.ok() ? DecodeCommitRecord(*now, record_path) : Result<CommitRecord>(now.status());
    if (read.ok() && !read->decided) return undo(st);
    if (!read.ok()) {
      return st.WithContext(
          "the databases are left for the next run, which finishes or undoes "
          "the commit");
    }
  }
  Status first_error;
  for (Database* d : databases) {
    Status st = d->FinishCommit();
    if (!st.ok() && first_error.ok()) first_error = st;
  }
  if (!first_error.ok()) {
    return first_error.WithContext(record_path +
                                   ": the commit is decided; the next run finishes it");
  }
  (void)files.Remove(record_path);  // a record left behind finds nothing more to do
  return Status::Ok();
}

Status FinishInterruptedCommit(platform::FileLayer& files, const std::string& record_path) {
  // A record being replaced, under platform::TempNameBeside's name.
  const std::string record_name = record_path.substr(record_path.find_last_of("\\/") + 1);
  const std::string replacing = NameBeside(record_path, ".~" + record_name + ".tmp");
  if (files.Exists(replacing)) (void)files.Remove(replacing);
  if (!files.Exists(record_path)) return Status::Ok();
  PX_ASSIGN_OR_RETURN(std::unique_ptr<platform::FileLock> lock, LockCommits(files, record_path));
  if (!files.Exists(record_path)) return Status::Ok();  // the run that held it finished
  PX_ASSIGN_OR_RETURN(std::string text,
                      platform::ReadFileWhole(files, record_path, kLargestRecord));
  PX_ASSIGN_OR_RETURN(CommitRecord record, DecodeCommitRecord(text, record_path));
  for (const PreparedCommit& f : record.files) {
    if (!record.decided && !files.Exists(f.target)) {
      // A database the commit was to create: nothing can be using the pages it had set
      // aside.
      PX_RETURN_IF_ERROR(files.Remove(jet::SpillFileBeside(f.target)));
      PX_RETURN_IF_ERROR(files.Remove(jet::ScratchFileBeside(f.target)));
    }
    if (!files.Exists(f.prepared)) continue;  // renamed already, or never written
    Status st = record.decided ? files.Rename(f.prepared, f.target) : files.Remove(f.prepared);
    if (!st.ok()) {
      return st.WithContext(record_path + ": cannot " + (record.decided ? "finish" : "undo") +
                            " an interrupted commit");
    }
  }
  return files.Remove(record_path);
}

Status RemoveStaleLeftovers(platform::FileLayer& files, const std::string& record_path,
                            std::span<const std::string> folders, int depth) {
  PX_RETURN_IF_ERROR(FinishInterruptedCommit(files, record_path));
  for (const std::string& folder : folders) {
    PX_RETURN_IF_ERROR(RemoveLeftoversIn(files, PathFromUtf8(folder), depth));
  }
  return Status::Ok();
}

}  // namespace px::db
