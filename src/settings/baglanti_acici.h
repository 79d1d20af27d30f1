#pragma once
// The opener the program uses for the company database: Access files through our own
// storage engine. SQL Server connection strings are refused until the SQL Server backend
// is in; the settings object then keeps the company record's defaults.

#include "settings/veritabani_bilgisi.h"

namespace px::settings {

class VeritabaniBaglantiAcici final : public BaglantiAcici {
 public:
  Result<std::unique_ptr<db::Connection>> Ac(const BaglantiTanimi& tanim) override;
};

}  // namespace px::settings
