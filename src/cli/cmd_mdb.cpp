// "mdb" commands: look inside an Access database with the engine's own reader.
//   mdb tablolar DOSYA          user tables, one name a line, in catalog order
//   mdb sema DOSYA [TABLO]      JSON array of table schemas (all user tables, or one)
//   mdb satirlar DOSYA TABLO    JSON Lines, one object a row, keys in column order
//   mdb yarat DOSYA             a new, empty Jet 4 database; refuses an existing file
//   mdb kopyala KAYNAK HEDEF [TABLO ...]
//                               copies tables (columns, keys, indexes, rows) into HEDEF,
//                               created when missing, in one transaction
//   mdb kontrol DOSYA           integrity check (cmd_mdb_kontrol.cpp)
#include <algorithm>
#include <iostream>
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

// The definition of one table of `from` recreated in `to`: columns in field order with
// their properties, then every index that is not a foreign key's.
Status CopyDefinition(jet::Database& from, const jet::CatalogEntry& table, jet::Writer& to) {
  PX_ASSIGN_OR_RETURN(jet::TableSchema schema, from.ReadSchema(table));
  PX_ASSIGN_OR_RETURN(jet::TableDef def, from.ReadDefinition(table));
  PX_RETURN_IF_ERROR(to.CreateTable(table.name));
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
    PX_RETURN_IF_ERROR(to.AddColumn(table.name, c));
  }
  // In the order Jet numbered them, so that the copy numbers them alike.
  std::vector<const jet::LogicalIndex*> indexes;
  for (const jet::LogicalIndex& l : def.logical_indexes) indexes.push_back(&l);
  std::sort(indexes.begin(), indexes.end(),
            [](const auto* a, const auto* b) { return a->number < b->number; });
  for (const jet::LogicalIndex* li : indexes) {
    const jet::LogicalIndex& l = *li;
    if (l.type == jet::kLogicalIndexForeign) continue;
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
    PX_RETURN_IF_ERROR(to.AddIndex(table.name, index));
  }
  return Status::Ok();
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
  Status st = (*to)->Begin();
  for (const jet::CatalogEntry* e : chosen) {
    if (st.ok()) st = CopyDefinition(*from, *e, **to);
    if (st.ok()) st = CopyRows(*from, e->name, **to);
  }
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
