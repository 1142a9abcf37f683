// Observers: who wants to hear of which change. One observation listens to all keys of its record
// that its key depends on, and for dependencies across relationships also to the link and to the
// record at its far end, hung over when the link changes.
//
// What an observer throws stops neither the change nor the other observers. The first exception
// leaves when the outermost change is over, later ones are dropped. Observers that answer each
// change with another end in StoreError, not in a stack that overflows.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bokfolio/store/internal/record_access.hpp"
#include "bokfolio/store/observation.hpp"
#include "bokfolio/store/schema.hpp"

namespace bokfolio::internal {

struct Observation;
class Announcement;

class Observers {
 public:
  Observers() = default;
  Observers(const Observers&) = delete;
  Observers& operator=(const Observers&) = delete;
  ~Observers();

  bool any() const { return !listeners_.empty(); }
  static bool areOn(const Record& record) {
    return RecordAccess::has(record, RecordAccess::kObserved);
  }

  ObservationToken observe(Record& record, std::string_view keyPath, Observer observer);

  // A change that is announced by hand. Each didChange ends the latest willChange of that key.
  void willChange(Record& record, const Key& key);
  void didChange(Record& record, const Key& key);

  // While it lives, exceptions of observers wait: for changes that consist of several.
  class Hold {
   public:
    explicit Hold(Observers& observers) : observers_(observers) { ++observers_.holds_; }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;
    ~Hold();
    // At the end of all: throws what waited, unless an outer change goes on.
    void release();

   private:
    Observers& observers_;
  };

 private:
  friend class Announcement;
  friend struct Registration;
  using Observations = std::vector<std::shared_ptr<Observation>>;

  // A willChange that waits for its didChange.
  struct Bracket {
    const Record* record;
    std::uint16_t key;
    Observations told;
  };
  // One observation listening to some keys of one record.
  struct Listener {
    const std::vector<std::uint16_t>* keys;  // ascending
    std::shared_ptr<Observation> observation;
  };

  void addConcerned(const Record& record, const Key& key, Observations& found) const;
  void listen(const std::shared_ptr<Observation>& observation, Record& record,
              const std::vector<std::string>& path, std::size_t step);
  void hang(const std::shared_ptr<Observation>& observation);
  void unhang(Observation& observation);
  // StoreError when observers have called each other too often.
  void requireEnd() const;
  // Tells those that are still there; what they throw is kept.
  void tell(const Observations& told, Change::Phase phase) noexcept;
  void tellEnd(const Observations& told, bool relinked) noexcept;
  void throwKept();

  std::unordered_map<const Record*, std::vector<Listener>> listeners_;
  std::vector<Bracket> brackets_;
  std::exception_ptr failure_;
  int holds_ = 0;
  int depth_ = 0;  // calls of observers under way, one inside the other
  std::shared_ptr<Observers*> self_;
};

// One change as observers see it: keys of one or several records. Everybody concerned is told once
// before and, if he heard that, once after, also when the change fails.
class Announcement {
 public:
  explicit Announcement(Observers& observers) : observers_(observers) {}
  Announcement(const Announcement&) = delete;
  Announcement& operator=(const Announcement&) = delete;
  ~Announcement() {
    if (begun_) abandon();
  }

  void add(const Record& record, const Key& key) {
    if (Observers::areOn(record)) addObserved(record, key);
  }
  // Nobody is concerned: there is nothing to be told.
  bool empty() const { return told_.empty(); }
  void will() {
    if (!told_.empty()) begin();
  }
  // Throws what an observer threw.
  void did() {
    if (begun_) finish();
  }

 private:
  void addObserved(const Record& record, const Key& key);
  void begin();
  void finish();
  void abandon() noexcept;

  Observers& observers_;
  std::vector<std::shared_ptr<Observation>> told_;
  bool relinked_ = false;  // a to-one is among the keys
  bool begun_ = false;
};

}  // namespace bokfolio::internal
