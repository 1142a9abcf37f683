#include "tests/simulation/desk.hpp"

#include <cstdlib>

#include "bokfolio/model/standard_model.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/persistence/sqlite/sqlite_persistence.hpp"

namespace bokfolio::simulation {

namespace {

std::shared_ptr<const Schema> extendedSchema() {
  Model model = standardModel();
  PropertyDescription note;
  note.name = "budgetNote";
  note.kind = PropertyKind::String;
  model.entity("Account")->properties.push_back(note);
  model.add(Budget::table());
  return model.freeze();
}

std::filesystem::path newFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "simulation-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder can be made: " + name);
  return name;
}

std::string textOf(const Value& value) {
  if (const Record* record = value.record()) return std::to_string(record->id());
  if (value.isNil()) return "nil";
  if (const RecordSet* set = value.records()) {
    std::string text;
    for (const Record* member : set->snapshot()) text += std::to_string(member->id()) + ' ';
    return text;
  }
  return value.description();
}

}  // namespace

EntityDescription Budget::table() {
  EntityTable<Budget> table{std::string(kEntityName)};
  table.attribute(Slots::amount, "amount").defaultValue(Decimal(0));
  table.toOne(Slots::account, "account", "Account").required();
  table.toOne(Slots::fiscalYear, "fiscalYear", "FiscalYear").required();
  table.index({"account"});
  return table.description();
}

Desk::Desk(bool sqlite) : sqlite_(sqlite) {
  if (sqlite_) folder_ = newFolder();
  reopen();
}

Desk::~Desk() {
  context_.reset();
  std::error_code ignored;
  if (sqlite_) std::filesystem::remove_all(folder_, ignored);
}

std::unique_ptr<Persistence> Desk::engine() const {
  if (!sqlite_) return makeMemoryPersistence(memory_);
  SqliteOptions options;
  options.path = (folder_ / "firm.bokfolio").string();
  options.mode = std::filesystem::exists(options.path) ? OpenMode::ReadWrite : OpenMode::Create;
  options.clock = world.clock;
  return makeSqlitePersistence(options);
}

void Desk::reopen(Plugin plugin) {
  static const std::shared_ptr<const Schema> extended = extendedSchema();
  static const std::shared_ptr<const Schema> standard = standardModel().freeze();
  context_.reset();
  std::optional<Error> error;
  context_ =
      Context::open(plugin == Plugin::There ? extended : standard,
                    makeFaultInjectingPersistence(engine(), faults), world.environment, &error);
  if (context_ == nullptr)
    throw Disagreement("the document does not open: " + error->localizedDescription());
}

Dump Desk::dump() {
  Dump all;
  for (const Entity& entity : context_->schema().entities()) {
    const auto records = context_->fetchEntitiesWithName(entity.name());
    if (!records) throw Disagreement(entity.name() + " cannot be read");
    for (const Record* record : *records) {
      std::string& text = all[entity.name() + ' ' + std::to_string(record->id())];
      for (const Property& property : entity.properties())
        if (!property.transient())
          text +=
              property.name() + '=' + textOf(record->primitiveValueForKey(property.name())) + "; ";
    }
  }
  return all;
}

void Desk::verify() {
  const auto found = context_->verify();
  if (!found.empty()) throw Disagreement("the store finds: " + found.front());
  std::optional<Error> error;
  if (!context_->persistence().verify(&error))
    throw Disagreement("the engine finds: " + error->localizedDescription());
}

}  // namespace bokfolio::simulation
