// "mdb" commands: look inside an Access database with the engine's own reader.
//   mdb tablolar DOSYA          user tables, one name a line, in catalog order
//   mdb sema DOSYA [TABLO]      JSON array of table schemas (all user tables, or one)
//   mdb satirlar DOSYA TABLO    JSON Lines, one object a row, keys in column order
//   mdb yarat DOSYA             a new, empty Jet 4 database; refuses an existing file
//   mdb kopyala KAYNAK HEDEF [TABLO ...]
//                               copies tables (columns, keys, indexes, rows) and the
//                               relationships among them into HEDEF, created when missing,
//                               in one transaction
//   mdb kontrol DOSYA           integrity check (cmd_mdb_kontrol.cpp)
#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <string>

#include "cli/commands.h"
#include "cli/json.h"
#include "jet/database.h"
#include "jet/writer.h"
#include "platform/files.h"
#include "platform/host_path.h"

namespace px::cli {

namespace {

std::unique_ptr<jet::Database> OpenOrFail(const std::string& path) {
  auto db = jet::Database::OpenPath(path);
  if (!db.ok()) Fail(db.status());
  return std::move(*db);
}

void AppendField(std::string& out, std::string_view key) {
  AppendJsonString(out, key);
  out += ':';
}

void AppendColumnJson(std::string& out, const FieldInfo& f) {
  out += '{';
  AppendField(out, "name");
  AppendJsonString(out, f.name);
  out += ',';
  AppendField(out, "ado_type");
  out += std::to_string(f.ado_type) + ',';
  AppendField(out, "size");
  out += std::to_string(f.size) + ',';
  AppendField(out, "precision");
  out += std::to_string(f.precision) + ',';
  AppendField(out, "scale");
  out += std::to_string(f.scale) + ',';
  AppendField(out, "nullable");
  out += f.nullable() ? "true," : "false,";
  AppendField(out, "autonumber");
  out += f.autonumber ? "true," : "false,";
  AppendField(out, "allow_zero_length");
  out += f.allow_zero_length ? "true," : "false,";
  AppendField(out, "required");
  out += f.required ? "true}" : "false}";
}

void AppendKeyJson(std::string& out, const jet::KeyInfo& k) {
  out += '{';
  AppendField(out, "name");
  AppendJsonString(out, k.name);
  out += ',';
  AppendField(out, "type");
  AppendJsonString(out, k.type);
  out += ',';
  AppendField(out, "columns");
  out += '[';
  for (size_t i = 0; i < k.columns.size(); ++i) {
    if (i) out += ',';
    AppendJsonString(out, k.columns[i]);
  }
  out += "]}";
}

std::string SchemaJson(const jet::TableSchema& s) {
  std::string out = "{";
  AppendField(out, "name");
  AppendJsonString(out, s.name);
  out += ',';
  AppendField(out, "columns");
  out += '[';
  for (size_t i = 0; i < s.fields.size(); ++i) {
    if (i) out += ',';
    AppendColumnJson(out, s.fields[i]);
  }
  out += "],";
  AppendField(out, "keys");
  out += '[';
  for (size_t i = 0; i < s.keys.size(); ++i) {
    if (i) out += ',';
    AppendKeyJson(out, s.keys[i]);
  }
  out += "]}";
  return out;
}

void RunTablolar(const std::string& path) {
  auto db = OpenOrFail(path);
  for (const std::string& name : db->UserTableNames()) std::cout << name << "\n";
}

void RunSema(const std::string& path, const std::string& table) {
  auto db = OpenOrFail(path);
  std::vector<std::string> names =
      table.empty() ? db->UserTableNames() : std::vector<std::string>{table};
  std::string out = "[";
  for (size_t i = 0; i < names.size(); ++i) {
    auto schema = db->ReadSchema(names[i]);
    if (!schema.ok()) Fail(schema.status());
    if (i) out += ",\n";
    out += SchemaJson(*schema);
  }
  out += "]\n";
  std::cout << out;
}

void RunSatirlar(const std::string& path, const std::string& table) {
  auto db = OpenOrFail(path);
  auto reader = db->OpenTable(table);
  if (!reader.ok()) Fail(reader.status());
  Status st = WriteRowsJsonLines(**reader, std::cout);
  if (!st.ok()) Fail(st);
}

std::string HostOrFail(const std::string& path) {
  auto host = ToHostPath(path);
  if (!host.ok()) Fail(host.status());
  return host->string();
}

void RunYarat(const std::string& path) {
  const std::string host = HostOrFail(path);
  if (platform::SystemFiles().Exists(host)) Fail(path + ": the file already exists");
  auto writer = jet::Writer::Create(platform::SystemFiles(), host, path);
  if (!writer.ok()) Fail(writer.status());
}

// The tables a copy takes, each with its indexes in the order the copy adds them, which
// is the order it numbers them in: the table's own indexes first, then the foreign keys
// of relationships whose other table is copied too, each group in Jet's numbering.
struct CopyPlan {
  struct Table {
    const jet::CatalogEntry* entry;
    jet::TableDef def;
    std::vector<const jet::LogicalIndex*> own;
    std::vector<const jet::LogicalIndex*> foreign;
  };
  std::vector<Table> tables;
  // (definition page, index number) in the source: the index's number in the copy
  std::map<std::pair<uint32_t, uint32_t>, uint32_t> numbers;
  std::map<uint32_t, std::string> names;  // definition page: table name
};

Result<CopyPlan> PlanCopy(jet::Database& from,
                          const std::vector<const jet::CatalogEntry*>& chosen) {
  CopyPlan plan;
  for (const jet::CatalogEntry* e : chosen) {
    PX_ASSIGN_OR_RETURN(jet::TableDef def, from.ReadDefinition(*e));
    plan.names[def.page] = e->name;
    plan.tables.push_back({e, std::move(def), {}, {}});
  }
  for (CopyPlan::Table& t : plan.tables) {
    std::vector<const jet::LogicalIndex*> all;
    for (const jet::LogicalIndex& l : t.def.logical_indexes) all.push_back(&l);
    std::sort(all.begin(), all.end(),
              [](const auto* a, const auto* b) { return a->number < b->number; });
    for (const jet::LogicalIndex* l : all) {
      if (l->type != jet::kLogicalIndexForeign) {
        t.own.push_back(l);
      } else if (plan.names.count(l->related_table_page) != 0) {
        t.foreign.push_back(l);
      }
    }
    uint32_t number = 0;
    for (const auto* group : {&t.own, &t.foreign}) {
      for (const jet::LogicalIndex* l : *group) plan.numbers[{t.def.page, l->number}] = number++;
    }
  }
  return plan;
}

Result<jet::IndexSpec> IndexSpecOf(jet::Database& from, const jet::TableDef& def,
                                   const jet::LogicalIndex& l) {
  const jet::RealIndex& r = def.real_indexes[l.real_index];
  jet::IndexSpec index;
  index.name = l.name;
  index.primary = l.type == jet::kLogicalIndexPrimary;
  index.unique = r.unique();
  index.ignore_nulls = (r.flags & jet::idxflag::kIgnoreNulls) != 0;
  index.required = (r.flags & jet::idxflag::kRequired) != 0;
  for (const jet::IndexColumn& ic : r.columns) {
    const int at = def.ColumnByNumber(ic.column_number);
    if (at < 0) return Status::Corruption(from.file_name() + ": index " + l.name);
    index.columns.emplace_back(def.columns[size_t(at)].name, ic.ascending);
  }
  return index;
}

// The definition of one table of `from` recreated in `to`: columns in field order with
// their properties, then the table's own indexes (the foreign keys come with the
// relationships, once every table is there).
Status CopyDefinition(jet::Database& from, const CopyPlan::Table& table, jet::Writer& to) {
  const std::string& name = table.entry->name;
  PX_ASSIGN_OR_RETURN(jet::TableSchema schema, from.ReadSchema(*table.entry));
  PX_RETURN_IF_ERROR(to.CreateTable(name));
  for (const FieldInfo& f : schema.fields) {
    jet::ColumnSpec c;
    c.name = f.name;
    c.ado_type = f.ado_type;
    c.defined_size = int(f.size);
    c.precision = f.precision;
    c.scale = f.scale;
    c.allow_zero_length = f.allow_zero_length;
    c.required = f.required;
    c.autoincrement = f.autonumber;
    PX_RETURN_IF_ERROR(to.AddColumn(name, c));
  }
  // The counter goes on where the source's would, by the source's step.
  if (table.def.autonumber_increment != 1 || table.def.autonumber_last != 0) {
    PX_RETURN_IF_ERROR(
        to.SetAutoNumber(name, table.def.autonumber_increment, table.def.autonumber_last));
  }
  for (const jet::LogicalIndex* l : table.own) {
    PX_ASSIGN_OR_RETURN(jet::IndexSpec index, IndexSpecOf(from, table.def, *l));
    PX_RETURN_IF_ERROR(to.AddIndex(name, index));
  }
  return Status::Ok();
}

// The relationships among the copied tables: both ends' foreign-key indexes, then their
// MSysRelationships rows.
Status CopyRelationships(jet::Database& from, const CopyPlan& plan, jet::Writer& to) {
  const jet::JetFormat& f = from.format();
  for (const CopyPlan::Table& t : plan.tables) {
    for (const jet::LogicalIndex* l : t.foreign) {
      PX_ASSIGN_OR_RETURN(jet::IndexSpec index, IndexSpecOf(from, t.def, *l));
      auto other = plan.numbers.find({l->related_table_page, uint32_t(l->related_index)});
      if (other == plan.numbers.end()) {
        return Status::Corruption(from.file_name() + ": table " + t.entry->name + ", index " +
                                  l->name + ": the relationship names index " +
                                  std::to_string(l->related_index) + " of table " +
                                  plan.names.at(l->related_table_page) + ", which it lacks");
      }
      jet::ForeignKeySpec fk;
      fk.other_table = plan.names.at(l->related_table_page);
      fk.other_index = other->second;
      fk.table_type = l->related_table_type;
      if (l->raw.size() == f.logical_idx_size) {
        fk.cascade_update = l->raw[f.logical_idx_type - 2];
        fk.cascade_delete = l->raw[f.logical_idx_type - 1];
      }
      index.primary = false;
      PX_RETURN_IF_ERROR(to.AddForeignKeyIndex(t.entry->name, index, fk));
    }
  }
  const std::string kRelationships = "MSysRelationships";
  if (from.FindTable(kRelationships) == nullptr) return Status::Ok();
  PX_ASSIGN_OR_RETURN(jet::TableSchema source, from.ReadSchema(kRelationships));
  PX_ASSIGN_OR_RETURN(jet::TableSchema target, to.db().ReadSchema(kRelationships));
  // Target field i takes source field at[i] (-1: none).
  std::vector<int> at(target.fields.size(), -1);
  int object = -1, referenced = -1;
  for (size_t i = 0; i < source.fields.size(); ++i) {
    const std::string& n = source.fields[i].name;
    if (n == "szObject") object = int(i);
    if (n == "szReferencedObject") referenced = int(i);
    for (size_t k = 0; k < target.fields.size(); ++k) {
      if (target.fields[k].name == n) at[k] = int(i);
    }
  }
  if (object < 0 || referenced < 0) {
    return Status::Corruption(from.file_name() +
                              ": MSysRelationships lacks szObject or "
                              "szReferencedObject");
  }
  auto copied = [&](const Value& v) {
    const auto* s = std::get_if<std::string>(&v);
    if (s == nullptr) return false;
    for (const auto& [page, name] : plan.names) {
      if (name == *s) return true;
    }
    return false;
  };
  PX_ASSIGN_OR_RETURN(auto reader, from.OpenTable(kRelationships));
  Row row;
  std::vector<Value> out(target.fields.size());
  while (reader->Next(row)) {
    if (!copied(row[size_t(object)]) || !copied(row[size_t(referenced)])) continue;
    for (size_t k = 0; k < out.size(); ++k) out[k] = at[k] < 0 ? Value(Null{}) : row[size_t(at[k])];
    PX_RETURN_IF_ERROR(to.InsertRow(kRelationships, out));
  }
  return reader->status();
}

Status CopyRows(jet::Database& from, const std::string& table, jet::Writer& to) {
  PX_ASSIGN_OR_RETURN(auto reader, from.OpenTable(table));
  Row row;
  while (reader->Next(row)) PX_RETURN_IF_ERROR(to.InsertRow(table, row));
  return reader->status();
}

void RunKopyala(const std::string& source, const std::string& target,
                const std::vector<std::string>& tables) {
  auto from = OpenOrFail(source);
  const std::string host = HostOrFail(target);
  auto to = platform::SystemFiles().Exists(host)
                ? jet::Writer::Open(platform::SystemFiles(), host, target)
                : jet::Writer::Create(platform::SystemFiles(), host, target);
  if (!to.ok()) Fail(to.status());
  std::vector<const jet::CatalogEntry*> chosen;
  if (tables.empty()) {
    for (const std::string& name : from->UserTableNames()) chosen.push_back(from->FindTable(name));
  } else {
    for (const std::string& name : tables) {
      const jet::CatalogEntry* e = from->FindTable(name);
      if (e == nullptr) Fail(source + ": no table named " + name);
      chosen.push_back(e);
    }
  }
  auto plan = PlanCopy(*from, chosen);
  if (!plan.ok()) Fail(plan.status());
  Status st = (*to)->Begin();
  for (const CopyPlan::Table& t : plan->tables) {
    if (st.ok()) st = CopyDefinition(*from, t, **to);
    if (st.ok()) st = CopyRows(*from, t.entry->name, **to);
  }
  if (st.ok()) st = CopyRelationships(*from, *plan, **to);
  if (st.ok()) st = (*to)->Commit();
  if (!st.ok()) {
    (void)(*to)->Rollback();
    Fail(st);
  }
}

}  // namespace

void AddMdbCommands(CLI::App& app) {
  auto* mdb = app.add_subcommand("mdb", "Look inside an Access (.mdb) database");
  mdb->require_subcommand(1);

  auto path = std::make_shared<std::string>();
  auto table = std::make_shared<std::string>();

  auto* tablolar = mdb->add_subcommand("tablolar", "User tables, one name a line");
  tablolar->add_option("DOSYA", *path, "Database file (Windows path or host path)")->required();
  tablolar->callback([path] { RunTablolar(*path); });

  auto* sema = mdb->add_subcommand("sema", "Table schemas as a JSON array");
  sema->add_option("DOSYA", *path, "Database file (Windows path or host path)")->required();
  sema->add_option("TABLO", *table, "Only this table");
  sema->callback([path, table] { RunSema(*path, *table); });

  auto* satirlar = mdb->add_subcommand("satirlar", "Rows of a table as JSON Lines");
  satirlar->add_option("DOSYA", *path, "Database file (Windows path or host path)")->required();
  satirlar->add_option("TABLO", *table, "Table name")->required();
  satirlar->callback([path, table] { RunSatirlar(*path, *table); });

  auto* yarat = mdb->add_subcommand("yarat", "Create a new, empty Access database");
  yarat->add_option("DOSYA", *path, "Database file to create")->required();
  yarat->callback([path] { RunYarat(*path); });

  auto target = std::make_shared<std::string>();
  auto tables = std::make_shared<std::vector<std::string>>();
  auto* kopyala = mdb->add_subcommand("kopyala", "Copy tables into another Access database");
  kopyala->add_option("KAYNAK", *path, "Database to copy from")->required();
  kopyala->add_option("HEDEF", *target, "Database to copy into (created when missing)")->required();
  kopyala->add_option("TABLO", *tables, "Only these tables");
  kopyala->callback([path, target, tables] { RunKopyala(*path, *target, *tables); });

  AddMdbKontrolCommand(*mdb);
  AddMdbSqlCommand(*mdb);
}

}  // namespace px::cli
