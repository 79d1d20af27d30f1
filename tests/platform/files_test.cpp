#include "platform/files.h"

#include <gtest/gtest.h>

#include "platform/utf8_path.h"
#include "support/dying_files.h"
#include "support/temp_folder.h"

namespace px::platform {
namespace {

using px::testing::DyingFiles;
using px::testing::TempFolder;

std::span<const uint8_t> Bytes(std::string_view s) {
  return {reinterpret_cast<const uint8_t*>(s.data()), s.size()};
}

std::string ReadOrEmpty(const std::string& path) {
  auto content = ReadFileWhole(SystemFiles(), path);
  return content.ok() ? *content : std::string("<") + content.status().ToString() + ">";
}

TEST(Files, TempNameSitsBesideTheTarget) {
  const struct {
    std::string target, temp;
  } cases[] = {
      {"a/b.mdb", "a/.~b.mdb.tmp"},
      {"b.ini", ".~b.ini.tmp"},
      {"/x/İş Ağı/config.ini", "/x/İş Ağı/.~config.ini.tmp"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(PathFromUtf8(TempNameBeside(c.target)), PathFromUtf8(c.temp)) << c.target;
  }
}

TEST(Files, ReplacesAnExistingFileWithATurkishName) {
  TempFolder dir;
  const std::string target = Utf8FromPath(dir.path() / PathFromUtf8("Şirket İğdır/ayar.ini"));
  ASSERT_TRUE(SystemFiles().CreateFolder(Utf8FromPath(PathFromUtf8(target).parent_path())).ok());
  ASSERT_TRUE(ReplaceFileWhole(SystemFiles(), target, "first, longer content").ok());
  ASSERT_TRUE(ReplaceFileWhole(SystemFiles(), target, "second").ok());
  EXPECT_EQ(ReadOrEmpty(target), "second");
  EXPECT_FALSE(SystemFiles().Exists(TempNameBeside(target)));
  auto listing = SystemFiles().List(Utf8FromPath(PathFromUtf8(target).parent_path()));
  ASSERT_TRUE(listing.ok());
  ASSERT_EQ(listing->size(), 1u);
  EXPECT_EQ((*listing)[0].name, "ayar.ini");
  EXPECT_EQ((*listing)[0].size, 6u);
}

Status Replace(FileLayer& files, const std::string& target, std::string_view content,
               Durability durability) {
  PX_ASSIGN_OR_RETURN(auto file, FileReplacement::Create(files, target, durability));
  PX_RETURN_IF_ERROR(file->Write(Bytes(content)));
  return file->Commit();
}

// Whatever step fails, the old content stays, the temporary file goes, and the error
// says which file and keeps its kind. A flushed replace makes three changes (write, flush,
// rename); a scratch one does not flush.
TEST(Files, AFailedReplaceLeavesTheTargetAlone) {
  TempFolder dir;
  const std::string target = Utf8FromPath(dir.path() / "data.xbf");
  for (auto [durability, changes] :
       {std::pair{Durability::kFlushed, 3u}, {Durability::kScratch, 2u}}) {
    DyingFiles sayac(0, DyingFiles::Fault::kFailing);
    ASSERT_TRUE(Replace(sayac, Utf8FromPath(dir.path() / "a"), "12345", durability).ok());
    ASSERT_EQ(sayac.changes(), changes);
    for (uint64_t n = 1; n <= sayac.changes(); ++n) {
      for (auto [fault, code] : {std::pair{DyingFiles::Fault::kFailing, StatusCode::kIOError},
                                 {DyingFiles::Fault::kDiskFull, StatusCode::kDiskFull}}) {
        ASSERT_TRUE(ReplaceFileWhole(SystemFiles(), target, "old").ok());
        DyingFiles files(n, fault);
        Status s = Replace(files, target, "new content", durability);
        EXPECT_EQ(s.code(), code) << n << ": " << s.ToString();
        EXPECT_NE(s.message().find("data.xbf"), std::string::npos) << n << ": " << s.message();
        EXPECT_EQ(ReadOrEmpty(target), "old") << n;
        EXPECT_FALSE(SystemFiles().Exists(TempNameBeside(target))) << n;
      }
    }
    ASSERT_TRUE(Replace(SystemFiles(), target, "new content", durability).ok());
    EXPECT_EQ(ReadOrEmpty(target), "new content");
    EXPECT_FALSE(SystemFiles().Exists(TempNameBeside(target)));
  }
}

TEST(Files, OpenModes) {
  TempFolder dir;
  const std::string existing = Utf8FromPath(dir.Write("e.bin", "abcdef"));
  const std::string missing = Utf8FromPath(dir.path() / "m.bin");
  const struct {
    std::string path;
    OpenMode mode;
    StatusCode code;
    std::string content_after;  // of the path, when the open succeeded
  } cases[] = {
      {existing, OpenMode::kRead, StatusCode::kOk, "abcdef"},
      {existing, OpenMode::kReadWrite, StatusCode::kOk, "abcdef"},
      {existing, OpenMode::kCreateNew, StatusCode::kAlreadyExists, ""},
      {existing, OpenMode::kCreateAlways, StatusCode::kOk, ""},
      {missing, OpenMode::kRead, StatusCode::kNotFound, ""},
      {missing, OpenMode::kReadWrite, StatusCode::kNotFound, ""},
      {missing, OpenMode::kCreateNew, StatusCode::kOk, ""},
      {Utf8FromPath(dir.path()), OpenMode::kRead, StatusCode::kIOError, ""},
  };
  for (const auto& c : cases) {
    auto file = SystemFiles().Open(c.path, c.mode);
    EXPECT_EQ(file.status().code(), c.code) << c.path << " " << int(c.mode);
    if (file.ok()) {
      file->reset();
      EXPECT_EQ(ReadOrEmpty(c.path), c.content_after) << int(c.mode);
      ASSERT_TRUE(ReplaceFileWhole(SystemFiles(), existing, "abcdef").ok());
    } else {
      EXPECT_NE(file.status().message().find(c.path), std::string::npos);
    }
  }
}

TEST(Files, ReadsAndWritesAtOffsets) {
  TempFolder dir;
  const std::string path = Utf8FromPath(dir.path() / "f.bin");
  auto file = SystemFiles().Open(path, OpenMode::kCreateNew);
  ASSERT_TRUE(file.ok()) << file.status().ToString();
  File& f = **file;
  ASSERT_TRUE(f.WriteAt(4, Bytes("efgh")).ok());
  ASSERT_TRUE(f.WriteAt(0, Bytes("abcd")).ok());
  ASSERT_TRUE(f.Append(Bytes("ij")).ok());
  EXPECT_EQ(*f.Size(), 10u);
  uint8_t buf[8] = {};
  EXPECT_EQ(*f.ReadAt(6, buf), 4u);  // short only at the end
  EXPECT_EQ(std::string(reinterpret_cast<char*>(buf), 4), "ghij");
  EXPECT_EQ(*f.ReadAt(20, buf), 0u);
  ASSERT_TRUE(f.Truncate(3).ok());
  ASSERT_TRUE(f.Sync().ok());
  EXPECT_EQ(*f.Size(), 3u);
  EXPECT_EQ(f.path(), path);
  file->reset();
  EXPECT_EQ(ReadOrEmpty(path), "abc");
}

TEST(Files, AFailedFileKeepsFailing) {
  TempFolder dir;
  const std::string path = Utf8FromPath(dir.Write("r.bin", "xyz"));
  auto file = SystemFiles().Open(path, OpenMode::kRead);
  ASSERT_TRUE(file.ok());
  Status write = (*file)->WriteAt(0, Bytes("no"));  // opened for reading only
  ASSERT_FALSE(write.ok());
  uint8_t buf[3];
  EXPECT_EQ((*file)->ReadAt(0, buf).status().ToString(), write.ToString());
  EXPECT_EQ((*file)->Sync().ToString(), write.ToString());
}

TEST(Files, ReadWholeRefusesWhatIsTooLarge) {
  TempFolder dir;
  const std::string path = Utf8FromPath(dir.Write("big", std::string(100, 'x')));
  EXPECT_TRUE(ReadFileWhole(SystemFiles(), path, 99).status().IsInvalidArgument());
  EXPECT_EQ(ReadFileWhole(SystemFiles(), path, 100)->size(), 100u);
  EXPECT_TRUE(ReadFileWhole(SystemFiles(), path + "-no").status().IsNotFound());
}

TEST(Files, ALockIsExclusiveUntilReleased) {
  TempFolder dir;
  const std::string path = Utf8FromPath(dir.Write("db.mdb", "0123"));
  auto lock = SystemFiles().LockExclusive(path);
  ASSERT_TRUE(lock.ok()) << lock.status().ToString();
  auto second = SystemFiles().LockExclusive(path);
  EXPECT_TRUE(second.status().IsBusy()) << second.status().ToString();
  // The holder still reads and writes the file through ordinary opens.
  {
    auto rw = SystemFiles().Open(path, OpenMode::kReadWrite);
    ASSERT_TRUE(rw.ok()) << rw.status().ToString();
    ASSERT_TRUE((*rw)->WriteAt(0, Bytes("AB")).ok());
  }
  EXPECT_EQ(ReadOrEmpty(path), "AB23");
  lock->reset();
  EXPECT_TRUE(SystemFiles().LockExclusive(path).ok());
  EXPECT_TRUE(SystemFiles().LockExclusive(path + "-no").status().IsNotFound());
}

}  // namespace
}  // namespace px::platform
