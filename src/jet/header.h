#pragma once
// The database header (page 0): format id, version byte, and the fields of the masked
// region that a reader needs.
//
//   0x00      page type 0x00, then 01 00 00
//   0x04      "Standard Jet DB" (ACE files: "Standard ACE DB"), NUL
//   0x14      version: 0 Jet 3, 1 Jet 4, 2.. ACE (Access 2007 and later)
//   0x18..    126 (Jet 3) / 128 (Jet 4) bytes XOR-masked with RC4 key C7 DA 39 6B
//   0x3A      Jet 3 sort order LCID (16 bits)
//   0x3C      code page (16 bits)
//   0x3E      database key; non-zero means pages 1.. are RC4-encoded
//   0x6E      Jet 4 sort order: LCID (16), sort id (8), version (8)
//   0x72      Jet 4 creation date (OLE date)

#include <cstdint>
#include <string>

#include "core/bytes.h"
#include "core/result.h"
#include "jet/format.h"

namespace px::jet {

inline constexpr size_t kHeaderVersionOffset = 0x14;
inline constexpr size_t kHeaderMaskOffset = 0x18;
inline constexpr size_t kHeaderCreationDate = 0x72;
inline constexpr uint8_t kHeaderMaskKey[4] = {0xC7, 0xDA, 0x39, 0x6B};
// The smallest prefix that holds every field above (a Jet 3 page is larger).
inline constexpr size_t kHeaderMinimumBytes = 0x100;

struct DatabaseHeader {
  const JetFormat* format = nullptr;
  uint16_t code_page = 0;
  uint16_t sort_order = 0;         // LCID, e.g. 1033 General, 1055 Turkish
  uint8_t sort_order_version = 0;  // Jet 4 only
  uint32_t db_key = 0;
  double creation_date = 0;  // Jet 4 only; 0 in Jet 3
};

// Decodes the first bytes of a file (at least kHeaderMinimumBytes). Refuses ACE (.accdb),
// other products' files and unknown versions with a message naming what was found.
Result<DatabaseHeader> DecodeHeader(Bytes first_bytes, const std::string& file_name);

// "Jet 3 (Access 97)" / "Jet 4 (Access 2000-2003)".
std::string VersionName(JetVersion v);

}  // namespace px::jet
