// A small model for the store's own tests: parents with children, one to one partners, a hidden
// inverse, indexes, a derived key that crosses a relationship. It knows no bookkeeping.
#pragma once

#include <memory>
#include <string>

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/persistence/faults/fault_injecting_persistence.hpp"
#include "bokfolio/store/persistence/memory/memory_persistence.hpp"
#include "bokfolio/store/schema.hpp"
#include "tests/store/dump.hpp"
#include "tests/world/world.hpp"

namespace bokfolio::test {

class Child;
class Label;

class Parent : public Record {
 public:
  static constexpr std::string_view kEntityName = "Parent";
  struct Slots {
    static constexpr Slot<std::int64_t> number{0};
    static constexpr Slot<std::string> name{1};
    static constexpr Slot<double> scratch{2};
    static constexpr ToManySlot<Child> children{3};
    static constexpr ToOneSlot<Label> label{4};
  };
  using Record::Record;

  std::optional<std::int64_t> number() const { return get(Slots::number); }
  void setNumber(std::optional<std::int64_t> value) { set(Slots::number, value); }
  std::optional<std::string> name() const { return get(Slots::name); }
  void setName(const std::optional<std::string>& value) { set(Slots::name, value); }
  RecordSetOf<Child> children() const { return get(Slots::children); }
  Label* label() const { return get(Slots::label); }
  void setLabel(Label* value) { set(Slots::label, value); }
  bool validateNumber(std::optional<std::int64_t>& proposed, ErrorOut error) {
    if (proposed && *proposed == 13) {
      if (error != nullptr) *error = Error("Test", 13, "not thirteen");
      return false;
    }
    if (!proposed) proposed = 0;
    return true;
  }

  static EntityDescription table() {
    EntityTable<Parent> table{std::string(kEntityName)};
    table.attribute(Slots::number, "number").validatedBy<&Parent::validateNumber>();
    table.attribute(Slots::name, "name");
    table.attribute(Slots::scratch, "scratch").transient();
    table.toMany(Slots::children, "children", "Child", "parent").onDelete(DeleteRule::Cascade);
    table.toOne(Slots::label, "label", "Label", "owner");
    table.dependsOn("title", {"name", "number"});
    table.announced("title");
    table.index({"number"});
    table.index({"name"});
    return table.description();
  }
};

class Child : public Record {
 public:
  static constexpr std::string_view kEntityName = "Child";
  struct Slots {
    static constexpr Slot<Decimal> amount{0};
    static constexpr Slot<Date> day{1};
    static constexpr ToOneSlot<Parent> parent{2};
    static constexpr ToOneSlot<Parent> sponsor{3};
    static constexpr Slot<std::int64_t> rank{4};
  };
  using Record::Record;

  std::optional<Decimal> amount() const { return get(Slots::amount); }
  void setAmount(const std::optional<Decimal>& value) { set(Slots::amount, value); }
  void setDay(std::optional<Date> value) { set(Slots::day, value); }
  Parent* parent() const { return get(Slots::parent); }
  void setParent(Parent* value) { set(Slots::parent, value); }
  Parent* sponsor() const { return get(Slots::sponsor); }
  void setSponsor(Parent* value) { set(Slots::sponsor, value); }
  std::optional<std::int64_t> rank() const { return get(Slots::rank); }
  void setRank(std::optional<std::int64_t> value) { set(Slots::rank, value); }
  Decimal doubled() const { return amount().value_or(0) * 2; }
  void awakeFromInsert() override { setPrimitive(Slots::rank, 7); }

  static EntityDescription table() {
    EntityTable<Child> table{std::string(kEntityName)};
    table.attribute(Slots::amount, "amount").defaultValue(Decimal(0));
    table.attribute(Slots::day, "day");
    table.toOne(Slots::parent, "parent", "Parent", "children");
    table.toOne(Slots::sponsor, "sponsor", "Parent");
    table.attribute(Slots::rank, "rank");
    table.derived<&Child::doubled>("doubled");
    table.dependsOn("doubled", {"amount"});
    table.announced("family");
    table.triggersChangeOf({"doubled"}, "family");
    table.dependsOn("family", {"parent.title", "noSuchKey"});
    table.index({"parent", "day"});
    table.index({"day"});
    return table.description();
  }
};

class Label : public Record {
 public:
  static constexpr std::string_view kEntityName = "Label";
  struct Slots {
    static constexpr Slot<std::string> text{0};
    static constexpr Slot<Bytes> picture{1};
    static constexpr ToOneSlot<Parent> owner{2};
  };
  using Record::Record;

  std::optional<std::string> text() const { return get(Slots::text); }
  void setText(const std::optional<std::string>& value) { set(Slots::text, value); }
  Parent* owner() const { return get(Slots::owner); }
  void setOwner(Parent* value) { set(Slots::owner, value); }

  static EntityDescription table() {
    EntityTable<Label> table{std::string(kEntityName)};
    table.attribute(Slots::text, "text").required();
    table.attribute(Slots::picture, "picture");
    table.toOne(Slots::owner, "owner", "Parent", "label");
    return table.description();
  }
};

// `lookedUp`: one bit an entity that is read by lookup.
inline std::shared_ptr<const Schema> testSchema(unsigned lookedUp = 0) {
  Model model;
  for (EntityDescription entity : {Parent::table(), Child::table(), Label::table()}) {
    entity.byLookup = (lookedUp & 1U) != 0;
    lookedUp >>= 1;
    model.add(std::move(entity));
  }
  return model.freeze();
}

// A context on a document in memory that can be closed and opened again.
struct TestStore {
  explicit TestStore(unsigned lookedUp = 0) : schema(testSchema(lookedUp)) { reopen(); }
  // What was not saved is lost.
  void reopen() {
    context.reset();
    context = Context::open(
        schema, makeFaultInjectingPersistence(makeMemoryPersistence(document), engineFaults),
        world.environment);
  }

  TestWorld world;
  std::shared_ptr<const Schema> schema;
  std::shared_ptr<MemoryDocument> document = std::make_shared<MemoryDocument>();
  std::shared_ptr<PersistenceFaults> engineFaults = std::make_shared<PersistenceFaults>();
  std::unique_ptr<Context> context;
};

}  // namespace bokfolio::test
