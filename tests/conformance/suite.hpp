// What every part of the conformance suite starts with: a new document of an engine, open.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <utility>

#include "tests/conformance/draft.hpp"
#include "tests/conformance/places.hpp"

namespace bokfolio::test {

class Conformance : public testing::TestWithParam<PlaceKind> {
 protected:
  explicit Conformance(std::shared_ptr<const Schema> own = paperSchema())
      : place(GetParam().make()), schema(std::move(own)) {
    engine = place->create();
    EXPECT_TRUE(engine->open(*schema, nullptr));
  }

  void reopen() { reopen(schema); }
  void reopen(std::shared_ptr<const Schema> other) {
    engine.reset();
    schema = std::move(other);
    engine = place->again();
    std::optional<Error> error;
    ASSERT_TRUE(engine->open(*schema, &error)) << error->localizedDescription();
  }
  std::optional<PersistenceError> commit(const Draft& draft) {
    return test::commit(*engine, draft);
  }
  Content content() { return contentOf(*engine, *schema); }

  std::unique_ptr<Place> place;
  std::shared_ptr<const Schema> schema;
  std::unique_ptr<Persistence> engine;
};

inline std::string nameOfKind(const testing::TestParamInfo<PlaceKind>& kind) {
  return kind.param.name;
}

}  // namespace bokfolio::test
