// Observers: who wants to hear of which change. One observation listens to all keys of its record
// that its key depends on, and for dependencies across relationships also to the link and to the
// record at its far end, hung over when the link changes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bokfolio/store/observation.hpp"
#include "bokfolio/store/record.hpp"
#include "bokfolio/store/schema.hpp"

namespace bokfolio::internal {

struct Observation;

class Observers {
 public:
  Observers() = default;
  Observers(const Observers&) = delete;
  Observers& operator=(const Observers&) = delete;
  ~Observers();

  bool any() const { return !listeners_.empty() || !announced_.empty(); }

  ObservationToken observe(Record& record, std::string_view keyPath, Observer observer);

  // Around a change of one key of one record. Each willChange is followed by its didChange, nested
  // ones inside; those who heard the first hear the second.
  void willChange(const Record& record, const Key& key);
  void didChange(const Record& record, const Key& key);

 private:
  friend struct Observation;

  // One observation listening to some keys of one record.
  struct Listener {
    std::vector<std::uint16_t> keys;  // ascending
    std::shared_ptr<Observation> observation;
  };
  struct Announced {
    const Record* record;
    std::uint16_t key;
    std::vector<std::shared_ptr<Observation>> told;
  };

  std::vector<std::shared_ptr<Observation>> concerned(const Record& record, const Key& key) const;
  void listen(const std::shared_ptr<Observation>& observation, const Record& record,
              const std::vector<std::string>& path, std::size_t step);
  void hang(const std::shared_ptr<Observation>& observation);
  void unhang(Observation& observation);

  std::unordered_map<const Record*, std::vector<Listener>> listeners_;
  std::vector<Announced> announced_;
  std::shared_ptr<Observers*> self_;
};

}  // namespace bokfolio::internal
