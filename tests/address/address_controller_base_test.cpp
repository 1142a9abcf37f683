#include "bokfolio/address/address_controller_base.hpp"

#include <gtest/gtest.h>

#include <tuple>

#include "bokfolio/platform/log.hpp"
#include "tests/address/address_form.hpp"
#include "tests/world/world.hpp"

namespace bokfolio::test {
namespace {

struct AddressLayoutTest : testing::Test {
  std::unique_ptr<AddressControllerBase> controllerWith(const std::string& entries) {
    world.environment.setResources(placementResource(entries));
    return std::make_unique<AddressControllerBase>(world.environment);
  }

  TestWorld world;
};

TEST_F(AddressLayoutTest, PlacesTheFieldsAsEachCountryWritesThem) {
  AddressControllerBase controller(world.environment);
  const std::pair<const char*, const char*> cases[] = {
      {"se",
       "street 20,268 400x24; postalCode 20,236 120x24; city 148,236 272x24; "
       "country 17,201 406x24"},
      {"us",
       "street 20,268 400x24; postalCode 316,236 104x24; city 20,236 180x24; "
       "county 208,236 100x24; country 17,201 406x24"},
      {"gb",
       "street 20,268 400x24; postalCode 20,172 400x24; city 20,236 400x24; "
       "county 20,204 400x24; country 17,137 406x24"},
      {"hu",
       "street 20,236 400x24; postalCode 20,204 400x24; city 20,268 400x24; "
       "country 17,169 406x24"},
      {"it",
       "street 20,268 400x24; postalCode 20,236 100x24; city 128,236 200x24; "
       "county 336,236 84x24; country 17,201 406x24"},
      {"th",
       "street 20,268 400x24; postalCode 288,204 132x24; city 20,236 400x24; "
       "county 20,204 260x24; country 17,169 406x24"},
      {"hk",
       "street 20,268 400x24; city 20,236 400x24; county 20,204 400x24; country 17,169 406x24"},
      {"default",
       "street 20,268 400x24; postalCode 20,236 120x24; city 148,236 272x24; "
       "county 20,204 400x24; country 17,169 406x24"},
  };
  AddressForm form;
  for (const auto& [country, frames] : cases) {
    controller.adjustAddressFieldsInView(form.root, country, false);
    EXPECT_EQ(form.frames(), frames) << country;
  }
  controller.adjustAddressFieldsInView(form.root, "SE");
  EXPECT_EQ(form.frames(), cases[0].second) << "the locale's codes are capitals";
  for (const char* unknown : {"", "xx", "Se", "sweden"}) {
    controller.adjustAddressFieldsInView(form.root, unknown);
    EXPECT_EQ(form.frames(), std::rbegin(cases)->second) << unknown;
  }
}

TEST_F(AddressLayoutTest, MovesTheRestByWhatTheBlockGrewOrShrank) {
  AddressControllerBase controller(world.environment);
  AddressForm form;
  EXPECT_EQ(controller.moveDown(), 0.0F);
  // The lowest field before is the country at 140, and -3 once it was laid out.
  const std::tuple<const char*, float, float> steps[] = {
      {"se", 201.0F - 140.0F, 161},
      {"se", 0, 161},
      {"gb", 137.0F - 201.0F, 97},
      {"gb", 0, 97},
      {"hu", 32, 129},
      {"se", 32, 161},
      {"us", 0, 161},
  };
  for (const auto& [country, moved, y] : steps) {
    controller.adjustAddressFieldsInView(form.root, country, false);
    EXPECT_EQ(controller.moveDown(), moved) << country;
    EXPECT_EQ(form.below->frame(), (ViewFrame{20, y, 90, 20})) << country;
    EXPECT_EQ(form.farBelow->frame(), (ViewFrame{30, y - 50, 80, 10})) << country;
    EXPECT_EQ(form.nested->frame(), (ViewFrame{1, 2, 3, 4})) << "not directly in the form";
  }
}

TEST_F(AddressLayoutTest, TheBottomMarkerBoundsWhatMoves) {
  AddressControllerBase controller(world.environment);
  // Marker's y, and how far the country line of Britain (137), then of Sweden (201) moves the rest.
  const std::tuple<float, float, float> cases[] = {{1000, -3, 64}, {150, -3, 13}, {138, -1, 1},
                                                   {137, 0, 0},    {0, 0, 0},     {-5, 0, 0}};
  for (const auto& [y, british, swedish] : cases) {
    AddressForm form;
    form.marker->setFrame({0, y, 0, 0});
    controller.adjustAddressFieldsInView(form.root, "gb");
    EXPECT_EQ(controller.moveDown(), british) << y;
    controller.adjustAddressFieldsInView(form.root, "se");
    EXPECT_EQ(controller.moveDown(), swedish) << y;
  }
}

TEST_F(AddressLayoutTest, HiddenFieldsCountOnlyWhileTheyAreSeen) {
  const auto controller =
      controllerWith(placementEntry("deep", "street 0, country 7") +
                     placementEntry("street", "street 0") + placementEntry("none", ""));
  AddressForm form(PlainView::Kind::Plain);
  const std::tuple<const char*, float, const char*> steps[] = {
      {"deep", 44.0F - 140.0F, "street 20,268 400x24; country 20,44 400x24"},
      {"street", 268.0F - 44.0F, "street 20,268 400x24"},
      {"street", 0, "street 20,268 400x24"},
      {"none", 1000.0F - 268.0F, ""},
      {"deep", 44.0F - 1000.0F, "street 20,268 400x24; country 20,44 400x24"},
      {"unknown, and there is no default", 956, ""}};
  for (const auto& [country, moved, frames] : steps) {
    controller->adjustAddressFieldsInView(form.root, country);
    EXPECT_EQ(controller->moveDown(), moved) << country;
    EXPECT_EQ(form.frames(), frames) << country;
  }
}

TEST_F(AddressLayoutTest, SharesARowByPlaceAndWidth) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"the second takes the rest", "street 0 0 0.3, city 0 1",
       "street 20,268 120x24; city 148,268 272x24"},
      {"a field without place counts as left, but not as a neighbour", "street 0 - 0.3, city 0 1",
       "street 20,268 120x24; city 20,268 400x24"},
      {"a neighbour without width adds its gap alone", "street 0 0, city 0 1",
       "street 20,268 400x24; city 28,268 392x24"},
      {"two at the same place count for one another", "street 0 1 0.25, city 0 1 0.5",
       "street 228,268 100x24; city 128,268 200x24"},
      {"neither counts what is to the right, nor another row",
       "street 1 1 0.25, city 1 2 0.5, county 0 0 0.125",
       "street 20,236 100x24; city 128,236 200x24; county 20,268 50x24"},
      {"a place left of all is a place", "street 0 -1", "street 20,268 400x24"},
      {"a pop-up is widened and shifted", "city 0 0 0.25, country 0 1 0.5",
       "city 20,268 100x24; country 125,265 206x24"},
      {"a pop-up that takes the rest is not widened", "city 0 0 0.25, country 0 1",
       "city 20,268 100x24; country 125,265 292x24"},
      {"no row is the first", "street", "street 20,268 400x24"},
  };
  for (const auto& [what, fields, frames] : cases) {
    AddressForm form;
    controllerWith(placementEntry("default", fields))->adjustAddressFieldsInView(form.root, "se");
    EXPECT_EQ(form.frames(), frames) << what;
  }
}

TEST_F(AddressLayoutTest, PassesOverWhatAFormLacks) {
  AddressControllerBase controller(world.environment);
  PlainView form(0);
  controller.adjustAddressFieldsInView(form, "se");
  EXPECT_EQ(controller.moveDown(), 0.0F);
  // The reference may be missing, too: then it is all zero, and the bottom marker stands at 0.
  auto& street = form.addSubview(std::make_unique<PlainView>(764001, ViewFrame{9, 9, 9, 9}));
  auto& below = form.addSubview(std::make_unique<PlainView>(763999, ViewFrame{5, 5, 5, 5}));
  controller.adjustAddressFieldsInView(form, "se");
  EXPECT_EQ(street.frame(), (ViewFrame{0, -8, 0, 9}));
  EXPECT_EQ(below.frame(), (ViewFrame{5, -3, 5, 5}));
  EXPECT_EQ(viewWithTag(form, 764001), &street);
  EXPECT_EQ(viewWithTag(form, 0), &form);
  EXPECT_EQ(viewWithTag(form, 2), nullptr);
}

// A toolkit's view: changes made through its animator arrive when the animation has ended.
class AnimatedView final : public PlainView {
 public:
  using PlainView::PlainView;
  FormView& animator() override { return proxy_; }
  int changes() const { return proxy_.changes; }

 private:
  struct Proxy final : FormView {
    explicit Proxy(AnimatedView& v) : view(v) {}
    std::int32_t tag() const override { return view.tag(); }
    ViewFrame frame() const override { return view.frame(); }
    void setFrame(const ViewFrame& frame) override { view.setFrame(frame), ++changes; }
    bool isHidden() const override { return view.isHidden(); }
    void setHidden(bool hidden) override { view.setHidden(hidden), ++changes; }
    bool isPopUpButton() const override { return view.isPopUpButton(); }
    std::vector<FormView*> subviews() override { return view.subviews(); }
    AnimatedView& view;
    int changes = 0;
  };
  Proxy proxy_{*this};
};

TEST_F(AddressLayoutTest, ChangesViewsThroughTheirAnimatorsWhenAnimating) {
  AddressControllerBase controller(world.environment);
  AddressForm<AnimatedView> form;
  controller.adjustAddressFieldsInView(form.root, "se", false);
  const std::string still = form.frames();
  for (const auto& [tag, field] : form.fields) EXPECT_EQ(field->changes(), 0) << tag;
  EXPECT_EQ(form.below->changes(), 0);
  controller.adjustAddressFieldsInView(form.root, "se");
  EXPECT_EQ(form.frames(), still);
  // Shown or hidden, and placed unless hidden: Sweden has no county.
  for (const auto& [tag, field] : form.fields) EXPECT_EQ(field->changes(), tag == 764004 ? 1 : 2);
  EXPECT_EQ(form.below->changes(), 1);
}

TEST_F(AddressLayoutTest, ReadsTheTableOnceItIsThere) {
  auto resources = std::make_shared<MemoryResources>();
  world.environment.setResources(resources);
  AddressControllerBase controller(world.environment);
  EXPECT_EQ(controller.addressFieldPlacement(), nullptr);
  EXPECT_TRUE(world.log->lines().empty()) << "a host may have no address forms";
  const std::pair<std::string, const char*> faulty[] = {
      {"<array/>", "The table of address fields is no map."},
      {"<dict><key>se</key><dict><key>city</key><true/></dict></dict>",
       "The field city of se is no map."},
      {"<dict>" + placementEntry("se", "city 1 2147483648") + "</dict>",
       "The field city of se has a x_index that is no integer of 32 bits."},
      {"<dict>" + placementEntry("se", "city 1 1 1e39") + "</dict>",
       "The field city of se has a width that is no number of 32 bits."},
  };
  for (const auto& [list, reason] : faulty) {
    resources->add("AddressFieldPlacement", "plist", "<plist>" + list + "</plist>");
    EXPECT_EQ(controller.addressFieldPlacement(), nullptr);
    EXPECT_EQ(world.log->lines().back(), std::string("AddressFieldPlacement: ") + reason);
  }
  resources->add("AddressFieldPlacement", "plist",
                 "<plist><dict>" + placementEntry("se", "city 1 - 2") + "</dict></plist>");
  const AddressPlacementTable* table = controller.addressFieldPlacement();
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->at("se").at("city"), (AddressFieldPlacement{1, std::nullopt, 2.0F}));
  resources->add("AddressFieldPlacement", "plist", "");
  EXPECT_EQ(controller.addressFieldPlacement(), table);
}

TEST_F(AddressLayoutTest, OffersNamesToBindings) {
  world.useLocale("sv_SE");
  const AddressControllerBase controller(world.environment);
  const AddressControllerBase english(makeTestEnvironment("en_US"));
  EXPECT_EQ(ValueTransformer::valueTransformerForName("CountryCodeToName").get(),
            &english.countryTransformer());
  EXPECT_EQ(ValueTransformer::valueTransformerForName("LanguageCodeToName").get(),
            &english.languageTransformer());
  EXPECT_EQ(controller.countryTransformer().transformedValue("no"), "Norge");
  const auto bindings = AddressControllerBase::exposedBindings();
  EXPECT_EQ(bindings, (std::array<std::string_view, 2>{"countries", "languages"}));
  EXPECT_EQ(controller.valueForBinding(bindings[0])->size(), 187U);
  EXPECT_EQ(controller.valueForBinding(bindings[1])->front(), "Afrikaans");
  EXPECT_EQ(controller.valueForBinding("t"), nullptr);
}

}  // namespace
}  // namespace bokfolio::test
