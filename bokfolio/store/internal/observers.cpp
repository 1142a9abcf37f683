#include "bokfolio/store/internal/observers.hpp"

#include <algorithm>

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/internal/store_parts.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio::internal {

struct Observation {
  Record* root;
  std::string keyPath;
  Observer observer;
  bool active = true;
  bool follows = false;              // its path or a dependency crosses a relationship
  std::vector<const Record*> heard;  // records that hold listeners of this observation
};

namespace {

// What a token holds: ending it takes the listeners away, if the context is still there.
struct Registration {
  std::weak_ptr<Observers*> owner;
  std::shared_ptr<Observation> observation;
  std::function<void(Observers&, Observation&)> unhang;

  Registration(std::weak_ptr<Observers*> observers, std::shared_ptr<Observation> observed,
               std::function<void(Observers&, Observation&)> removal)
      : owner(std::move(observers)), observation(std::move(observed)), unhang(std::move(removal)) {}
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;
  ~Registration() {
    observation->active = false;
    if (const auto observers = owner.lock()) unhang(**observers, *observation);
  }
};

std::vector<std::string> splitPath(std::string_view path) {
  std::vector<std::string> parts;
  while (true) {
    const std::size_t dot = path.find('.');
    parts.emplace_back(path.substr(0, dot));
    if (dot == std::string_view::npos) return parts;
    path.remove_prefix(dot + 1);
  }
}

Record* farEnd(const Record& record, const Key& link) {
  if (link.property == nullptr || !link.property->isToOne()) return nullptr;
  const SlotView slots = record.managedObjectContext().parts().slots(record);
  const std::uint16_t ordinal = link.property->ordinal();
  return slots.isNil(ordinal) ? nullptr : slots.reference(ordinal);
}

void tell(const std::vector<std::shared_ptr<Observation>>& observations, Change::Phase phase) {
  for (const auto& observation : observations)
    if (observation->active)
      observation->observer({observation->root, &observation->keyPath, phase});
}

}  // namespace

Observers::~Observers() = default;

ObservationToken Observers::observe(Record& record, std::string_view keyPath, Observer observer) {
  if (!self_) self_ = std::make_shared<Observers*>(this);
  auto observation = std::make_shared<Observation>();
  observation->root = &record;
  observation->keyPath = keyPath;
  observation->observer = std::move(observer);
  if (record.entity().key(splitPath(keyPath).front()) == nullptr)
    throw UndefinedKeyError(record.entityName() + " has no key named \"" +
                            splitPath(keyPath).front() + "\"");
  hang(observation);
  return ObservationToken(std::make_shared<Registration>(
      self_, observation,
      [](Observers& observers, Observation& ended) { observers.unhang(ended); }));
}

void Observers::hang(const std::shared_ptr<Observation>& observation) {
  listen(observation, *observation->root, splitPath(observation->keyPath), 0);
}

// Listens to step `step` of the path on this record, and to what follows on the record behind it.
void Observers::listen(const std::shared_ptr<Observation>& observation, const Record& record,
                       const std::vector<std::string>& path, std::size_t step) {
  const Key* key = record.entity().key(path[step]);
  if (key == nullptr) return;
  const bool last = step + 1 == path.size();
  listeners_[&record].push_back({key->dependsOn, observation});
  observation->heard.push_back(&record);
  for (const auto& dependency : key->dependsOnPaths) listen(observation, record, dependency, 0);
  if (last) return;
  observation->follows = true;
  if (const Record* far = farEnd(record, *key)) listen(observation, *far, path, step + 1);
}

void Observers::unhang(Observation& observation) {
  for (const Record* record : observation.heard) {
    const auto found = listeners_.find(record);
    if (found == listeners_.end()) continue;
    auto& list = found->second;
    list.erase(std::remove_if(list.begin(), list.end(),
                              [&](const Listener& listener) {
                                return listener.observation.get() == &observation;
                              }),
               list.end());
    if (list.empty()) listeners_.erase(found);
  }
  observation.heard.clear();
}

std::vector<std::shared_ptr<Observation>> Observers::concerned(const Record& record,
                                                               const Key& key) const {
  std::vector<std::shared_ptr<Observation>> found;
  const auto listeners = listeners_.find(&record);
  if (listeners == listeners_.end()) return found;
  for (const Listener& listener : listeners->second) {
    if (!std::binary_search(listener.keys.begin(), listener.keys.end(), key.id)) continue;
    if (std::find(found.begin(), found.end(), listener.observation) == found.end())
      found.push_back(listener.observation);
  }
  return found;
}

void Observers::willChange(const Record& record, const Key& key) {
  announced_.push_back({&record, key.id, concerned(record, key)});
  const auto told = announced_.back().told;
  tell(told, Change::Phase::Will);
}

void Observers::didChange(const Record& record, const Key& key) {
  const auto announced = std::find_if(
      announced_.rbegin(), announced_.rend(),
      [&](const Announced& each) { return each.record == &record && each.key == key.id; });
  if (announced == announced_.rend()) return;
  const auto told = std::move(announced->told);
  announced_.erase(std::next(announced).base());
  // The change may have moved far ends: everyone concerned is hung over before hearing of it.
  if (key.property != nullptr && key.property->isToOne()) {
    for (const auto& observation : told) {
      if (!observation->active || !observation->follows) continue;
      unhang(*observation);
      hang(observation);
    }
  }
  tell(told, Change::Phase::Did);
}

}  // namespace bokfolio::internal

namespace bokfolio {

ObservationToken::ObservationToken(std::shared_ptr<void> registration)
    : registration_(std::move(registration)) {}

ObservationToken::~ObservationToken() = default;

void ObservationToken::end() { registration_.reset(); }

}  // namespace bokfolio
