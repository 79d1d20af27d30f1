#pragma once
// Reads a recordset file in ADO's XML persistence format as a stream of rows. The schema
// becomes field metadata with ADO type codes; rows come one at a time, with pending changes
// resolved the way ADO presents them after opening the file: updated rows carry their new
// values, inserted rows follow in file order, deleted rows are not presented.

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/result.h"
#include "core/value.h"
#include "xbf/byte_stream.h"
#include "xbf/xbf_writer.h"
#include "xbf/xml_tokenizer.h"

namespace px::xbf {

class XbfReader : public RowSource {
 public:
  // Reads the file up to the start of the data section. `in` must outlive the reader;
  // `name` names the input in error messages.
  static Result<std::unique_ptr<XbfReader>> Open(ByteInput& in, std::string name);
  // Opens a table file, through decompression when its name ends in "pbf".
  static Result<std::unique_ptr<XbfReader>> OpenFile(const std::string& path);
  ~XbfReader() override;

  const std::vector<FieldInfo>& fields() const override { return fields_; }
  bool Next(Row& row) override;
  Status status() const override { return status_; }

  // In place of reading the rows: how many Next() would give from here, found by passing
  // over their values unread. Exact for a file that Next() reads to its end without an
  // error. A data section that ends early or holds an element Next() refuses is Corruption
  // without a line: reading the rows tells where. Afterwards the reader gives no rows.
  Result<int64_t> CountRows();

  // The rowset's own properties, as needed to write the same file again.
  const RowsetOptions& rowset() const { return rowset_; }
  // True once a row inside rs:update, rs:insert or rs:delete has been met.
  bool saw_pending_changes() const { return saw_pending_; }

  static constexpr size_t kMaxFields = 4096;

 private:
  enum class Block { kData, kInsert, kDelete, kUpdate, kOriginal };

  XbfReader(std::unique_ptr<ByteInput> owned, ByteInput& in, std::string name);
  Status ReadHead();
  Status ReadSchema();
  Status ReadRowset(const XmlToken& element_type);
  Status ReadAttributeType(const XmlToken& start, bool global);
  Status AddField(const std::vector<XmlAttribute>& attrs, const XmlToken& at);
  Status SkipElement(const XmlToken& start);
  Status ReadRowValues(const XmlToken& t, Row& row, bool overlay);
  Status ExpectEnd(std::string_view name);
  Status Step(Row& row, bool& produced);
  static std::optional<Block> Opens(Block top, std::string_view name);
  std::string Canon(const std::string& qname) const;
  Status Fail(const XmlToken& t, const std::string& message) const;

  std::unique_ptr<ByteInput> owned_input_;
  XmlTokenizer tok_;
  std::string name_;
  XmlToken t_;
  std::unordered_map<std::string, std::string> prefixes_;  // file prefix -> our prefix
  std::unordered_map<std::string, std::vector<XmlAttribute>> globals_;
  std::vector<FieldInfo> fields_;
  std::unordered_map<std::string, size_t> by_xml_name_;
  std::vector<std::string> xml_names_;  // by field
  std::vector<bool> text_field_;        // by field: the value is the attribute's text
  std::vector<bool> named_;             // by field: set by the row being read
  std::string step_name_, step_canon_;  // the last data-section tag, and Canon() of it
  RowsetOptions rowset_;
  std::vector<Block> blocks_;
  Row original_;
  bool have_original_ = false;
  Row changed_;
  bool have_changed_ = false;
  bool done_ = false;
  bool saw_pending_ = false;
  Status status_;
};

}  // namespace px::xbf
