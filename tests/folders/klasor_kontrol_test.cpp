#include "folders/klasor_kontrol.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "operator/scripted_operator.h"
#include "platform/host_path.h"
#include "platform/text_case.h"
#include "support/temp_folder.h"

namespace px::folders {
namespace {

using op::Answer;
using op::Box;
using op::Buttons;
using op::Icon;

// Folders and drives held in memory; folder names compare without regard to case.
class FakeFileSystem : public FileSystem {
 public:
  void AddFolder(const std::string& p) { folders_.insert(FoldCase(p)); }
  bool FolderExists(std::string_view p) override { return folders_.count(FoldCase(p)) > 0; }
  bool FileExists(std::string_view) override { return false; }
  DriveFacts Drive(char letter) override {
    auto it = drives.find(letter);
    return it == drives.end() ? DriveFacts{} : it->second;
  }
  Status CreateFolder(std::string_view p) override {
    created.emplace_back(p);
    if (read_only) return Status::IOError("Permission denied: " + std::string(p));
    AddFolder(std::string(p));
    return Status::Ok();
  }
  Result<size_t> FileCount(std::string_view) override { return size_t{0}; }

  std::map<char, DriveFacts> drives{{'C', {true, true, kDriveFixed}}};
  std::vector<std::string> created;
  bool read_only = false;

 private:
  std::set<std::string> folders_;
};

Box Uyari(const std::string& text) {
  return Box{text, "Pergonix Yedek", Icon::kExclamation, Buttons::kOk, 1};
}

TEST(KlasorAdiGecerli, FormRules) {
  EXPECT_TRUE(KlasorAdiGecerli("d:\\yedek"));
  EXPECT_TRUE(KlasorAdiGecerli("C:\\Pergonix\\Yedek 2009\\Ocak"));
  EXPECT_TRUE(KlasorAdiGecerli("C:\\Şirket Yedekleri"));
  EXPECT_FALSE(KlasorAdiGecerli(""));
  EXPECT_FALSE(KlasorAdiGecerli("d:yedek"));
  EXPECT_FALSE(KlasorAdiGecerli("d:\\yedek\\"));
  EXPECT_FALSE(KlasorAdiGecerli("C:\\"));
  EXPECT_FALSE(KlasorAdiGecerli("C:"));
  EXPECT_FALSE(KlasorAdiGecerli("1:\\yedek"));
  EXPECT_FALSE(KlasorAdiGecerli("\\\\sunucu\\yedek"));
  EXPECT_FALSE(KlasorAdiGecerli("d:/yedek"));
  EXPECT_FALSE(KlasorAdiGecerli("d:\\a\\\\b"));
  EXPECT_FALSE(KlasorAdiGecerli("d:\\a \\b"));
  EXPECT_FALSE(KlasorAdiGecerli("d:\\a\\ b"));
  EXPECT_FALSE(KlasorAdiGecerli("d:\\ a"));
  for (const char* bad : {"/", ":", "*", "?", "\"", "<", ">", "|"}) {
    EXPECT_FALSE(KlasorAdiGecerli(std::string("d:\\a") + bad + "b")) << bad;
  }
  // Blanks away from a separator are fine.
  EXPECT_TRUE(KlasorAdiGecerli("d:\\a b\\c d"));
}

TEST(KlasorParcala, PathThenEachParentWithoutTheDrive) {
  EXPECT_EQ(KlasorParcala("C:\\Pergonix\\Yedek"),
            (std::vector<std::string>{"C:\\Pergonix\\Yedek", "C:\\Pergonix"}));
  EXPECT_EQ(KlasorParcala("C:\\A\\B\\C"),
            (std::vector<std::string>{"C:\\A\\B\\C", "C:\\A\\B", "C:\\A"}));
  EXPECT_EQ(KlasorParcala("C:\\A"), (std::vector<std::string>{"C:\\A"}));
  EXPECT_TRUE(KlasorParcala("Yedek").empty());
}

class SurucuKlasorKontrolTest : public ::testing::Test {
 protected:
  Result<bool> Kontrol(const std::string& yol) { return SurucuKlasorKontrol(yol, fs_, op_); }
  FakeFileSystem fs_;
  op::ScriptedOperator op_;
};

TEST_F(SurucuKlasorKontrolTest, ExistingFolderOnAFixedDiskPassesSilently) {
  fs_.AddFolder("C:\\Yedek");
  EXPECT_TRUE(*Kontrol("c:\\yedek"));
  fs_.drives['C'].type = kDriveRemovable;
  EXPECT_TRUE(*Kontrol("C:\\Yedek"));
  fs_.drives['C'].type = kDriveNetwork;
  EXPECT_TRUE(*Kontrol("C:\\Yedek"));
  EXPECT_TRUE(op_.boxes.empty());
}

TEST_F(SurucuKlasorKontrolTest, ExistingFolderOnUnusableDrivesIsRefused) {
  fs_.AddFolder("E:\\Yedek");
  fs_.drives['E'] = {true, true, kDriveCdRom};
  EXPECT_FALSE(*Kontrol("e:\\Yedek"));
  fs_.drives['E'].type = kDriveRamDisk;
  EXPECT_FALSE(*Kontrol("e:\\Yedek"));
  fs_.drives['E'].type = kDriveUnknown;
  EXPECT_FALSE(*Kontrol("e:\\Yedek"));
  EXPECT_EQ(op_.boxes,
            (std::vector<Box>{Uyari("E Sürücüsü Bir CD-ROM!"), Uyari("E Sürücüsü Bir RAM Disk!"),
                              Uyari("E Sürücüsü Tanımlanamadı!")}));
}

TEST_F(SurucuKlasorKontrolTest, MissingFolderOnAMissingOrUnusableDrive) {
  EXPECT_FALSE(*Kontrol("f:\\Yedek"));
  fs_.drives['F'] = {true, false, kDriveCdRom};
  EXPECT_FALSE(*Kontrol("f:\\Yedek"));
  fs_.drives['F'] = {true, true, kDriveRamDisk};
  EXPECT_FALSE(*Kontrol("f:\\Yedek"));
  fs_.drives['F'] = {true, false, kDriveUnknown};
  EXPECT_FALSE(*Kontrol("f:\\Yedek"));
  fs_.drives['F'] = {true, false, kDriveRemovable};
  EXPECT_FALSE(*Kontrol("f:\\Yedek"));
  EXPECT_EQ(op_.boxes,
            (std::vector<Box>{Uyari("F Sürücüsü Bulunamadı!"), Uyari("F Sürücüsü Bir CD-ROM!"),
                              Uyari("F Sürücüsü Bir RAM Disk!"), Uyari("F Sürücüsü Tanımlanamadı!"),
                              Uyari("F Sürücüsü Hazır Değil!")}));
  EXPECT_TRUE(fs_.created.empty());
}

TEST_F(SurucuKlasorKontrolTest, AnsweringNoLeavesTheDiskAlone) {
  fs_.AddFolder("C:\\A");
  EXPECT_FALSE(*Kontrol("c:\\a\\yedek ışığı"));
  ASSERT_EQ(op_.boxes.size(), 1u);
  EXPECT_EQ(op_.boxes[0], (Box{"C:\\A\\YEDEK IŞIĞI\r\n\r\nKlasörü Bulunamadı!\r\n\r\n"
                               "Klasörün Oluşturulmasını İstiyormusunuz?",
                               "Pergonix Yedek", Icon::kQuestion, Buttons::kYesNo, 2}));
  EXPECT_EQ(op_.unscripted, 1);  // the default button, No, answered
  EXPECT_TRUE(fs_.created.empty());
}

TEST_F(SurucuKlasorKontrolTest, YesCreatesEachMissingFolderFromTheDriveDown) {
  fs_.AddFolder("C:\\A");
  op_.Queue(Answer::kYes);
  EXPECT_TRUE(*Kontrol("C:\\A\\B\\C"));
  EXPECT_EQ(fs_.created, (std::vector<std::string>{"C:\\A\\B", "C:\\A\\B\\C"}));
  EXPECT_EQ(op_.boxes.size(), 1u);
}

TEST_F(SurucuKlasorKontrolTest, CreationFailuresReachTheCaller) {
  fs_.read_only = true;
  op_.Queue(Answer::kYes);
  auto r = Kontrol("C:\\Yedek");
  ASSERT_FALSE(r.ok());
  EXPECT_TRUE(r.status().IsIOError());
}

TEST(AltKlasorHazirla, CreatesTheSubfolderInAnExistingParent) {
  FakeFileSystem fs;
  op::ScriptedOperator op;
  fs.AddFolder("C:\\Yedek");
  EXPECT_TRUE(*AltKlasorHazirla("Paket", "C:\\Yedek", fs, op));
  EXPECT_TRUE(*AltKlasorHazirla("Paket", "C:\\Yedek", fs, op));
  EXPECT_EQ(fs.created, std::vector<std::string>{"C:\\Yedek\\Paket"});
  EXPECT_TRUE(op.boxes.empty());
}

TEST(AltKlasorHazirla, MissingParentIsReportedWithTheApostropheForm) {
  FakeFileSystem fs;
  op::ScriptedOperator op;
  EXPECT_FALSE(*AltKlasorHazirla("Paket", "D:\\Yok", fs, op));
  EXPECT_EQ(op.boxes, (std::vector<Box>{{"D:\\Yok Klasör'ü Bulunamadı!", "Uyarı",
                                         Icon::kExclamation, Buttons::kOk, 1}}));
  EXPECT_TRUE(fs.created.empty());
}

// The same checks on the host through the drive map.
TEST(KlasorKontrolHost, CreatesFoldersOnAMappedDriveMatchingExistingCase) {
  testing::TempFolder d;
  d.Mkdir("Yedekler");
  testing::ScopedEnv env(kDriveMapVariable, "D=" + d.str() + ";M=" + d.str() + "/takili-degil");
  HostFileSystem fs;
  const int tur = fs.Drive('D').type;
  if (tur == kDriveRamDisk || tur == kDriveUnknown || tur == kDriveCdRom) {
    GTEST_SKIP() << "the temporary folder is not on a disk (drive type " << tur << ")";
  }
  op::ScriptedOperator op({Answer::kYes});
  EXPECT_TRUE(*SurucuKlasorKontrol("d:\\YEDEKLER\\2009\\Ocak", fs, op));
  EXPECT_TRUE(std::filesystem::is_directory(d.path() / "Yedekler" / "2009" / "Ocak"));
  EXPECT_TRUE(*AltKlasorHazirla("Paket", "D:\\yedekler\\2009", fs, op));
  EXPECT_TRUE(std::filesystem::is_directory(d.path() / "Yedekler" / "2009" / "Paket"));
  EXPECT_FALSE(*SurucuKlasorKontrol("M:\\Yedek", fs, op));
  EXPECT_FALSE(*SurucuKlasorKontrol("N:\\Yedek", fs, op));
  ASSERT_EQ(op.boxes.size(), 3u);
  EXPECT_EQ(op.boxes[1].text, "M Sürücüsü Hazır Değil!");
  EXPECT_EQ(op.boxes[2].text, "N Sürücüsü Bulunamadı!");
}

}  // namespace
}  // namespace px::folders
