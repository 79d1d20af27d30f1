#include "settings/hata_mesaji.h"

namespace px::settings {

Hata HataOlarak(const Status& status) {
  Hata h;
  h.aciklama = status.message();
  if (status.IsNotFound()) {
    h.no = -2147217865;
  } else if (status.IsInvalidArgument()) {
    h.no = 13;
  } else {
    h.no = -2147467259;
  }
  return h;
}

void HataMesajiGoster(op::Operator& op, const Hata& hata, std::string_view prosedur,
                      std::string_view modul) {
  std::string text = "Hata No: " + std::to_string(hata.no) + "\r\n";
  text += "Hata Açıklama: " + hata.aciklama + "\r\n";
  text += "Satır No: " + std::to_string(hata.satir) + "\r\n";
  text += "Prosedür Adı: " + std::string(prosedur) + "\r\n";
  text += "Modül Tipi: Class Module\r\n";
  text += "Modül Adı: " + std::string(modul);
  op.Show(std::move(text), "HATA", op::Icon::kExclamation, op::Buttons::kOk, 1);
}

}  // namespace px::settings
