// Questions over a document of a hundred thousand lines: what the planner, the conditions and the
// sets cost beside a loop over a plain array that does nothing else.
#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/persistence/memory/memory_persistence.hpp"

namespace {

using namespace bokfolio;

constexpr std::int64_t kLines = 100'000;
constexpr std::int64_t kLinesOfSheet = 4;
constexpr std::int64_t kHeads = 400;
constexpr std::int64_t kYears = 5;
constexpr std::int64_t kSecondsOfDay = 86'400;

PropertyDescription described(std::string name, PropertyKind kind, std::string target = "",
                              std::string inverse = "") {
  PropertyDescription property;
  property.name = std::move(name);
  property.kind = kind;
  property.target = std::move(target);
  property.inverse = std::move(inverse);
  return property;
}

std::shared_ptr<const Schema> schema() {
  EntityDescription year;
  year.name = "Year";
  year.properties = {described("sheets", PropertyKind::ToMany, "Sheet", "year")};
  EntityDescription head;
  head.name = "Head";
  head.properties = {described("number", PropertyKind::Integer),
                     described("name", PropertyKind::String),
                     described("lines", PropertyKind::ToMany, "Line", "head")};
  head.indexes = {{{"number"}}};
  EntityDescription sheet;
  sheet.name = "Sheet";
  sheet.properties = {described("number", PropertyKind::Integer),
                      described("date", PropertyKind::Date),
                      described("year", PropertyKind::ToOne, "Year", "sheets"),
                      described("lines", PropertyKind::ToMany, "Line", "sheet")};
  sheet.indexes = {{{"year", "number"}}, {{"date"}}};
  EntityDescription line;
  line.name = "Line";
  line.properties = {described("amount", PropertyKind::Decimal),
                     described("sheet", PropertyKind::ToOne, "Sheet", "lines"),
                     described("head", PropertyKind::ToOne, "Head", "lines")};
  Model model;
  model.add(year).add(head).add(sheet).add(line);
  return model.freeze();
}

class World {
 public:
  World() {
    context = Context::open(schema(), makeMemoryPersistence(), Environment::system());
    context->setUndoEnabled(false);
    for (std::int64_t each = 0; each < kYears; ++each)
      years.push_back(context->insertNewObject("Year"));
    for (std::int64_t each = 0; each < kHeads; ++each) {
      heads.push_back(context->insertNewObject("Head"));
      heads.back()->setValueForKey(1000 + each, "number");
      heads.back()->setValueForKey("Head of kind " + std::to_string(each), "name");
    }
    std::mt19937 random(1);
    for (std::int64_t each = 0; each < kLines; ++each) {
      if (each % kLinesOfSheet == 0) addSheet(each / kLinesOfSheet);
      Record* line = context->insertNewObject("Line");
      const auto cents = static_cast<std::int64_t>(random() % 1'000'000);
      line->setValueForKey(Decimal(cents).scaledByPowerOf10(-2), "amount");
      line->setValueForKey(sheet_, "sheet");
      // A tenth of all lines has the first head.
      line->setValueForKey(heads[random() % 10 == 0 ? 0 : random() % kHeads], "head");
    }
    context->save();
  }

  static World& get() {
    static World world;
    return world;
  }
  RecordSet linesOf(const Record& record) { return *record.valueForKey("lines").records(); }
  static Date dayOf(std::int64_t day) { return Date::fromSeconds(day * kSecondsOfDay); }

  std::unique_ptr<Context> context;
  std::vector<Record*> years;
  std::vector<Record*> heads;

 private:
  void addSheet(std::int64_t number) {
    const std::int64_t day = number * kYears * 365 / (kLines / kLinesOfSheet);
    sheet_ = context->insertNewObject("Sheet");
    sheet_->setValueForKey(number, "number");
    sheet_->setValueForKey(dayOf(day), "date");
    sheet_->setValueForKey(years[static_cast<std::size_t>(day / 365)], "year");
  }

  Record* sheet_ = nullptr;
};

void QueryFloorSumOfTenThousand(benchmark::State& state) {
  const std::vector<Decimal> amounts(10'000, *Decimal::parse("123.45"));
  for (auto _ : state) {
    Decimal sum;
    for (const Decimal& amount : amounts) sum += amount;
    benchmark::DoNotOptimize(sum);
  }
}

void QueryMakePredicate(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(Predicate("number == %@", {1930}));
}

void QueryFindByNumber(benchmark::State& state) {
  World& world = World::get();
  for (auto _ : state)
    benchmark::DoNotOptimize(
        world.context->fetchEntitiesWithName("Head", Predicate("number == %@", {1200}), {}, 1));
}

void QueryFindByName(benchmark::State& state) {
  World& world = World::get();
  for (auto _ : state)
    benchmark::DoNotOptimize(world.context->fetchEntitiesWithName(
        "Head", Predicate("name LIKE[c] %@", {"head of kind 399"}), {}, 1));
}

void QueryGreatestOfYear(benchmark::State& state) {
  World& world = World::get();
  const std::vector<SortDescriptor> descending = {SortDescriptor("number", false)};
  for (auto _ : state)
    benchmark::DoNotOptimize(world.context->fetchEntitiesWithName(
        "Sheet", Predicate("year == %@", {world.years[2]}), descending, 1));
}

void QuerySumOfSmallHead(benchmark::State& state) {
  World& world = World::get();
  for (auto _ : state) benchmark::DoNotOptimize(world.linesOf(*world.heads[7]).sum("amount"));
}

void QuerySumOfTenThousand(benchmark::State& state) {
  World& world = World::get();
  for (auto _ : state) benchmark::DoNotOptimize(world.linesOf(*world.heads[0]).sum("amount"));
}

void QuerySumOfTenThousandBeforeDay(benchmark::State& state) {
  World& world = World::get();
  for (auto _ : state)
    benchmark::DoNotOptimize(world.linesOf(*world.heads[0])
                                 .filtered(Predicate("sheet.year == %@ AND sheet.date < %@",
                                                     {world.years[2], World::dayOf(900)}))
                                 .sum("amount"));
}

void QueryScanByPath(benchmark::State& state) {
  World& world = World::get();
  for (auto _ : state)
    benchmark::DoNotOptimize(
        world.context->count("Line", Predicate("head.number < 1100 OR amount > 9000")));
}

void QuerySortTenThousand(benchmark::State& state) {
  World& world = World::get();
  for (auto _ : state)
    benchmark::DoNotOptimize(
        world.linesOf(*world.heads[0]).sorted({SortDescriptor("sheet.date", false)}));
}

BENCHMARK(QueryFloorSumOfTenThousand)
    ->Name("query/floor/sum of 10 000")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(QueryMakePredicate)->Name("query/make a predicate");
BENCHMARK(QueryFindByNumber)->Name("query/find by number");
BENCHMARK(QueryFindByName)->Name("query/find by name")->Unit(benchmark::kMicrosecond);
BENCHMARK(QueryGreatestOfYear)->Name("query/greatest of a year");
BENCHMARK(QuerySumOfSmallHead)->Name("query/sum of a small set")->Unit(benchmark::kMicrosecond);
BENCHMARK(QuerySumOfTenThousand)->Name("query/sum of 10 000")->Unit(benchmark::kMicrosecond);
BENCHMARK(QuerySumOfTenThousandBeforeDay)
    ->Name("query/sum of 10 000 before a day")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(QueryScanByPath)->Name("query/scan by path")->Unit(benchmark::kMicrosecond);
BENCHMARK(QuerySortTenThousand)->Name("query/sort 10 000")->Unit(benchmark::kMicrosecond);

}  // namespace
