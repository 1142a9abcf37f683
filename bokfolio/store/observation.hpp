// Observation: being told before and after a key of a record changes. Keys that depend on others
// are announced when those change, across to-one relationships too; one change announces a key
// once. Of a to-many key the membership is announced, from either side of the relationship. What is
// not observed pays nothing.
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
// observations, change and delete records, even those of the change: a change whose record was
// deleted before it throws RecordGoneError. An observation that ends meanwhile is not called again.
// What an observer throws stops neither the change nor the other observers; the first exception
// reaches the caller when the change is complete.
//
// Undo, redo, rollback and a deletion with all that it takes along are one change each: Will is
// heard before anything of it, Did after all of it.
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
