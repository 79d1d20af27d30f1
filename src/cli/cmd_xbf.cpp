// xbf sema | satirlar | kopyala | aktar: recordset files (.xbf, and .pbf through decompression).
#include <iostream>

#include "cli/commands.h"
#include "cli/json.h"
#include "jet/database.h"
#include "xbf/xbf_reader.h"
#include "xbf/xbf_writer.h"

namespace px::cli {

namespace {

std::unique_ptr<xbf::XbfReader> OpenOrFail(const std::string& path) {
  auto reader = xbf::XbfReader::OpenFile(HostPathOrFail(path));
  if (!reader.ok()) Fail(reader.status());
  return std::move(*reader);
}

std::string FieldJson(const FieldInfo& f) {
  std::string out = "{\"name\":";
  AppendJsonString(out, f.name);
  out += ",\"ado_type\":" + std::to_string(f.ado_type);
  out += ",\"size\":" + std::to_string(f.size);
  out += ",\"precision\":" + std::to_string(f.precision);
  out += ",\"scale\":" + std::to_string(f.scale);
  auto flag = [&](const char* name, bool v) {
    out += ",\"";
    out += name;
    out += v ? "\":true" : "\":false";
  };
  flag("nullable", f.nullable());
  flag("autonumber", f.autonumber);
  flag("long", f.is_long());
  flag("fixed", f.fixed());
  out += '}';
  return out;
}

void Sema(const std::string& file) {
  auto reader = OpenOrFail(file);
  std::string out = "[";
  const auto& fields = reader->fields();
  for (size_t i = 0; i < fields.size(); ++i) {
    out += i ? ",\n " : "\n ";
    out += FieldJson(fields[i]);
  }
  out += "\n]\n";
  std::cout << out;
}

void Satirlar(const std::string& file) {
  auto reader = OpenOrFail(file);
  Status st = WriteRowsJsonLines(*reader, std::cout);
  if (!st.ok()) Fail(st);
}

void Kopyala(const std::string& input, const std::string& output) {
  auto reader = OpenOrFail(input);
  Status st = xbf::WriteRecordsetFile(*reader, HostPathOrFail(output), reader->rowset());
  if (!st.ok()) Fail(st);
}

// Replays a first row that was read ahead to see whether the table is empty.
class ReadAhead : public RowSource {
 public:
  ReadAhead(RowSource& inner, Row first) : inner_(inner), first_(std::move(first)) {}
  const std::vector<FieldInfo>& fields() const override { return inner_.fields(); }
  bool Next(Row& row) override {
    if (!replayed_) {
      replayed_ = true;
      row = std::move(first_);
      return true;
    }
    return inner_.Next(row);
  }
  Status status() const override { return inner_.status(); }

 private:
  RowSource& inner_;
  Row first_;
  bool replayed_ = false;
};

// Like the backup's table export: an empty table writes no file.
void Aktar(const std::string& mdb, const std::string& table, const std::string& output) {
  auto db = jet::Database::OpenPath(mdb);
  if (!db.ok()) Fail(db.status());
  auto reader = (*db)->OpenTable(table);
  if (!reader.ok()) Fail(reader.status());
  Row first;
  if (!(*reader)->Next(first)) {
    if (!(*reader)->status().ok()) Fail((*reader)->status());
    std::cerr << "pergonix-yedek: " << table << ": empty table, no file written\n";
    return;
  }
  ReadAhead rows(**reader, std::move(first));
  Status st = xbf::WriteRecordsetFile(rows, HostPathOrFail(output));
  if (!st.ok()) Fail(st);
}

}  // namespace

void AddXbfCommands(CLI::App& app) {
  auto* xbf = app.add_subcommand("xbf", "ADO persisted-recordset XML files (.xbf, .pbf)");
  xbf->require_subcommand(1);

  auto* sema = xbf->add_subcommand("sema", "field list of a file as JSON");
  static std::string sema_file;
  sema->add_option("DOSYA", sema_file, ".xbf or .pbf file")->required();
  sema->callback([] { Sema(sema_file); });

  auto* satirlar = xbf->add_subcommand("satirlar", "rows of a file as JSON Lines");
  static std::string satirlar_file;
  satirlar->add_option("DOSYA", satirlar_file, ".xbf or .pbf file")->required();
  satirlar->callback([] { Satirlar(satirlar_file); });

  auto* kopyala = xbf->add_subcommand("kopyala", "read a file and write it again");
  static std::string kopyala_in, kopyala_out;
  kopyala->add_option("GIRDI", kopyala_in, "input .xbf or .pbf file")->required();
  kopyala->add_option("CIKTI", kopyala_out, "output .xbf file")->required();
  kopyala->callback([] { Kopyala(kopyala_in, kopyala_out); });

  auto* aktar = xbf->add_subcommand("aktar", "write one table of an Access file as .xbf");
  static std::string aktar_mdb, aktar_table, aktar_out;
  aktar->add_option("MDB", aktar_mdb, "Access database (.mdb)")->required();
  aktar->add_option("TABLO", aktar_table, "table name")->required();
  aktar->add_option("CIKTI", aktar_out, ".xbf file to write (.pbf: compressed)")->required();
  aktar->callback([] { Aktar(aktar_mdb, aktar_table, aktar_out); });
}

}  // namespace px::cli
