// A model for questions: shops in regions, goods in shops, with every kind of index and an accessor
// that does not answer what is stored.
#pragma once

#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/model.hpp"
#include "bokfolio/store/persistence/memory/memory_persistence.hpp"
#include "bokfolio/store/schema.hpp"
#include "tests/store/describe.hpp"
#include "tests/world/world.hpp"

namespace bokfolio::test {

// The stored grade, but nil where it is odd.
inline Value evenGrade(const Record& record) {
  const Value stored = record.primitiveValueForKey("grade");
  return stored.asInteger().value_or(1) % 2 == 0 ? stored : Value();
}

// `lookedUp`: one bit an entity that is read by lookup.
inline std::shared_ptr<const Schema> questionSchema(unsigned lookedUp) {
  EntityDescription region;
  region.name = "Region";
  region.properties = {attribute("code", PropertyKind::Integer),
                       relation("shops", PropertyKind::ToMany, "Shop", "region")};
  region.indexes = {{{"code"}}};
  EntityDescription shop;
  shop.name = "Shop";
  shop.properties = {attribute("name", PropertyKind::String),
                     attribute("opened", PropertyKind::Date),
                     relation("region", PropertyKind::ToOne, "Region", "shops"),
                     relation("goods", PropertyKind::ToMany, "Good", "shop"),
                     relation("best", PropertyKind::ToOne, "Good", "bestOf")};
  shop.indexes = {{{"region", "opened"}}, {{"name"}}};
  EntityDescription good;
  good.name = "Good";
  good.properties = {attribute("code", PropertyKind::Integer),
                     attribute("grade", PropertyKind::Integer),
                     attribute("price", PropertyKind::Decimal),
                     attribute("weight", PropertyKind::Double),
                     attribute("made", PropertyKind::Date),
                     attribute("title", PropertyKind::String),
                     relation("shop", PropertyKind::ToOne, "Shop", "goods"),
                     relation("owner", PropertyKind::ToOne, "Region"),
                     relation("bestOf", PropertyKind::ToOne, "Shop", "best")};
  good.property("grade")->getter = &evenGrade;
  good.indexes = {{{"code"}},  {{"grade"}},        {{"price"}},        {{"weight"}},
                  {{"title"}}, {{"shop", "made"}}, {{"code", "price"}}};
  Model model;
  for (EntityDescription* entity : {&region, &shop, &good}) {
    entity->byLookup = (lookedUp & 1U) != 0;
    lookedUp >>= 1;
    model.add(*entity);
  }
  return model.freeze();
}

// A context whose records live a random life.
class RandomTrade {
 public:
  explicit RandomTrade(unsigned seed, unsigned lookedUp = 0)
      : schema_(questionSchema(lookedUp)), random_(seed) {
    reopen();
  }

  Context& context() { return *context_; }

  std::size_t below(std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random_);
  }
  Record* any(std::string_view entity) {
    const auto all = *context_->fetchEntitiesWithName(entity);
    return all.empty() || below(8) == 0 ? nullptr : all[below(all.size())];
  }
  Value integer() {
    // The two lowest share a code in indexes.
    if (below(12) == 0)
      return std::numeric_limits<std::int64_t>::min() + static_cast<std::int64_t>(below(2));
    return below(6) == 0 ? Value() : Value(static_cast<int>(below(12)) - 4);
  }
  Value decimal() {
    return below(6) == 0 ? Value() : Value(Decimal(static_cast<int>(below(40)) - 10) / Decimal(4));
  }
  Value date() {
    return below(6) == 0 ? Value() : Value(Date::fromSeconds(static_cast<int>(below(20)) - 5));
  }
  Value text() {
    static const std::vector<std::string> kTexts = {"", "a", "A", "ab", "b", "Å"};
    return below(6) == 0 ? Value() : Value(kTexts[below(kTexts.size())]);
  }

  void act(int times) {
    for (; times > 0; --times) actOnce();
  }

 private:
  void reopen() {
    context_.reset();
    context_ = Context::open(schema_, makeMemoryPersistence(document_), world_.environment);
  }

  void actOnce() {
    switch (below(24)) {
      case 0:
        if (below(4) == 0) context_->insertNewObject("Region")->setValueForKey(integer(), "code");
        return;
      case 1:
        changeShop(*context_->insertNewObject("Shop"));
        return;
      case 2:
        if (below(3) == 0) context_->deleteObject(any("Shop"));
        return;
      case 3:
      case 4:
        context_->deleteObject(any("Good"));
        return;
      case 5:
        if (below(2) == 0) context_->undo();
        return;
      case 6:
        context_->save();
        if (below(3) == 0) reopen();
        return;
      case 7:
        if (below(12) == 0) context_->rollback();
        return;
      case 8:
        context_->closeUndoGroup();
        return;
      case 9:
      case 10:
        if (Record* shop = any("Shop")) changeShop(*shop);
        return;
      case 11:
      case 12:
      case 13:
        if (Record* good = any("Good")) changeGood(*good);
        return;
      default:
        changeGood(*context_->insertNewObject("Good"));
        return;
    }
  }

  void changeShop(Record& shop) {
    shop.setValueForKey(text(), "name");
    shop.setValueForKey(date(), "opened");
    shop.setValueForKey(any("Region"), "region");
    if (below(4) == 0) shop.setValueForKey(any("Good"), "best");
  }

  void changeGood(Record& good) {
    good.setValueForKey(integer(), "code");
    good.setValueForKey(integer(), "grade");
    good.setValueForKey(decimal(), "price");
    good.setValueForKey(decimal(), "weight");
    good.setValueForKey(date(), "made");
    good.setValueForKey(text(), "title");
    good.setValueForKey(any("Shop"), "shop");
    if (below(2) == 0) good.setValueForKey(any("Region"), "owner");
  }

  std::shared_ptr<const Schema> schema_;
  std::mt19937 random_;
  TestWorld world_;
  std::shared_ptr<MemoryDocument> document_ = std::make_shared<MemoryDocument>();
  std::unique_ptr<Context> context_;
};

}  // namespace bokfolio::test
