// "mdb" commands: look inside an Access database with the engine's own reader.
//   mdb tablolar DOSYA          user tables, one name a line, in catalog order
//   mdb sema DOSYA [TABLO]      JSON array of table schemas (all user tables, or one)
//   mdb satirlar DOSYA TABLO    JSON Lines, one object a row, keys in column order
//   mdb kontrol DOSYA           integrity check (cmd_mdb_kontrol.cpp)
#include <iostream>
#include <memory>
#include <string>

#include "cli/commands.h"
#include "cli/json.h"
#include "jet/database.h"

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

  AddMdbKontrolCommand(*mdb);
  AddMdbSqlCommand(*mdb);
}

}  // namespace px::cli
