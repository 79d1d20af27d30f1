#include "folders/klasor_kontrol.h"

#include <optional>

#include "platform/drive.h"
#include "platform/text_case.h"

namespace px::folders {
namespace {

constexpr char kBaslik[] = "Pergonix Yedek";

char BuyukHarf(char c) {
  return (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c;
}

// The refusal message of a drive type that cannot hold backups; nullopt for usable ones.
std::optional<std::string> TurMesaji(int tur) {
  switch (tur) {
    case kDriveUnknown:
      return " Sürücüsü Tanımlanamadı!";
    case kDriveCdRom:
      return " Sürücüsü Bir CD-ROM!";
    case kDriveRamDisk:
      return " Sürücüsü Bir RAM Disk!";
    default:
      return std::nullopt;
  }
}

void Uyar(op::Operator& op, std::string metin) {
  op.Show(std::move(metin), kBaslik, op::Icon::kExclamation, op::Buttons::kOk, 1);
}

}  // namespace

bool KlasorAdiGecerli(std::string_view yol) {
  if (yol.empty() || BuyukHarf(yol[0]) < 'A' || BuyukHarf(yol[0]) > 'Z') return false;
  if (yol.size() < 2 || yol[1] != ':') return false;
  if (yol.size() < 3 || yol[2] != '\\') return false;
  if (yol.back() == '\\') return false;
  if (yol.substr(3).find_first_of("/:*?\"<>|") != std::string_view::npos) return false;
  for (size_t i = 0; i < yol.size(); ++i) {
    if (yol[i] != '\\') continue;
    const char once = i > 0 ? yol[i - 1] : '\0';
    const char sonra = i + 1 < yol.size() ? yol[i + 1] : '\0';
    if (once == '\\' || once == ' ' || sonra == '\\' || sonra == ' ') return false;
  }
  return true;
}

std::vector<std::string> KlasorParcala(std::string_view yol) {
  std::vector<std::string> parcalar{std::string(yol)};
  std::string_view kalan = yol;
  for (size_t sayac = 1; sayac <= yol.size(); ++sayac) {
    const size_t ayrac = kalan.rfind('\\');
    if (ayrac == std::string_view::npos) break;
    kalan = kalan.substr(0, ayrac);
    parcalar.emplace_back(kalan);
  }
  parcalar.pop_back();  // the drive
  return parcalar;
}

Result<bool> SurucuKlasorKontrol(std::string_view yol, FileSystem& fs, op::Operator& op) {
  if (yol.empty()) return false;
  const char harf = BuyukHarf(yol[0]);
  const std::string surucu(1, harf);
  if (fs.FolderExists(yol)) {
    if (auto mesaj = TurMesaji(fs.Drive(harf).type)) {
      Uyar(op, surucu + *mesaj);
      return false;
    }
    return true;
  }
  const DriveFacts surucu_bilgisi = fs.Drive(harf);
  if (!surucu_bilgisi.exists) {
    Uyar(op, surucu + " Sürücüsü Bulunamadı!");
    return false;
  }
  if (auto mesaj = TurMesaji(surucu_bilgisi.type)) {
    Uyar(op, surucu + *mesaj);
    return false;
  }
  if (!surucu_bilgisi.ready) {
    Uyar(op, surucu + " Sürücüsü Hazır Değil!");
    return false;
  }
  const std::string soru = UpperTurkish(yol) + "\r\n\r\nKlasörü Bulunamadı!\r\n\r\n" +
                           "Klasörün Oluşturulmasını İstiyormusunuz?";
  if (op.Show(soru, kBaslik, op::Icon::kQuestion, op::Buttons::kYesNo, 2) != op::Answer::kYes) {
    return false;
  }
  const auto parcalar = KlasorParcala(yol);
  for (auto it = parcalar.rbegin(); it != parcalar.rend(); ++it) {
    if (!fs.FolderExists(*it)) PX_RETURN_IF_ERROR(fs.CreateFolder(*it));
  }
  return true;
}

Result<bool> AltKlasorHazirla(std::string_view alt_klasor, std::string_view ust_klasor,
                              FileSystem& fs, op::Operator& op) {
  if (!fs.FolderExists(ust_klasor)) {
    op.Show(std::string(ust_klasor) + " Klasör'ü Bulunamadı!", "Uyarı", op::Icon::kExclamation,
            op::Buttons::kOk, 1);
    return false;
  }
  const std::string alt = std::string(ust_klasor) + "\\" + std::string(alt_klasor);
  if (!fs.FolderExists(alt)) PX_RETURN_IF_ERROR(fs.CreateFolder(alt));
  return true;
}

}  // namespace px::folders
