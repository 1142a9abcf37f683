#include "bokfolio/store/internal/observers.hpp"

#include <algorithm>
#include <utility>

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/internal/store_parts.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio::internal {

struct Observation {
  Record* root;
  std::string keyPath;
  Observer observer;
  bool active = true;
  bool follows = false;        // its path or a dependency crosses a relationship
  std::vector<Record*> heard;  // records that hold listeners of this observation
};

// What a token holds: ending it takes the listeners away, if the context is still there.
struct Registration {
  std::weak_ptr<Observers*> owner;
  std::shared_ptr<Observation> observation;

  Registration(std::weak_ptr<Observers*> observers, std::shared_ptr<Observation> observed)
      : owner(std::move(observers)), observation(std::move(observed)) {}
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;
  ~Registration() {
    observation->active = false;
    if (const auto observers = owner.lock()) (*observers)->unhang(*observation);
  }
};

namespace {

std::vector<std::string> splitPath(std::string_view path) {
  std::vector<std::string> parts;
  while (true) {
    const std::size_t dot = path.find('.');
    parts.emplace_back(path.substr(0, dot));
    if (dot == std::string_view::npos) return parts;
    path.remove_prefix(dot + 1);
  }
}

// As far as the entities on the way are known.
void checkPath(const Entity& entity, const std::vector<std::string>& path) {
  const Entity* at = &entity;
  for (const std::string& name : path) {
    const Key* key = at->key(name);
    if (key == nullptr) throw UndefinedKeyError(at->name() + " has no key named \"" + name + "\"");
    if (key->property == nullptr || !key->property->isToOne()) return;
    at = &key->property->target();
  }
}

Record* farEnd(const Record& record, const Key& link) {
  if (link.property == nullptr || !link.property->isToOne()) return nullptr;
  const SlotView slots = record.managedObjectContext().parts().slots(record);
  const std::uint16_t ordinal = link.property->ordinal();
  return slots.isNil(ordinal) ? nullptr : slots.reference(ordinal);
}

}  // namespace

Observers::~Observers() = default;

// --- Who listens where

ObservationToken Observers::observe(Record& record, std::string_view keyPath, Observer observer) {
  checkPath(record.entity(), splitPath(keyPath));
  if (!self_) self_ = std::make_shared<Observers*>(this);
  auto observation = std::make_shared<Observation>();
  observation->root = &record;
  observation->keyPath = keyPath;
  observation->observer = std::move(observer);
  auto registration = std::make_shared<Registration>(self_, observation);
  hang(observation);
  return ObservationToken(std::move(registration));
}

void Observers::hang(const std::shared_ptr<Observation>& observation) {
  listen(observation, *observation->root, splitPath(observation->keyPath), 0);
}

// Listens to step `step` of the path on this record, and to what follows on the record behind it.
// Dependencies may lead round and come back; a key that is listened to already is not entered
// again.
void Observers::listen(const std::shared_ptr<Observation>& observation, Record& record,
                       const std::vector<std::string>& path, std::size_t step) {
  const Key* key = record.entity().key(path[step]);
  if (key == nullptr) return;
  auto& listeners = listeners_[&record];
  const bool known = std::any_of(listeners.begin(), listeners.end(), [&](const Listener& listener) {
    return listener.observation == observation && listener.keys == &key->dependsOn;
  });
  if (!known) {
    listeners.push_back({&key->dependsOn, observation});
    RecordAccess::raise(record, RecordAccess::kObserved);
    observation->heard.push_back(&record);
    for (const auto& dependency : key->dependsOnPaths) listen(observation, record, dependency, 0);
  }
  if (step + 1 == path.size()) return;
  observation->follows = true;
  if (Record* far = farEnd(record, *key)) listen(observation, *far, path, step + 1);
}

void Observers::unhang(Observation& observation) {
  for (Record* record : observation.heard) {
    const auto found = listeners_.find(record);
    if (found == listeners_.end()) continue;
    auto& list = found->second;
    list.erase(std::remove_if(list.begin(), list.end(),
                              [&](const Listener& listener) {
                                return listener.observation.get() == &observation;
                              }),
               list.end());
    if (!list.empty()) continue;
    listeners_.erase(found);
    RecordAccess::lower(*record, RecordAccess::kObserved);
  }
  observation.heard.clear();
}

void Observers::addConcerned(const Record& record, const Key& key, Observations& found) const {
  const auto listeners = listeners_.find(&record);
  if (listeners == listeners_.end()) return;
  for (const Listener& listener : listeners->second) {
    if (!std::binary_search(listener.keys->begin(), listener.keys->end(), key.id)) continue;
    if (std::find(found.begin(), found.end(), listener.observation) == found.end())
      found.push_back(listener.observation);
  }
}

// --- Telling

void Observers::requireEnd() const {
  constexpr int kDeepest = 200;
  if (depth_ >= kDeepest) throw StoreError("observers answer changes with changes without end");
}

void Observers::tell(const Observations& told, Change::Phase phase) noexcept {
  ++holds_;
  ++depth_;
  for (const auto& observation : told) {
    if (!observation->active) continue;
    try {
      observation->observer({observation->root, &observation->keyPath, phase});
    } catch (...) {
      if (!failure_) failure_ = std::current_exception();
    }
  }
  --depth_;
  --holds_;
}

void Observers::tellEnd(const Observations& told, bool relinked) noexcept {
  // The change may have moved far ends: everyone concerned is hung over before hearing of it.
  for (const auto& observation : told) {
    if (!relinked || !observation->active || !observation->follows) continue;
    try {
      unhang(*observation);
      hang(observation);
    } catch (...) {
      if (!failure_) failure_ = std::current_exception();
    }
  }
  tell(told, Change::Phase::Did);
}

void Observers::throwKept() {
  if (holds_ == 0 && failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
}

void Observers::willChange(Record& record, const Key& key) {
  if (!areOn(record)) return;
  requireEnd();
  Observations told;
  addConcerned(record, key, told);
  brackets_.push_back({&record, key.id, told});
  tell(told, Change::Phase::Will);
}

void Observers::didChange(Record& record, const Key& key) {
  const auto bracket = std::find_if(brackets_.rbegin(), brackets_.rend(), [&](const Bracket& each) {
    return each.record == &record && each.key == key.id;
  });
  if (bracket == brackets_.rend()) return;
  const Observations told = std::move(bracket->told);
  brackets_.erase(std::next(bracket).base());
  tellEnd(told, key.property != nullptr && key.property->isToOne());
  throwKept();
}

Observers::Hold::~Hold() {
  if (--observers_.holds_ == 0) observers_.failure_ = nullptr;
}

void Observers::Hold::release() {
  if (observers_.holds_ > 1 || !observers_.failure_) return;
  std::rethrow_exception(std::exchange(observers_.failure_, nullptr));
}

// --- One change

void Announcement::addObserved(const Record& record, const Key& key) {
  observers_.addConcerned(record, key, told_);
  relinked_ = relinked_ || (key.property != nullptr && key.property->isToOne());
}

void Announcement::begin() {
  observers_.requireEnd();
  begun_ = true;
  ++observers_.holds_;
  observers_.tell(told_, Change::Phase::Will);
}

void Announcement::finish() {
  observers_.tellEnd(told_, relinked_);
  begun_ = false;
  --observers_.holds_;
  observers_.throwKept();
}

void Announcement::abandon() noexcept {
  observers_.tellEnd(told_, relinked_);
  if (--observers_.holds_ == 0) observers_.failure_ = nullptr;
}

}  // namespace bokfolio::internal

namespace bokfolio {

ObservationToken::ObservationToken(std::shared_ptr<void> registration)
    : registration_(std::move(registration)) {}

ObservationToken::~ObservationToken() = default;

void ObservationToken::end() { registration_.reset(); }

}  // namespace bokfolio
