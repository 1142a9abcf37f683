// What several threads of a host may do at once: each keep a document of its own, and together use
// what is one for the process or said to be safe from any thread. Under the thread sanitizer
// (./dev tsan) this finds what they would quarrel about.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "bokfolio/address/code_to_name_transformer.hpp"
#include "bokfolio/platform/image.hpp"
#include "bokfolio/platform/localization.hpp"
#include "bokfolio/platform/number_parsing.hpp"
#include "bokfolio/platform/value_transformer.hpp"
#include "bokfolio/store/predicate.hpp"
#include "bokfolio/store/store_error.hpp"
#include "tests/simulation/operations.hpp"
#include "tests/simulation/replay.hpp"
#include "tests/world/world.hpp"

namespace bokfolio {
namespace {

void atOnce(int threads, const std::function<void(int)>& work) {
  std::vector<std::thread> running;
  for (int number = 0; number < threads; ++number) running.emplace_back(work, number);
  for (std::thread& each : running) each.join();
}

TEST(Threads, KeepADocumentEach) {
  std::vector<std::string> failures(4);
  atOnce(4, [&](int number) {
    simulation::Script script = simulation::generate(static_cast<std::uint64_t>(number) + 1, 120);
    script.sqlite = number % 2 == 0;
    if (const auto failure = simulation::live(script))
      failures[static_cast<std::size_t>(number)] = failure->reason;
  });
  for (const std::string& failure : failures) EXPECT_EQ(failure, "");
}

TEST(Threads, ShareTheCacheOfConditions) {
  atOnce(4, [](int number) {
    for (int round = 0; round < 700; ++round) {
      const std::string own = "key" + std::to_string(round * (number % 2 + 1)) + " == 1";
      EXPECT_EQ(Predicate(own).description(), own);
      EXPECT_EQ(Predicate("name LIKE[c] %@", {"x"}).description(), "name LIKE[c] \"x\"");
      EXPECT_THROW(Predicate("name =="), PredicateError);
    }
  });
}

TEST(Threads, ShareTextsTransformersRatesAndPictures) {
  const test::TestWorld world("sv_SE");
  const CatalogLocalizer texts(world.resources, Locale("sv_SE"));
  const std::string words = "neither a picture nor a document";
  const Bytes paper(words.begin(), words.end());
  atOnce(4, [&](int number) {
    const std::string name = "own" + std::to_string(number);
    const Locale locale(number % 2 == 0 ? "sv_SE" : "de_DE");
    for (int round = 0; round < 40; ++round) {
      EXPECT_NE(texts.text("No fiscal year."), "No fiscal year.");
      ValueTransformer::setValueTransformer(
          std::make_shared<LanguageCodeToNameTransformer>(world.environment), name);
      EXPECT_NE(ValueTransformer::valueTransformerForName(name), nullptr);
      EXPECT_EQ(parseNumber("1,5", locale), Decimal::parse("1.5"));
      EXPECT_FALSE(Image::decode(paper).has_value());
    }
    ValueTransformer::setValueTransformer(nullptr, name);
  });
}

}  // namespace
}  // namespace bokfolio
