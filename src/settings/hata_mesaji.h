#pragma once
// The class modules' error box: title "HATA", exclamation icon, OK only, six lines:
//   Hata No: <number>
//   Hata Açıklama: <description>
//   Satır No: <line, 0 when unknown>
//   Prosedür Adı: <procedure>
//   Modül Tipi: Class Module
//   Modül Adı: <class>

#include <cstdint>
#include <string>
#include <string_view>

#include "core/status.h"
#include "operator/operator.h"

namespace px::settings {

struct Hata {
  int64_t no = 0;
  std::string aciklama;
  int satir = 0;
};

// The number and description an error of ours carries in the box, with the numbers the
// suite's data-access layer gives for the same failure: a missing table or file
// -2147217865, a value of the wrong type 13 (type mismatch), anything else
// -2147467259 (unspecified error).
Hata HataOlarak(const Status& status);

void HataMesajiGoster(op::Operator& op, const Hata& hata, std::string_view prosedur,
                      std::string_view modul = "clsVeritabaniBilgisi");

}  // namespace px::settings
