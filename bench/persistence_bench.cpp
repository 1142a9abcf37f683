// Reading and saving 100 000 rows of a ledger through the SQLite engine, beside what SQLite itself
// takes for the same in the same run. Everything lies in memory-backed files where there are any:
// what is measured is work, not the disk.
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/internal/slots.hpp"
#include "bokfolio/store/persistence/sqlite/sqlite_persistence.hpp"

namespace bokfolio {

namespace {

constexpr RecordId kRows = 100'000;
constexpr RecordId kRowsOfAnEntry = 4;
constexpr RecordId kEntries = kRows / kRowsOfAnEntry;
constexpr RecordId kAccounts = 300;

enum Ordinal : std::uint16_t { kDebit, kCredit, kWho, kWhen, kStatus, kNumber, kEntry, kAccount };

PropertyDescription property(std::string name, PropertyKind kind, std::string target = "") {
  PropertyDescription description;
  description.name = std::move(name);
  description.kind = kind;
  description.target = std::move(target);
  return description;
}

std::shared_ptr<const Schema> schema() {
  EntityDescription row;
  row.name = "Row";
  row.properties = {property("debit", PropertyKind::Decimal),
                    property("credit", PropertyKind::Decimal),
                    property("who", PropertyKind::String),
                    property("when", PropertyKind::Date),
                    property("status", PropertyKind::Integer),
                    property("number", PropertyKind::Integer),
                    property("entry", PropertyKind::ToOne, "Entry"),
                    property("account", PropertyKind::ToOne, "Account")};
  EntityDescription entry;
  entry.name = "Entry";
  EntityDescription account;
  account.name = "Account";
  return std::make_shared<Schema>(std::vector{account, entry, row});
}

struct PlainRow {
  std::int64_t id;
  Decimal debit;
  Decimal credit;
  std::string who;
  std::int64_t when;
  std::int64_t status;
  std::int64_t number;
  std::int64_t entry;
  std::int64_t account;
};

PlainRow plainRow(RecordId id) {
  const Decimal amount = Decimal::fromParts(id * 7919 % 10'000'000, -2, false);
  const bool debit = id % 2 == 0;
  const auto at = static_cast<std::int64_t>(id);
  return {at,
          debit ? amount : Decimal(0),
          debit ? Decimal(0) : amount,
          "Anna Andersson",
          1'238'500'800'000'000 + at,
          0,
          1 + at % 4,
          1 + at / static_cast<std::int64_t>(kRowsOfAnEntry) % static_cast<std::int64_t>(kEntries),
          1 + at * 31 % static_cast<std::int64_t>(kAccounts)};
}

// A folder with a document, and the change sets that fill it.
class Book {
 public:
  Book() {
    const std::filesystem::path memory = "/dev/shm";
    const auto parent =
        std::filesystem::exists(memory) ? memory : std::filesystem::temp_directory_path();
    std::string name = (parent / "bokfolio-bench-XXXXXX").string();
    folder_ = ::mkdtemp(name.data());
    fill(frame_, "Account", kAccounts);
    fill(frame_, "Entry", kEntries);
    const Entity& row = schema_->entity("Row");
    rows_.changes.reserve(kRows);
    for (RecordId id = 1; id <= kRows; ++id) addRow(row, plainRow(id));
    rows_.nextIds.emplace_back(&row, kRows + 1);
  }
  Book(const Book&) = delete;
  Book& operator=(const Book&) = delete;
  ~Book() { std::filesystem::remove_all(folder_); }

  std::string path() const { return folder_ + "/book"; }
  const std::shared_ptr<const Schema>& model() const { return schema_; }
  const ChangeSet& rows() const { return rows_; }

  // A new document with accounts and entries.
  std::unique_ptr<Persistence> create() const {
    std::filesystem::remove(path());
    auto engine = makeSqlitePersistence({path(), OpenMode::Create, "bench", nullptr, 0});
    engine->open(*schema_, nullptr);
    engine->commit(frame_, nullptr);
    return engine;
  }
  void createFull() const {
    if (!std::filesystem::exists(path())) create()->commit(rows_, nullptr);
  }

 private:
  SlotView block(const Entity& entity) {
    blocks_.push_back(std::make_unique<std::uint64_t[]>(entity.slotBytes() / 8 + 1));
    return {entity, reinterpret_cast<std::byte*>(blocks_.back().get())};
  }
  void fill(ChangeSet& changes, const char* name, RecordId count) {
    const Entity& entity = schema_->entity(name);
    for (RecordId id = 1; id <= count; ++id) {
      changes.changes.push_back({RecordChange::Kind::Insert, id, 0, block(entity), {}});
      records_.push_back(std::make_unique<Record>(RecordInit{nullptr, &entity, id}));
    }
  }
  void addRow(const Entity& entity, const PlainRow& row) {
    const SlotView view = block(entity);
    internal::SlotWriter slots(entity, reinterpret_cast<std::byte*>(blocks_.back().get()));
    slots.setDecimal(kDebit, row.debit);
    slots.setDecimal(kCredit, row.credit);
    slots.setText(kWho, row.who);
    slots.setDate(kWhen, Date::fromMicroseconds(row.when));
    slots.setInteger(kStatus, row.status);
    slots.setInteger(kNumber, row.number);
    slots.setReference(kAccount, records_[static_cast<std::size_t>(row.account - 1)].get());
    slots.setReference(kEntry, records_[kAccounts + static_cast<std::size_t>(row.entry - 1)].get());
    rows_.changes.push_back(
        {RecordChange::Kind::Insert, static_cast<RecordId>(row.id), 0, view, {}});
  }

  std::string folder_;
  std::shared_ptr<const Schema> schema_ = schema();
  std::vector<std::unique_ptr<std::uint64_t[]>> blocks_;
  std::vector<std::unique_ptr<Record>> records_;
  ChangeSet frame_;
  ChangeSet rows_;
};

Book& book() {
  static Book instance;
  return instance;
}

sqlite3* openPlain(const std::string& path) {
  sqlite3* database = nullptr;
  sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  return database;
}

void execute(sqlite3* database, const char* sql) {
  sqlite3_exec(database, sql, nullptr, nullptr, nullptr);
}

sqlite3_stmt* prepare(sqlite3* database, const char* sql) {
  sqlite3_stmt* statement = nullptr;
  sqlite3_prepare_v2(database, sql, -1, &statement, nullptr);
  return statement;
}

constexpr const char* kSelect =
    "SELECT id, version, debit, credit, who, \"when\", status, number, entry, account FROM Row "
    "ORDER BY id";

void perRow(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kRows));
  state.SetLabel("items are rows");
}

void insertPlain(benchmark::State& state) {
  std::vector<PlainRow> rows;
  std::vector<std::pair<std::string, std::string>> amounts;
  for (RecordId id = 1; id <= kRows; ++id) {
    rows.push_back(plainRow(id));
    amounts.emplace_back(rows.back().debit.toString(), rows.back().credit.toString());
  }
  for (auto _ : state) {
    state.PauseTiming();
    book().create().reset();
    sqlite3* database = openPlain(book().path());
    execute(database, "PRAGMA foreign_keys=ON");
    sqlite3_stmt* insert =
        prepare(database, "INSERT INTO Row VALUES(?1, 1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9)");
    state.ResumeTiming();
    execute(database, "BEGIN IMMEDIATE");
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const auto& [debit, credit] = amounts[i];
      sqlite3_bind_int64(insert, 1, rows[i].id);
      sqlite3_bind_text(insert, 2, debit.data(), static_cast<int>(debit.size()), SQLITE_STATIC);
      sqlite3_bind_text(insert, 3, credit.data(), static_cast<int>(credit.size()), SQLITE_STATIC);
      sqlite3_bind_text(insert, 4, rows[i].who.data(), static_cast<int>(rows[i].who.size()),
                        SQLITE_STATIC);
      sqlite3_bind_int64(insert, 5, rows[i].when);
      sqlite3_bind_int64(insert, 6, rows[i].status);
      sqlite3_bind_int64(insert, 7, rows[i].number);
      sqlite3_bind_int64(insert, 8, rows[i].entry);
      sqlite3_bind_int64(insert, 9, rows[i].account);
      sqlite3_step(insert);
      sqlite3_reset(insert);
    }
    execute(database, "COMMIT");
    state.PauseTiming();
    sqlite3_finalize(insert);
    sqlite3_close(database);
    state.ResumeTiming();
  }
  perRow(state);
}
BENCHMARK(insertPlain)->Name("persistence/floor/insert rows")->Unit(benchmark::kMillisecond);

void insertEngine(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto engine = book().create();
    state.ResumeTiming();
    if (!engine->commit(book().rows(), nullptr)) state.SkipWithError("commit failed");
    state.PauseTiming();
    engine.reset();
    state.ResumeTiming();
  }
  perRow(state);
}
BENCHMARK(insertEngine)->Name("persistence/insert rows")->Unit(benchmark::kMillisecond);

void scanSteps(benchmark::State& state) {
  book().createFull();
  sqlite3* database = openPlain(book().path());
  for (auto _ : state) {
    sqlite3_stmt* statement = prepare(database, kSelect);
    while (sqlite3_step(statement) == SQLITE_ROW) {
    }
    sqlite3_finalize(statement);
  }
  sqlite3_close(database);
  perRow(state);
}
BENCHMARK(scanSteps)->Name("persistence/floor/step over rows")->Unit(benchmark::kMillisecond);

void scanIntoStructs(benchmark::State& state) {
  book().createFull();
  sqlite3* database = openPlain(book().path());
  const auto text = [](sqlite3_stmt* statement, int column) {
    const auto* characters = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    return std::string_view(characters,
                            static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
  };
  for (auto _ : state) {
    std::vector<PlainRow> rows;
    sqlite3_stmt* statement = prepare(database, kSelect);
    while (sqlite3_step(statement) == SQLITE_ROW) {
      rows.push_back({sqlite3_column_int64(statement, 0),
                      Decimal::parse(text(statement, 2)).value_or(Decimal()),
                      Decimal::parse(text(statement, 3)).value_or(Decimal()),
                      std::string(text(statement, 4)), sqlite3_column_int64(statement, 5),
                      sqlite3_column_int64(statement, 6), sqlite3_column_int64(statement, 7),
                      sqlite3_column_int64(statement, 8), sqlite3_column_int64(statement, 9)});
    }
    sqlite3_finalize(statement);
    benchmark::DoNotOptimize(rows.data());
  }
  sqlite3_close(database);
  perRow(state);
}
BENCHMARK(scanIntoStructs)
    ->Name("persistence/floor/read rows into structs")
    ->Unit(benchmark::kMillisecond);

class CountingSink final : public RecordSink {
 public:
  void begin(RecordId id, std::uint32_t version) override { sum += id + version; }
  void integer(std::uint16_t, std::int64_t value) override { sum += static_cast<RecordId>(value); }
  void real(std::uint16_t, double) override {}
  void decimal(std::uint16_t, const Decimal& value) override { sum += value.isZero() ? 1U : 0U; }
  void text(std::uint16_t, std::string_view value) override { sum += value.size(); }
  void date(std::uint16_t, Date value) override {
    sum += static_cast<RecordId>(value.microseconds());
  }
  void blob(std::uint16_t, std::string_view value) override { sum += value.size(); }
  void reference(std::uint16_t, RecordId value) override { sum += value; }
  void end() override {}

  RecordId sum = 0;
};

void loadEngine(benchmark::State& state) {
  book().createFull();
  auto engine = makeSqlitePersistence({book().path(), OpenMode::ReadOnly, "", nullptr, 0});
  engine->open(*book().model(), nullptr);
  for (auto _ : state) {
    CountingSink sink;
    if (!engine->load(book().model()->entity("Row"), sink, nullptr)) {
      state.SkipWithError("load failed");
    }
    benchmark::DoNotOptimize(sink.sum);
  }
  perRow(state);
}
BENCHMARK(loadEngine)->Name("persistence/load rows")->Unit(benchmark::kMillisecond);

void loadContext(benchmark::State& state) {
  book().createFull();
  for (auto _ : state) {
    auto context = Context::open(
        book().model(), makeSqlitePersistence({book().path(), OpenMode::ReadOnly, "", nullptr, 0}),
        Environment::system());
    benchmark::DoNotOptimize(context->count("Row"));
    state.PauseTiming();
    context.reset();
    state.ResumeTiming();
  }
  perRow(state);
}
BENCHMARK(loadContext)->Name("persistence/load rows into a context")->Unit(benchmark::kMillisecond);

}  // namespace

}  // namespace bokfolio
