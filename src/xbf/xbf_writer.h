#pragma once
// Writes a recordset in ADO's XML persistence format exactly as ADO 2.8 lays it out: UTF-8
// without BOM or declaration, CRLF line ends, single quotes, TAB indentation, ADO's escaping
// and value texts, and its habit of breaking long start tags. Rows stream through; memory
// does not grow with the number of rows.

#include <string>
#include <vector>

#include "core/value.h"
#include "xbf/byte_stream.h"
#include "xbf/xbf_types.h"

namespace px::xbf {

enum class TextEncoding { kUtf8, kUtf16Le };

// Properties of the rowset element (s:ElementType) and of the file.
struct RowsetOptions {
  bool updatable = true;        // rs:updatable='true'
  std::string command_timeout;  // rs:CommandTimeout; not written when empty
  // UTF-16LE with a BOM is what ADO writes when saving into a text stream.
  TextEncoding encoding = TextEncoding::kUtf8;
  // Code page of the ANSI text fields (char, varchar): fixed-length ones are padded by its
  // bytes.
  int ansi_code_page = kDefaultAnsiCodePage;
};

class XbfWriter {
 public:
  // `sink` must outlive the writer.
  explicit XbfWriter(ByteSink& sink, RowsetOptions options = {});

  // Writes the root element, the schema for `fields` and opens the data section.
  Status Begin(const std::vector<FieldInfo>& fields);
  // One row: one value per field, in field order; NULL values are left out.
  Status WriteRow(const Row& row);
  // Closes the data section and the root element and flushes everything to the sink.
  Status Finish();

  // The attribute name ADO gives each field: the field name when it is a plain XML name
  // not used before, else "c" + zero-based ordinal (the real name then goes to rs:name).
  static std::vector<std::string> XmlNames(const std::vector<FieldInfo>& fields);
  // Appends UTF-8 text as UTF-16LE code units.
  static void AppendUtf16Le(std::string& out, std::string_view utf8);

 private:
  void StartTag(int depth, std::string_view name, int continuation_depth);
  void OpenAttribute(std::string_view name);
  void Attribute(std::string_view name, std::string_view escaped_value);
  void HexAttribute(std::string_view name, const std::vector<uint8_t>& bytes);
  void EndLine(std::string_view close);
  void AttributeType(size_t index);
  void DataType(const FieldInfo& f);
  size_t Width(std::string_view utf8) const;
  Status FlushIfFull();
  Status Flush();

  ByteSink& sink_;
  RowsetOptions options_;
  std::vector<FieldInfo> fields_;
  std::vector<std::string> xml_names_;
  std::vector<bool> binary_;  // by field: written as bin.hex
  std::vector<bool> text_;    // by field: text, escaped as it is written
  std::string buf_;
  bool began_ = false;
  bool finished_ = false;
  bool bom_written_ = false;
  // Line-breaking state of the current start tag.
  int64_t column_ = 0;
  bool first_attribute_ = true;
  int continuation_depth_ = 0;
  Status error_;
};

// Writes every row of `rows` to `sink` as one recordset file; the rows are read on a thread
// of their own (ReadAheadRows), so nothing else may use `rows` meanwhile.
Status WriteRecordset(RowSource& rows, ByteSink& sink, const RowsetOptions& options = {});
// Same into the file `path`, which is replaced only once the whole file is written. When the
// name ends in "pbf" the file is compressed as a package file (zlib, level 5).
Status WriteRecordsetFile(RowSource& rows, const std::string& path,
                          const RowsetOptions& options = {});

// Appends `s` with ADO's escaping: & < > ' " become lower-case hexadecimal character
// references; everything else, control characters included, stays as it is.
void AppendEscaped(std::string& out, std::string_view s);

}  // namespace px::xbf
