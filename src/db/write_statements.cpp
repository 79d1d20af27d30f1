#include "db/write_statements.h"

#include <climits>
#include <cmath>
#include <optional>

#include "core/value_text.h"
#include "db/field_index.h"
#include "db/jet_criteria.h"
#include "db/jet_text.h"
#include "db/select_sql.h"
#include "db/text_of.h"
#include "db/write_sql.h"
#include "platform/text_case.h"

namespace px::db {
namespace {

bool IsTextColumn(const FieldInfo& f) {
  return f.ado_type == ado::kVarWChar || f.ado_type == ado::kLongVarWChar ||
         f.ado_type == ado::kWChar || f.ado_type == ado::kVarChar ||
         f.ado_type == ado::kLongVarChar || f.ado_type == ado::kChar;
}

Status ColumnError(const std::string& table, const FieldInfo& field, const Status& why) {
  return why.WithContext("table " + table + ", column " + field.name);
}

// What Jet checks of a value before the row is written; Null becomes No in Yes/No columns.
Status CheckColumnValue(const std::string& table, const FieldInfo& field, Value& value) {
  if (IsNull(value)) {
    if (field.ado_type == ado::kBoolean) {
      value = false;
    } else if (field.required && !field.autonumber) {
      return Status::InvalidArgument("table " + table + ", column " + field.name +
                                     ": the column is Required and cannot be Null");
    }
    return Status::Ok();
  }
  // AllowZeroLength is left to the engine: only the stored property says whether "" is
  // refused, and FieldInfo cannot tell an absent property from a False one.
  if (auto* s = std::get_if<std::string>(&value); s && IsTextColumn(field)) {
    const size_t length = Utf8Length(*s);
    if (field.ado_type == ado::kVarWChar && field.size > 0 && length > size_t(field.size)) {
      return Status::InvalidArgument("table " + table + ", column " + field.name + ": '" + *s +
                                     "' has " + std::to_string(length) +
                                     " characters, more than the column's " +
                                     std::to_string(field.size));
    }
  }
  return Status::Ok();
}

// The column's value of a literal made from `*e.bound`, without reading its text, where
// reading the text back is known to give the same value: numbers the text writes in their
// shortest exact form, money in its plain form, dates in whole seconds, Yes/No as 1 or 0. Anything
// else (text, numbers out of the column's range, subnormal doubles that read back as zero, dates
// outside years 100 to 9999, which the text refuses) goes through the text.
std::optional<Value> BoundValue(const FieldInfo& field, const SqlExpr& e) {
  const Value& v = *e.bound;
  if (e.kind == SqlExpr::Kind::kMoney) {
    const auto* c = std::get_if<Currency>(&v);
    if (c != nullptr && field.ado_type == ado::kCurrency) return Value(*c);
    return std::nullopt;
  }
  if (e.kind == SqlExpr::Kind::kNumber) {
    // A Yes/No value written 1 or 0 reads back as itself.
    const bool* b = std::get_if<bool>(&v);
    if (b != nullptr && field.ado_type == ado::kBoolean && e.text == (*b ? "1" : "0")) {
      return Value(*b);
    }
    return std::nullopt;
  }
  if (e.kind != SqlExpr::Kind::kText) return std::nullopt;
  switch (field.ado_type) {
    case ado::kDouble:
      if (const double* d = std::get_if<double>(&v)) {
        if (*d == 0) return Value(0.0);  // "-0" reads back as 0
        if (std::isnormal(*d)) return Value(*d);
      }
      return std::nullopt;
    case ado::kInteger:
      if (const int64_t* i = std::get_if<int64_t>(&v)) {
        if (*i >= INT32_MIN && *i <= INT32_MAX) return Value(*i);
      }
      return std::nullopt;
    case ado::kDate:
      if (const OleDate* d = std::get_if<OleDate>(&v)) {
        auto parts = OleDateToParts(d->days);
        if (!parts || parts->year < 100 || parts->year > 9999) return std::nullopt;
        parts->millisecond = 0;
        return Value(OleDate{PartsToOleDate(*parts)});
      }
      return std::nullopt;
    default:
      return std::nullopt;
  }
}

// A literal of a statement as the column's value.
Result<Value> LiteralValue(const std::string& table, const FieldInfo& field, const SqlExpr& e) {
  if (e.bound != nullptr) {
    if (auto v = BoundValue(field, e)) return std::move(*v);
  }
  Result<Value> v = Value(Null{});
  switch (e.kind) {
    case SqlExpr::Kind::kNull:
      break;
    case SqlExpr::Kind::kText:
    case SqlExpr::Kind::kNumber: {
      std::string scratch;
      v = ValueFromText(field, LiteralText(e, scratch));
      break;
    }
    case SqlExpr::Kind::kMoney: {
      // CAST(... AS MONEY) makes a Currency first, which the column then takes.
      FieldInfo money;
      money.ado_type = ado::kCurrency;
      std::string scratch;
      v = ValueFromText(money, LiteralText(e, scratch), NumberForm::kMoney);
      if (v.ok()) v = CoerceToColumn(field, *v);
      break;
    }
    default:
      return Status::InvalidArgument("table " + table + ", column " + field.name + ": " +
                                     ExprText(e) + " is not a value");
  }
  if (!v.ok()) return ColumnError(table, field, v.status());
  return v;
}

// `out` = LiteralValue(); a text is copied into the storage `out` has.
Status AssignLiteral(const std::string& table, const FieldInfo& field, const SqlExpr& e,
                     Value& out) {
  if (e.kind == SqlExpr::Kind::kText && IsTextColumn(field)) {
    // A text column takes the text as it is (ValueFromText()).
    std::string* s = std::get_if<std::string>(&out);
    if (s == nullptr) s = &out.emplace<std::string>();
    const std::string_view text = LiteralText(e, *s);
    if (text.data() != s->data()) s->assign(text);
    return Status::Ok();
  }
  PX_ASSIGN_OR_RETURN(out, LiteralValue(table, field, e));
  return Status::Ok();
}

// `out` = CoerceToColumn(); a text is copied into the storage `out` has.
Status AssignCoerced(const std::string& table, const FieldInfo& field, const Value& value,
                     Value& out) {
  const auto* text = std::get_if<std::string>(&value);
  if (text != nullptr && IsTextColumn(field)) {
    if (auto* s = std::get_if<std::string>(&out)) {
      s->assign(*text);
    } else {
      out = *text;
    }
    return Status::Ok();
  }
  auto v = CoerceToColumn(field, value);
  if (!v.ok()) return ColumnError(table, field, v.status());
  out = std::move(*v);
  return Status::Ok();
}

// `row` made the table's width; every field Null unless each is about to be assigned.
void ClearRow(const TableFields& table, bool every_field_given, Row& row) {
  row.resize(table.fields.size());
  if (every_field_given) return;
  for (Value& v : row) v = Null{};
}

Status CheckRow(const TableFields& table, Row& row) {
  for (size_t i = 0; i < row.size(); ++i) {
    PX_RETURN_IF_ERROR(CheckColumnValue(table.name, table.fields[i], row[i]));
  }
  return Status::Ok();
}

// Whether `places` names every field of the table once.
bool EveryFieldOnce(const TableFields& table, std::span<const size_t> places) {
  std::vector<bool> seen(table.fields.size(), false);
  for (size_t i : places) {
    if (seen[i]) return false;
    seen[i] = true;
  }
  return places.size() == table.fields.size();
}

// The row an INSERT of `st` adds; `places`: the table's field of each column.
Status InsertedRow(const TableFields& table, std::span<const size_t> places, bool every_field_given,
                   const InsertStatement& st, Row& row) {
  ClearRow(table, every_field_given, row);
  for (size_t k = 0; k < places.size(); ++k) {
    const size_t i = places[k];
    PX_RETURN_IF_ERROR(AssignLiteral(table.name, table.fields[i], st.values[k], row[i]));
  }
  return CheckRow(table, row);
}

// The row InsertByFieldName() adds; `places`: the table's field of each field given.
Status AddedRow(const TableFields& table, std::span<const size_t> places, bool every_field_given,
                const Row& values, Row& row) {
  if (values.size() != places.size()) {
    return Status::InvalidArgument("table " + table.name + ": " + std::to_string(places.size()) +
                                   " fields but " + std::to_string(values.size()) + " values");
  }
  ClearRow(table, every_field_given, row);
  for (size_t k = 0; k < places.size(); ++k) {
    const size_t i = places[k];
    PX_RETURN_IF_ERROR(AssignCoerced(table.name, table.fields[i], values[k], row[i]));
  }
  return CheckRow(table, row);
}

// Characters `start` (1-based) onwards of UTF-8 text, at most `length` of them.
std::string Mid(const std::string& s, int64_t start, std::optional<int64_t> length) {
  size_t begin = 0;
  for (int64_t skipped = 1; skipped < start && begin < s.size(); ++skipped) {
    ++begin;
    while (begin < s.size() && (static_cast<unsigned char>(s[begin]) & 0xC0) == 0x80) ++begin;
  }
  size_t end = begin;
  for (int64_t taken = 0; end < s.size() && (!length || taken < *length); ++taken) {
    ++end;
    while (end < s.size() && (static_cast<unsigned char>(s[end]) & 0xC0) == 0x80) ++end;
  }
  return s.substr(begin, end - begin);
}

// An UPDATE made ready against one table: names resolved, '+' checked to join text.
class PreparedUpdate {
 public:
  static Result<PreparedUpdate> Prepare(const UpdateStatement& st, const TableFields& table) {
    PreparedUpdate p(table);
    for (const Assignment& a : st.set) {
      PX_ASSIGN_OR_RETURN(size_t i, FindField(table.fields, a.column, table.name));
      if (table.fields[i].autonumber) {
        return Status::InvalidArgument("table " + table.name + ", column " + table.fields[i].name +
                                       ": an AutoNumber column cannot be updated");
      }
      PX_RETURN_IF_ERROR(p.Resolve(a.value));
      p.set_.push_back({i, &a.value});
    }
    for (const WhereCondition& c : st.where) {
      PX_RETURN_IF_ERROR(p.Resolve(c.left));
      Condition cond{&c, {}, {c.left.text, c.literal, c.quoted}};
      if (c.left.kind == SqlExpr::Kind::kColumn) {
        PX_ASSIGN_OR_RETURN(size_t i, FindField(table.fields, c.left.text, table.name));
        cond.column = i;
      }
      p.where_.push_back(std::move(cond));
    }
    return p;
  }

  Result<bool> Change(Row& row) const {
    for (const Condition& c : where_) {
      PX_ASSIGN_OR_RETURN(bool match, Matches(c, row));
      if (!match) return false;
    }
    std::vector<Value> values;
    values.reserve(set_.size());
    for (const auto& [i, expr] : set_) {
      const FieldInfo& field = table_.fields[i];
      Value v;
      if (expr->IsLiteral()) {
        PX_ASSIGN_OR_RETURN(v, LiteralValue(table_.name, field, *expr));
      } else {
        PX_ASSIGN_OR_RETURN(Value computed, Evaluate(*expr, row));
        auto coerced = CoerceToColumn(field, computed);
        if (!coerced.ok()) return ColumnError(table_.name, field, coerced.status());
        v = std::move(*coerced);
      }
      PX_RETURN_IF_ERROR(CheckColumnValue(table_.name, field, v));
      values.push_back(std::move(v));
    }
    // Every right-hand side sees the row as it was; assign only now.
    for (size_t k = 0; k < set_.size(); ++k) row[set_[k].first] = std::move(values[k]);
    return true;
  }

 private:
  struct Condition {
    const WhereCondition* where;
    std::optional<size_t> column;  // set when the left side is a plain column
    EqualsCondition equals;
  };

  explicit PreparedUpdate(const TableFields& table) : table_(table) {}

  // Finds the columns an expression reads; '+' must join text.
  Status Resolve(const SqlExpr& e) {
    switch (e.kind) {
      case SqlExpr::Kind::kColumn: {
        PX_ASSIGN_OR_RETURN(size_t i, FindField(table_.fields, e.text, table_.name));
        columns_.emplace_back(&e, i);
        return Status::Ok();
      }
      case SqlExpr::Kind::kMid:
        return Resolve(e.args[0]);
      case SqlExpr::Kind::kConcat:
        for (const SqlExpr& side : e.args) {
          PX_RETURN_IF_ERROR(Resolve(side));
          if (!JoinsAsText(side)) {
            return Status::NotSupported("table " + table_.name + ": " + ExprText(e) +
                                        " adds a number; '+' is supported between texts only");
          }
        }
        return Status::Ok();
      default:
        return Status::Ok();
    }
  }

  bool JoinsAsText(const SqlExpr& e) const {
    switch (e.kind) {
      case SqlExpr::Kind::kText:
      case SqlExpr::Kind::kNull:
      case SqlExpr::Kind::kMid:
      case SqlExpr::Kind::kConcat:
        return true;
      case SqlExpr::Kind::kColumn:
        return IsTextColumn(table_.fields[ColumnOf(e)]);
      default:
        return false;
    }
  }

  size_t ColumnOf(const SqlExpr& e) const {
    for (const auto& [expr, i] : columns_) {
      if (expr == &e) return i;
    }
    return 0;  // every column expression was resolved by Prepare()
  }

  Result<Value> Evaluate(const SqlExpr& e, const Row& row) const {
    switch (e.kind) {
      case SqlExpr::Kind::kNull:
        return Value(Null{});
      case SqlExpr::Kind::kText:
      case SqlExpr::Kind::kNumber:
      case SqlExpr::Kind::kMoney:
        return Value(e.text);
      case SqlExpr::Kind::kColumn:
        return row[ColumnOf(e)];
      case SqlExpr::Kind::kMid: {
        PX_ASSIGN_OR_RETURN(Value v, Evaluate(e.args[0], row));
        if (IsNull(v)) return v;
        return Value(Mid(TextOf(v), e.start, e.length));
      }
      case SqlExpr::Kind::kConcat: {
        PX_ASSIGN_OR_RETURN(Value a, Evaluate(e.args[0], row));
        PX_ASSIGN_OR_RETURN(Value b, Evaluate(e.args[1], row));
        if (IsNull(a) || IsNull(b)) return Value(Null{});  // '+' passes Null on, unlike '&'
        return Value(TextOf(a) + TextOf(b));
      }
    }
    return Value(Null{});
  }

  Result<bool> Matches(const Condition& c, const Row& row) const {
    if (c.column) return MatchesCondition(table_.fields[*c.column], row[*c.column], c.equals);
    PX_ASSIGN_OR_RETURN(Value v, Evaluate(c.where->left, row));
    FieldInfo text;
    text.name = ExprText(c.where->left);
    text.ado_type = ado::kVarWChar;
    return MatchesCondition(text, v, c.equals);
  }

  const TableFields& table_;
  std::vector<std::pair<size_t, const SqlExpr*>> set_;
  std::vector<Condition> where_;
  std::vector<std::pair<const SqlExpr*, size_t>> columns_;
};

Result<int64_t> RunDelete(TableStore& store, const DeleteStatement& st) {
  PX_ASSIGN_OR_RETURN(const TableFields* table, store.Fields(st.table));
  PX_ASSIGN_OR_RETURN(uint64_t n, store.DeleteAll(table->name));
  return int64_t(n);
}

// Where each named field sits in the table. A restore names the same fields row after row:
// their places are looked up once. A remembered place counts only where the table still has
// the field by that exact name.
Status FieldPlaces(const TableFields& table, std::span<const std::string> names,
                   std::vector<size_t>& places) {
  bool known = places.size() == names.size();
  for (size_t k = 0; known && k < names.size(); ++k) {
    known = places[k] < table.fields.size() && table.fields[places[k]].name == names[k];
  }
  if (known) return Status::Ok();
  places.clear();
  for (const std::string& name : names) {
    auto i = FindField(table.fields, name, table.name);
    if (!i.ok()) {
      places.clear();
      return i.status();
    }
    places.push_back(*i);
  }
  return Status::Ok();
}

// The table's field of each field given, looked up by name.
Status FieldNamePlaces(const TableFields& table, const std::vector<FieldInfo>& fields,
                       std::vector<size_t>& places) {
  places.clear();
  for (const FieldInfo& f : fields) {
    auto i = FindField(table.fields, f.name, table.name);
    if (!i.ok()) {
      places.clear();
      return Status::InvalidArgument("table " + table.name + " has no field " + f.name);
    }
    places.push_back(*i);
  }
  return Status::Ok();
}

Result<int64_t> RunInsert(TableStore& store, const InsertStatement& st) {
  PX_ASSIGN_OR_RETURN(const TableFields* table, store.Fields(st.table));
  static thread_local std::vector<size_t> places;
  PX_RETURN_IF_ERROR(FieldPlaces(*table, st.columns, places));
  Row row;
  PX_RETURN_IF_ERROR(InsertedRow(*table, places, false, st, row));
  PX_RETURN_IF_ERROR(store.InsertRow(table->name, row));
  return int64_t{1};
}

Result<int64_t> RunUpdate(TableStore& store, const UpdateStatement& st) {
  PX_ASSIGN_OR_RETURN(const TableFields* table, store.Fields(st.table));
  PX_ASSIGN_OR_RETURN(PreparedUpdate update, PreparedUpdate::Prepare(st, *table));
  PX_ASSIGN_OR_RETURN(uint64_t n, store.UpdateRows(table->name, [&update](Row& row) {
    return update.Change(row);
  }));
  return int64_t(n);
}

}  // namespace

Result<size_t> FindField(const std::vector<FieldInfo>& fields, std::string_view name,
                         std::string_view table) {
  if (auto i = FindFieldIndex(fields, name)) return *i;
  return Status::InvalidArgument("column " + std::string(name) + " not found in table " +
                                 std::string(table));
}

Result<int64_t> ExecuteWriteStatement(TableStore& store, std::string_view sql) {
  PX_ASSIGN_OR_RETURN(WriteStatement st, ParseWriteStatement(sql));
  Result<int64_t> n = int64_t{0};
  if (auto* d = std::get_if<DeleteStatement>(&st)) {
    n = RunDelete(store, *d);
  } else if (auto* i = std::get_if<InsertStatement>(&st)) {
    n = RunInsert(store, *i);
  } else {
    n = RunUpdate(store, std::get<UpdateStatement>(st));
  }
  // Refusals quote the statement, as the parser's do.
  if (!n.ok() && n.status().IsNotSupported()) {
    return n.status().WithContext("SQL \"" + std::string(sql) + "\"");
  }
  return n;
}

Status InsertError(const Status& why, const InsertStatement& st) {
  if (why.IsNotSupported()) return why.WithContext("SQL \"" + InsertText(st) + "\"");
  return why;
}

Result<int64_t> ExecuteInsert(TableStore& store, const InsertStatement& st) {
  Result<int64_t> n = RunInsert(store, st);
  if (!n.ok()) return InsertError(n.status(), st);
  return n;
}

Result<TableRowMaker> TableRowMaker::ForInsert(TableStore& store, const InsertStatement& shape) {
  const InsertStatement nulls{shape.table, shape.columns,
                              std::vector<SqlExpr>(shape.columns.size())};
  const std::string sql = InsertText(nulls);
  PX_ASSIGN_OR_RETURN(WriteStatement parsed, ParseWriteStatement(sql));
  const auto* st = std::get_if<InsertStatement>(&parsed);
  if (st == nullptr || st->table != shape.table || st->columns != shape.columns) {
    return Status::InvalidArgument("SQL \"" + sql + "\" does not read back as its parts");
  }
  PX_ASSIGN_OR_RETURN(const TableFields* table, store.Fields(shape.table));
  TableRowMaker maker;
  maker.table_ = *table;
  PX_RETURN_IF_ERROR(FieldPlaces(*table, shape.columns, maker.places_));
  maker.every_field_given_ = EveryFieldOnce(maker.table_, maker.places_);
  return maker;
}

Result<TableRowMaker> TableRowMaker::ForFields(TableStore& store, std::string_view table_name,
                                               const std::vector<FieldInfo>& fields) {
  PX_ASSIGN_OR_RETURN(const TableFields* table, store.Fields(table_name));
  TableRowMaker maker;
  maker.table_ = *table;
  PX_RETURN_IF_ERROR(FieldNamePlaces(*table, fields, maker.places_));
  maker.every_field_given_ = EveryFieldOnce(maker.table_, maker.places_);
  return maker;
}

Status TableRowMaker::MakeRow(const InsertStatement& st, Row& row) const {
  if (st.values.size() != places_.size()) {
    return Status::InvalidArgument("table " + table_.name + ": " + std::to_string(places_.size()) +
                                   " columns but " + std::to_string(st.values.size()) + " values");
  }
  Status made = InsertedRow(table_, places_, every_field_given_, st, row);
  return made.ok() ? made : InsertError(made, st);
}

Status TableRowMaker::MakeRow(const Row& values, Row& row) const {
  return AddedRow(table_, places_, every_field_given_, values, row);
}

Result<int64_t> PreparedInsert::Run(TableStore& store, const InsertStatement& st) {
  if (!ready_ || st.table != table_ || st.columns != columns_) {
    // A new shape runs through its text once, so that whatever the parser refuses is
    // refused the same way.
    ready_ = false;
    PX_ASSIGN_OR_RETURN(int64_t n, ExecuteWriteStatement(store, InsertText(st)));
    table_ = st.table;
    columns_ = st.columns;
    ready_ = true;
    return n;
  }
  return ExecuteInsert(store, st);
}

namespace {

class StoreInsert final : public ReadyInsert {
 public:
  StoreInsert(TableStore& store, TableRowMaker maker) : store_(store), maker_(std::move(maker)) {}
  Status MakeRow(const InsertStatement& st, Row& row) const override {
    return maker_.MakeRow(st, row);
  }
  Status Insert(Row& row, const InsertStatement& st) override {
    Status added = store_.InsertRowFrom(maker_.table(), row);
    return added.ok() ? added : InsertError(added, st);
  }

 private:
  TableStore& store_;
  const TableRowMaker maker_;
};

class StoreAddRow final : public ReadyAddRow {
 public:
  StoreAddRow(TableStore& store, TableRowMaker maker) : store_(store), maker_(std::move(maker)) {}
  Status MakeRow(const Row& values, Row& row) const override { return maker_.MakeRow(values, row); }
  Status Insert(Row& row) override { return store_.InsertRowFrom(maker_.table(), row); }

 private:
  TableStore& store_;
  const TableRowMaker maker_;
};

}  // namespace

std::unique_ptr<ReadyInsert> ReadyInsertInto(TableStore& store, const InsertStatement& shape) {
  auto maker = TableRowMaker::ForInsert(store, shape);
  if (!maker.ok()) return nullptr;
  return std::make_unique<StoreInsert>(store, std::move(*maker));
}

std::unique_ptr<ReadyAddRow> ReadyAddRowInto(TableStore& store, std::string_view table,
                                             const std::vector<FieldInfo>& fields) {
  auto maker = TableRowMaker::ForFields(store, table, fields);
  if (!maker.ok()) return nullptr;
  return std::make_unique<StoreAddRow>(store, std::move(*maker));
}

Status InsertByFieldName(TableStore& store, std::string_view table_name,
                         const std::vector<FieldInfo>& fields, const Row& values) {
  PX_ASSIGN_OR_RETURN(const TableFields* table, store.Fields(table_name));
  if (values.size() != fields.size()) {
    return Status::InvalidArgument("table " + table->name + ": " + std::to_string(fields.size()) +
                                   " fields but " + std::to_string(values.size()) + " values");
  }
  // A restore names the same fields row after row: their places are looked up once. A
  // remembered place counts only where the table still has the field by that exact name.
  static thread_local std::vector<size_t> places;
  bool known = places.size() == fields.size();
  for (size_t k = 0; known && k < fields.size(); ++k) {
    known = places[k] < table->fields.size() && table->fields[places[k]].name == fields[k].name;
  }
  if (!known) PX_RETURN_IF_ERROR(FieldNamePlaces(*table, fields, places));
  Row row;
  PX_RETURN_IF_ERROR(AddedRow(*table, places, false, values, row));
  return store.InsertRow(table->name, row);
}

}  // namespace px::db
