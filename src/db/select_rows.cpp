#include "db/select_rows.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "core/value_text.h"
#include "db/connection.h"
#include "db/jet_criteria.h"
#include "db/write_statements.h"

namespace px::db {
namespace {

std::optional<long double> AsNumber(const Value& v) {
  if (auto* b = std::get_if<bool>(&v)) return *b ? -1.0L : 0.0L;  // Jet's True is -1
  if (auto* i = std::get_if<int64_t>(&v)) return static_cast<long double>(*i);
  if (auto* f = std::get_if<float>(&v)) return *f;
  if (auto* d = std::get_if<double>(&v)) return *d;
  if (auto* c = std::get_if<Currency>(&v)) return static_cast<long double>(c->scaled) / 10000.0L;
  if (auto* o = std::get_if<OleDate>(&v)) return o->days;
  if (auto* d = std::get_if<Decimal>(&v)) return std::strtold(DecimalToPlain(*d).c_str(), nullptr);
  return std::nullopt;
}

struct Condition {
  size_t column;
  EqualsCondition literal;
};

class SelectSource : public RowSource {
 public:
  SelectSource(std::unique_ptr<RowSource> table, std::vector<size_t> projection,
               std::vector<Condition> conditions)
      : table_(std::move(table)),
        projection_(std::move(projection)),
        conditions_(std::move(conditions)) {
    for (size_t i : projection_) fields_.push_back(table_->fields()[i]);
  }

  const std::vector<FieldInfo>& fields() const override { return fields_; }
  Status status() const override { return status_.ok() ? table_->status() : status_; }

  bool Next(Row& row) override {
    while (status_.ok() && table_->Next(full_)) {
      Result<bool> keep = Matches();
      if (!keep.ok()) {
        status_ = keep.status();
        return false;
      }
      if (!*keep) continue;
      row.resize(projection_.size());
      for (size_t i = 0; i < projection_.size(); ++i) row[i] = std::move(full_[projection_[i]]);
      return true;
    }
    return false;
  }

 private:
  Result<bool> Matches() const {
    for (const Condition& c : conditions_) {
      PX_ASSIGN_OR_RETURN(bool ok,
                          MatchesCondition(table_->fields()[c.column], full_[c.column], c.literal));
      if (!ok) return false;
    }
    return true;
  }

  std::unique_ptr<RowSource> table_;
  std::vector<size_t> projection_;
  std::vector<Condition> conditions_;
  std::vector<FieldInfo> fields_;
  Row full_;
  Status status_;
};

Result<std::unique_ptr<RowSource>> Sort(std::unique_ptr<RowSource> source,
                                        const SelectStatement& st) {
  std::vector<std::pair<size_t, bool>> keys;
  for (const OrderKey& k : st.order_by) {
    PX_ASSIGN_OR_RETURN(size_t i, FindField(source->fields(), k.column, st.table));
    keys.emplace_back(i, k.descending);
  }
  std::vector<Row> rows;
  Row row;
  while (source->Next(row)) rows.push_back(std::move(row));
  PX_RETURN_IF_ERROR(source->status());
  std::stable_sort(rows.begin(), rows.end(), [&](const Row& a, const Row& b) {
    for (auto [i, desc] : keys) {
      int c = CompareForOrder(a[i], b[i]);
      if (c != 0) return desc ? c > 0 : c < 0;
    }
    return false;
  });
  return std::unique_ptr<RowSource>(new VectorRowSource(source->fields(), std::move(rows)));
}

}  // namespace

int CompareForOrder(const Value& a, const Value& b) {
  const bool an = IsNull(a), bn = IsNull(b);
  if (an || bn) return an == bn ? 0 : (an ? -1 : 1);
  auto x = AsNumber(a), y = AsNumber(b);
  if (x && y) return *x < *y ? -1 : (*x > *y ? 1 : 0);
  auto* s = std::get_if<std::string>(&a);
  auto* t = std::get_if<std::string>(&b);
  if (s && t) {
    std::string fs = FoldCase(*s), ft = FoldCase(*t);
    return fs < ft ? -1 : (fs > ft ? 1 : 0);
  }
  if (auto* g = std::get_if<Guid>(&a)) {
    if (auto* h = std::get_if<Guid>(&b)) return g->bytes < h->bytes ? -1 : (g->bytes > h->bytes);
  }
  if (auto* p = std::get_if<Binary>(&a)) {
    if (auto* q = std::get_if<Binary>(&b)) return p->bytes < q->bytes ? -1 : (p->bytes > q->bytes);
  }
  return a.index() < b.index() ? -1 : (a.index() > b.index() ? 1 : 0);
}

Result<std::unique_ptr<RowSource>> SelectRows(std::unique_ptr<RowSource> table,
                                              const SelectStatement& st) {
  // "SELECT * FROM t" is the table's own stream: rows go straight into the caller's row.
  if (st.columns.empty() && st.where.empty() && st.order_by.empty()) return table;
  const std::vector<FieldInfo>& fields = table->fields();
  std::vector<size_t> projection;
  if (st.columns.empty()) {
    for (size_t i = 0; i < fields.size(); ++i) projection.push_back(i);
  } else {
    for (const std::string& name : st.columns) {
      PX_ASSIGN_OR_RETURN(size_t i, FindField(fields, name, st.table));
      projection.push_back(i);
    }
  }
  std::vector<Condition> conditions;
  for (const EqualsCondition& c : st.where) {
    PX_ASSIGN_OR_RETURN(size_t i, FindField(fields, c.column, st.table));
    conditions.push_back({i, c});
  }
  if (st.order_by.empty()) {
    return std::unique_ptr<RowSource>(
        new SelectSource(std::move(table), std::move(projection), std::move(conditions)));
  }
  // ORDER BY may name a column that is not selected: sort whole rows, then project.
  std::vector<size_t> all(fields.size());
  for (size_t i = 0; i < all.size(); ++i) all[i] = i;
  std::unique_ptr<RowSource> filtered(
      new SelectSource(std::move(table), all, std::move(conditions)));
  PX_ASSIGN_OR_RETURN(std::unique_ptr<RowSource> sorted, Sort(std::move(filtered), st));
  return std::unique_ptr<RowSource>(new SelectSource(std::move(sorted), std::move(projection), {}));
}

}  // namespace px::db
