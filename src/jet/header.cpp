#include "jet/header.h"

#include <vector>

#include "jet/rc4.h"

namespace px::jet {

namespace {

constexpr std::string_view kJetId = "Standard Jet DB";
constexpr std::string_view kAceId = "Standard ACE DB";
constexpr size_t kIdOffset = 4;

std::string AceVersionName(uint8_t v) {
  switch (v) {
    case 2:
      return "ACE 12 (Access 2007 .accdb)";
    case 3:
      return "ACE 14 (Access 2010 .accdb)";
    case 4:
      return "ACE 15 (Access 2013 .accdb)";
    case 5:
      return "ACE 16 (Access 2016 .accdb)";
    case 6:
      return "ACE 17 (Access 2019 .accdb)";
    default:
      return "ACE format version " + std::to_string(v) + " (.accdb)";
  }
}

}  // namespace

std::string VersionName(JetVersion v) {
  return v == JetVersion::kJet3 ? "Jet 3 (Access 97)" : "Jet 4 (Access 2000-2003)";
}

Result<DatabaseHeader> DecodeHeader(Bytes first_bytes, const std::string& file_name) {
  if (first_bytes.size() < kHeaderMinimumBytes) {
    return Status::Corruption(file_name + ": page 0: file too short for a database header (" +
                              std::to_string(first_bytes.size()) + " bytes)");
  }
  std::string_view id = AsChars(first_bytes.subspan(kIdOffset, kJetId.size()));
  const uint8_t version = first_bytes[kHeaderVersionOffset];
  if (id == kAceId) {
    return Status::NotSupported(file_name + ": " + AceVersionName(version) +
                                " files are not supported; only Jet 3 and Jet 4 .mdb files");
  }
  if (first_bytes[0] != page_type::kHeader || id != kJetId) {
    return Status::InvalidArgument(file_name + ": page 0: not an Access database (no \"" +
                                   std::string(kJetId) + "\" signature)");
  }
  const JetFormat* format = nullptr;
  if (version == 0) format = &kJet3Format;
  if (version == 1) format = &kJet4Format;
  if (format == nullptr) {
    return Status::NotSupported(file_name + ": page 0: " + AceVersionName(version) +
                                " files are not supported; only Jet 3 and Jet 4 .mdb files");
  }
  std::vector<uint8_t> plain(first_bytes.begin(), first_bytes.begin() + kHeaderMinimumBytes);
  Rc4Xor(Bytes(kHeaderMaskKey, 4),
         MutableBytes(plain.data() + kHeaderMaskOffset, format->header_mask_length));
  DatabaseHeader h;
  h.format = format;
  h.code_page = LoadLe16(&plain[format->header_code_page]);
  h.sort_order = LoadLe16(&plain[format->header_sort_order]);
  h.db_key = LoadLe32(&plain[format->header_db_key]);
  if (format->version == JetVersion::kJet4) {
    h.sort_order_version = plain[format->header_sort_order + 3];
    h.creation_date = BitsToDouble(LoadLe64(&plain[kHeaderCreationDate]));
  }
  return h;
}

}  // namespace px::jet
