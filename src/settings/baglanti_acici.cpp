#include "settings/baglanti_acici.h"

#include "db/jet_connection.h"
#include "platform/text_case.h"

namespace px::settings {

Result<std::unique_ptr<db::Connection>> VeritabaniBaglantiAcici::Ac(const BaglantiTanimi& tanim) {
  if (tanim.provider.empty()) {
    // The string names its own provider: a SQL Server database. The string is not quoted
    // in the message because it holds the password.
    return Status::NotSupported("SQL Server connections are not available in this build");
  }
  if (FoldCase(tanim.provider).rfind("MICROSOFT.JET.OLEDB", 0) != 0) {
    return Status::NotSupported("provider " + tanim.provider + " cannot open the Access file " +
                                tanim.baglanti_metni);
  }
  return db::OpenAccessConnection(tanim.baglanti_metni);
}

}  // namespace px::settings
