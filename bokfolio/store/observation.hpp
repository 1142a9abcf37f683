// Observation: being told before and after a key of a record changes. Keys that depend on others
// are announced when those change, across relationships too; one change announces a key once.
// Observing one record costs nothing for the others.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "bokfolio/export.hpp"

namespace bokfolio {

class Record;

struct Change {
  enum class Phase : std::uint8_t { Will, Did };
  Record* record;          // the one whose key is observed
  const std::string* key;  // the key as it was asked for
  Phase phase;
};

// Called before (Will) and after (Did) each change, in pairs. It may observe more, end
// observations, change and delete records; an observation that ends meanwhile is not called again.
using Observer = std::function<void(const Change&)>;

// The observation lasts as long as its token. Tokens may outlive the context.
class BOKFOLIO_EXPORT ObservationToken {
 public:
  ObservationToken() = default;
  explicit ObservationToken(std::shared_ptr<void> registration);
  ObservationToken(ObservationToken&&) noexcept = default;
  ObservationToken& operator=(ObservationToken&&) noexcept = default;
  ObservationToken(const ObservationToken&) = delete;
  ObservationToken& operator=(const ObservationToken&) = delete;
  ~ObservationToken();

  void end();

 private:
  std::shared_ptr<void> registration_;
};

}  // namespace bokfolio
