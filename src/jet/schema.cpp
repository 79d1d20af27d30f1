#include "jet/schema.h"

#include <algorithm>

#include "jet/text.h"

namespace px::jet {

namespace {

struct TypeInfo {
  int ado;
  int64_t size;  // 0: from the column
  int precision;
  bool fixed;
  bool is_long;
};

TypeInfo InfoOf(uint8_t type) {
  switch (type) {
    case coltype::kBoolean:
      return {ado::kBoolean, 2, 255, true, false};
    case coltype::kByte:
      return {ado::kUnsignedTinyInt, 1, 3, true, false};
    case coltype::kInteger:
      return {ado::kSmallInt, 2, 5, true, false};
    case coltype::kLong:
      return {ado::kInteger, 4, 10, true, false};
    case coltype::kCurrency:
      return {ado::kCurrency, 8, 19, true, false};
    case coltype::kSingle:
      return {ado::kSingle, 4, 7, true, false};
    case coltype::kDouble:
      return {ado::kDouble, 8, 15, true, false};
    case coltype::kDateTime:
      return {ado::kDate, 8, 255, true, false};
    case coltype::kBinary:
      return {ado::kBinary, 0, 255, false, false};
    case coltype::kText:
      return {ado::kVarWChar, 0, 255, false, false};
    case coltype::kOle:
      return {ado::kLongVarBinary, kAdoOleSize, 255, false, true};
    case coltype::kMemo:
      return {ado::kLongVarWChar, kAdoMemoSize, 255, false, true};
    case coltype::kGuid:
      return {ado::kGUID, 16, 255, true, false};
    case coltype::kNumeric:
      return {ado::kNumeric, 19, 0, true, false};
    default:  // types only Access's own tables use; read as raw bytes
      return {ado::kBinary, 0, 255, false, false};
  }
}

}  // namespace

int AdoType(const ColumnDef& c) {
  return InfoOf(c.type).ado;
}

FieldInfo ColumnFieldInfo(const ColumnDef& c, const JetFormat& f, const ColumnProperties& props) {
  const TypeInfo t = InfoOf(c.type);
  FieldInfo fi;
  fi.name = c.name;
  fi.ado_type = t.ado;
  fi.size = t.size;
  if (c.type == coltype::kText) fi.size = f.text_is_unicode ? c.length / 2 : c.length;
  if (fi.ado_type == ado::kBinary) fi.size = c.length;
  fi.precision = c.type == coltype::kNumeric ? c.precision : t.precision;
  fi.scale = c.type == coltype::kNumeric ? c.scale : 255;
  fi.autonumber = c.autonumber();
  fi.allow_zero_length = props.allow_zero_length.value_or(false);
  fi.required = props.required.value_or(false);
  // Jet reports every column as possibly null (ADO files from Jet carry no
  // rs:maybenull='false', not even for Yes/No or required columns); those two are not
  // nullable.
  fi.attributes = fld::kMayDefer | fld::kUnknownUpdatable | fld::kMayBeNull;
  if (t.fixed) fi.attributes |= fld::kFixed;
  if (t.is_long) fi.attributes |= fld::kLong;
  if (c.type != coltype::kBoolean && !fi.required) fi.attributes |= fld::kIsNullable;
  return fi;
}

std::vector<int> FieldOrder(const TableDef& def) {
  std::vector<int> order(def.columns.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = int(i);
  std::stable_sort(order.begin(), order.end(),
                   [&](int a, int b) { return def.columns[a].number < def.columns[b].number; });
  return order;
}

std::vector<KeyInfo> AdoxKeys(const TableDef& def) {
  std::vector<KeyInfo> keys;
  for (const LogicalIndex& l : def.logical_indexes) {
    const RealIndex& r = def.real_indexes[l.real_index];
    KeyInfo k;
    k.name = l.name;
    if (l.type == kLogicalIndexPrimary) {
      k.type = "primary";
    } else if (l.type == kLogicalIndexForeign) {
      if (l.related_table_type == kForeignKeyPrimaryTable) continue;  // referenced side
      k.type = "foreign";
      k.related_table_page = l.related_table_page;
    } else if (r.unique()) {
      k.type = "unique";
    } else {
      continue;
    }
    for (const IndexColumn& ic : r.columns) {
      const int c = def.ColumnByNumber(ic.column_number);
      if (c >= 0) k.columns.push_back(def.columns[c].name);
    }
    keys.push_back(std::move(k));
  }
  return keys;
}

TableSchema BuildSchema(const std::string& name, const TableDef& def, const JetFormat& f,
                        const ColumnPropertyMap& props, uint16_t sort_order) {
  TableSchema s;
  s.name = name;
  s.columns = FieldOrder(def);
  s.keys = AdoxKeys(def);
  for (int c : s.columns) {
    ColumnProperties p;
    for (const auto& [pname, pvalue] : props) {
      if (JetTextEquals(pname, def.columns[c].name, sort_order)) p = pvalue;
    }
    FieldInfo fi = ColumnFieldInfo(def.columns[c], f, p);
    fi.base_table = name;
    fi.base_column = def.columns[c].name;
    for (const KeyInfo& k : s.keys) {
      if (k.type != "primary") continue;
      if (std::find(k.columns.begin(), k.columns.end(), fi.name) != k.columns.end()) {
        fi.attributes |= fld::kKeyColumn;
      }
    }
    s.fields.push_back(std::move(fi));
  }
  return s;
}

}  // namespace px::jet
