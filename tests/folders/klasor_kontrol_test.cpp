#include "folders/klasor_kontrol.h"

#include <gtest/gtest.h>

#include "operator/scripted_operator.h"
#include "platform/host_path.h"
#include "support/bellek_dosyalar.h"
#include "support/temp_folder.h"

namespace px::folders {
namespace {

using op::Answer;
using op::Box;
using op::Buttons;
using op::Icon;
using px::testing::BellekDosyalar;

Box Uyari(const std::string& text) {
  return Box{text, "Pergonix Yedek", Icon::kExclamation, Buttons::kOk, 1};
}

TEST(KlasorAdiGecerli, FormRules) {
  // Blanks away from a separator are fine.
  for (const char* ok :
       {"d:\\yedek", "C:\\Pergonix\\Yedek 2009\\Ocak", "C:\\Şirket Yedekleri", "d:\\a b\\c d"}) {
    EXPECT_TRUE(KlasorAdiGecerli(ok)) << ok;
  }
  for (const char* bad :
       {"", "d:yedek", "d:\\yedek\\", "C:\\", "C:", "1:\\yedek", "\\\\sunucu\\yedek", "d:/yedek",
        "d:\\a\\\\b", "d:\\a \\b", "d:\\a\\ b", "d:\\ a"}) {
    EXPECT_FALSE(KlasorAdiGecerli(bad)) << bad;
  }
  for (const char* bad : {"/", ":", "*", "?", "\"", "<", ">", "|"}) {
    EXPECT_FALSE(KlasorAdiGecerli(std::string("d:\\a") + bad + "b")) << bad;
  }
}

TEST(KlasorParcala, PathThenEachParentWithoutTheDrive) {
  using V = std::vector<std::string>;
  EXPECT_EQ(KlasorParcala("C:\\A\\B\\C"), (V{"C:\\A\\B\\C", "C:\\A\\B", "C:\\A"}));
  EXPECT_EQ(KlasorParcala("C:\\A"), V{"C:\\A"});
  EXPECT_TRUE(KlasorParcala("Yedek").empty());
}

// Existing folders pass silently on fixed, removable and network drives; any folder on a
// CD-ROM, a RAM disk or an unknown drive, and a missing folder on a drive that is missing or
// not ready, is refused with its box, and nothing is created.
TEST(SurucuKlasorKontrol, DrivesByKind) {
  struct Case {
    DriveFacts surucu;
    bool klasor_var;
    const char* kutu;  // empty: passes silently
  };
  const Case cases[] = {
      {{true, true, kDriveFixed}, true, ""},
      {{true, true, kDriveRemovable}, true, ""},
      {{true, true, kDriveNetwork}, true, ""},
      {{true, true, kDriveCdRom}, true, "E Sürücüsü Bir CD-ROM!"},
      {{true, true, kDriveRamDisk}, true, "E Sürücüsü Bir RAM Disk!"},
      {{true, true, kDriveUnknown}, true, "E Sürücüsü Tanımlanamadı!"},
      {{}, false, "E Sürücüsü Bulunamadı!"},
      {{true, false, kDriveCdRom}, false, "E Sürücüsü Bir CD-ROM!"},
      {{true, true, kDriveRamDisk}, false, "E Sürücüsü Bir RAM Disk!"},
      {{true, false, kDriveUnknown}, false, "E Sürücüsü Tanımlanamadı!"},
      {{true, false, kDriveRemovable}, false, "E Sürücüsü Hazır Değil!"},
  };
  for (const Case& c : cases) {
    BellekDosyalar fs;
    op::ScriptedOperator op;
    fs.suruculer['E'] = c.surucu;
    if (c.klasor_var) fs.KlasorZinciri("E:\\Yedek");
    EXPECT_EQ(*SurucuKlasorKontrol("e:\\yedek", fs, op), *c.kutu == '\0') << c.kutu;
    EXPECT_EQ(op.boxes, *c.kutu ? std::vector<Box>{Uyari(c.kutu)} : std::vector<Box>{});
    EXPECT_TRUE(fs.yaratilan.empty());
  }
}

// A missing folder on a ready drive is asked about (the default button, No, when no answer
// comes); Yes creates each missing folder from the drive down, and a failure reaches the caller.
TEST(SurucuKlasorKontrol, MissingFolderAskedAndCreatedOnYes) {
  struct Case {
    std::vector<Answer> cevap;
    bool salt_okunur;
    StatusCode kod;
    bool sonuc;
    std::vector<std::string> yaratilan;
  };
  const Case cases[] = {
      {{}, false, StatusCode::kOk, false, {}},
      {{Answer::kYes},
       false,
       StatusCode::kOk,
       true,
       {"c:\\a\\yedek ışığı", "c:\\a\\yedek ışığı\\B"}},
      {{Answer::kYes}, true, StatusCode::kIOError, false, {"c:\\a\\yedek ışığı"}},
  };
  for (const Case& c : cases) {
    BellekDosyalar fs;
    fs.KlasorZinciri("C:\\A");
    fs.salt_okunur = c.salt_okunur;
    op::ScriptedOperator op(c.cevap);
    auto r = SurucuKlasorKontrol("c:\\a\\yedek ışığı\\B", fs, op);
    EXPECT_EQ(r.status().code(), c.kod);
    if (r.ok()) {
      EXPECT_EQ(*r, c.sonuc);
    }
    EXPECT_EQ(op.boxes,
              (std::vector<Box>{{"C:\\A\\YEDEK IŞIĞI\\B\r\n\r\nKlasörü Bulunamadı!\r\n\r\n"
                                 "Klasörün Oluşturulmasını İstiyormusunuz?",
                                 "Pergonix Yedek", Icon::kQuestion, Buttons::kYesNo, 2}}));
    EXPECT_EQ(fs.yaratilan, c.yaratilan);
  }
}

// The subfolder is created once in an existing parent; a missing parent has its own box.
TEST(AltKlasorHazirla, CreatesTheSubfolderInAnExistingParent) {
  BellekDosyalar fs;
  op::ScriptedOperator op;
  fs.KlasorZinciri("C:\\Yedek");
  EXPECT_TRUE(*AltKlasorHazirla("Paket", "C:\\Yedek", fs, op));
  EXPECT_TRUE(*AltKlasorHazirla("Paket", "C:\\Yedek", fs, op));
  EXPECT_FALSE(*AltKlasorHazirla("Paket", "D:\\Yok", fs, op));
  EXPECT_EQ(fs.yaratilan, std::vector<std::string>{"C:\\Yedek\\Paket"});
  EXPECT_EQ(op.boxes, (std::vector<Box>{{"D:\\Yok Klasör'ü Bulunamadı!", "Uyarı",
                                         Icon::kExclamation, Buttons::kOk, 1}}));
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
