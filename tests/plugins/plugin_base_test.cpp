#include "bokfolio/plugins/plugin_base.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "bokfolio/plugins/plugin_model.hpp"
#include "tests/store/test_model.hpp"

namespace bokfolio::test {

struct ViewOnly : BFViewPluginBase {
  using BFViewPluginBase::BFViewPluginBase;
};
struct ActionOnly : BFMenuActionPluginBase {
  using BFMenuActionPluginBase::BFMenuActionPluginBase;
};

namespace {

using testing::HasSubstr;

template <class Call>
void expectMissing(Call call, const char* name, const char* reason) {
  try {
    call();
    FAIL() << name;
  } catch (const PluginException& missing) {
    EXPECT_EQ(missing.name(), name);
    EXPECT_EQ(missing.reason(), reason);
  }
}

TEST(PluginBase, HasDefaultsForAllButWhatAPluginMustHave) {
  TestStore store;
  ViewOnly view(store.context.get());
  ActionOnly action(store.context.get());
  for (const BFPluginBase* plugin : std::initializer_list<const BFPluginBase*>{&view, &action}) {
    EXPECT_EQ(plugin->type(), 0);
    EXPECT_EQ(plugin->title(), "Untitled");
    EXPECT_EQ(plugin->managedObjectContext(), store.context.get());
    Model model;
    model.add(Child::table());
    EXPECT_EQ(plugin->managedObjectModelWithBaseModel(model).entities().size(), 1U);
  }
  action.action(nullptr);
  EXPECT_FALSE(store.context->hasChanges());
  expectMissing(
      [&] { view.view(); }, "No view",
      "You must implement the view method for your bokfolio::test::ViewOnly view plug-in!");
  expectMissing([&] { static_cast<void>(action.tag()); }, "No tag",
                "You must implement the tag method for your bokfolio::test::ActionOnly menu action "
                "plug-in!");
}

struct Extending final : BFPluginBase {
  explicit Extending(std::function<Model(Model)> how)
      : BFPluginBase(nullptr), extend(std::move(how)) {}
  std::string title() const override { return "Test"; }
  Model managedObjectModelWithBaseModel(Model base) const override {
    return extend(std::move(base));
  }
  std::function<Model(Model)> extend;
};

PropertyDescription text(const std::string& name) {
  PropertyDescription property;
  property.name = name;
  return property;
}

constexpr const char* kOtherRules = "Label.text has other rules";

// An extension that changes something of a key that was there.
std::function<Model(Model)> changing(const std::function<void(PropertyDescription&)>& what) {
  return [what](Model model) {
    what(*model.entity("Label")->property("text"));
    return model;
  };
}

TEST(PluginModel, MayGrowButNotLoseOrMoveWhatIsThere) {
  Model base;
  base.add(Parent::table()).add(Child::table()).add(Label::table());
  const std::tuple<std::function<Model(Model)>, const char*> cases[] = {
      {[](Model) { return Model(); }, "the entity Parent is gone; the entity Child is gone"},
      {[](Model model) {
         auto& keys = model.entity("Child")->properties;
         keys.insert(keys.begin(), text("first"));
         return model;
       },
       "Child.amount is gone, changed or moved; Child.day is gone"},
      {[](Model model) {
         model.entity("Label")->property("text")->kind = PropertyKind::Binary;
         return model;
       },
       "Label.text is gone, changed or moved"},
      {[](Model model) {
         model.entity("Child")->derived.clear();
         return model;
       },
       "Child.doubled is gone; Child.family is gone"},
      {[](Model model) {
         model.entity("Child")->derived.front().getter = nullptr;
         model.entity("Child")->dependencies.front().paths.clear();
         return model;
       },
       "Child.doubled has other rules; Child.doubled depends on amount no more"},
      {changing([](PropertyDescription& key) { key.required = !key.required; }), kOtherRules},
      {changing([](PropertyDescription& key) { key.defaultValue = Value("x"); }), kOtherRules},
      {changing([](PropertyDescription& key) { key.deleteRule = DeleteRule::Cascade; }),
       kOtherRules},
      {changing(
           [](PropertyDescription& key) { key.getter = [](const Record&) { return Value(); }; }),
       kOtherRules},
      {changing([](PropertyDescription& key) { key.setter = [](Record&, const Value&) {}; }),
       kOtherRules},
      {changing([](PropertyDescription& key) {
         key.validator = [](Record&, Value&, ErrorOut) { return true; };
       }),
       kOtherRules},
      {[](Model model) {
         model.entity("Label")->make = nullptr;
         return model;
       },
       "Label has another class"},
      {[](Model model) {
         model.add(Label::table());
         return model;
       },
       "Label: is declared twice"},
      {[](Model) -> Model { throw std::runtime_error("no licence"); }, "no licence"},
  };
  for (const auto& [how, reason] : cases) {
    Model model = base;
    std::optional<Error> error;
    EXPECT_FALSE(extendModel(model, Extending(how), &error)) << reason;
    ASSERT_TRUE(error.has_value());
    EXPECT_THAT(error->localizedDescription(), HasSubstr(reason));
    EXPECT_EQ(model.entities().size(), 3U) << "the model is as it was";
    EXPECT_TRUE(model.faults().empty());
    EXPECT_FALSE(extendModel(model, Extending(how)));
  }
  Model ledger;
  ledger.add(Child::table());
  ledger.entity("Child")->keptSum.emplace();
  std::optional<Error> error;
  EXPECT_FALSE(extendModel(ledger, Extending([](Model model) {
                             model.entity("Child")->keptSum.reset();
                             return model;
                           }),
                           &error));
  EXPECT_THAT(error->localizedDescription(), HasSubstr("Child keeps its sum no more"));
  EXPECT_FALSE(extendModel(ledger, Extending([](Model model) {
                             model.entity("Child")->keptSum->unlessValue = 2;
                             return model;
                           }),
                           &error));
  EXPECT_THAT(error->localizedDescription(), HasSubstr("Child keeps another sum"));
}

}  // namespace
}  // namespace bokfolio::test
