#include "bokfolio/store/internal/bound_path.hpp"

#include "bokfolio/store/store_error.hpp"

namespace bokfolio::internal {

namespace {

const Key& keyOf(const Entity& entity, const std::string& name) {
  const Key* key = entity.key(name);
  if (key == nullptr) throw UndefinedKeyError(entity.name() + " has no key \"" + name + "\"");
  return *key;
}

bool readsSlot(const Key& key, KeyReading reading) {
  return key.property != nullptr && (key.getter == nullptr || reading == KeyReading::Stored);
}

std::string joined(const std::vector<std::string>& keys) {
  std::string text;
  for (const std::string& key : keys) text.append(text.empty() ? "" : ".").append(key);
  return text;
}

bool hasOperator(std::string_view path) {
  constexpr std::string_view kCount = ".@count";
  const std::size_t at = path.find('@');
  if (at == std::string_view::npos) return false;
  return at == 0 || path.substr(at - 1) != kCount;
}

}  // namespace

Value readKey(StoreParts& store, const Record& record, const Key& key, KeyReading reading) {
  if (!readsSlot(key, reading)) return key.getter == nullptr ? Value() : key.getter(record);
  if (key.property->isToMany()) return RecordSet(record, *key.property);
  return readValue(*key.property, store.slots(record));
}

BoundPath::BoundPath(const Entity& entity, const predicate::KeyPath& path, KeyReading reading)
    : reading_(reading), count_(path.count) {
  resolve(entity, path.keys);
}

BoundPath::BoundPath(const Property& slot)
    : form_(Form::Slot), reading_(KeyReading::Stored), last_(&slot) {}

BoundPath::BoundPath(const Entity& entity, std::string_view path, KeyReading reading)
    : reading_(reading) {
  const Key* key = predicate::isIdentifier(path) ? entity.key(path) : nullptr;
  if (key != nullptr && readsSlot(*key, reading) && !key->property->isToMany()) {
    form_ = Form::Slot;
    last_ = key->property;
    return;
  }
  if (hasOperator(path)) {
    form_ = Form::Operators;
    keys_.emplace_back(path);
    return;
  }
  const predicate::KeyPath parsed = predicate::parseKeyPath(path);
  count_ = parsed.count;
  resolve(entity, parsed.keys);
}

// Conditions are bound anew for every question: a slot of the entity itself takes no memory.
void BoundPath::resolve(const Entity& entity, const std::vector<std::string>& keys) {
  if (keys.empty()) return;
  if (areSlots(entity, keys)) {
    form_ = count_ ? Form::Count : Form::Slot;
    return;
  }
  form_ = Form::Keys;
  keys_ = keys;
  const Entity* at = &entity;
  for (std::size_t step = 0; step < keys.size() && at != nullptr; ++step) {
    resolved_.push_back(&keyOf(*at, keys[step]));
    const Property* link = step < links_.size() ? links_[step] : nullptr;
    at = link == nullptr ? nullptr : &link->target();
  }
  links_.clear();
}

// Checks the keys as far as their entities are known, and finds out whether all of them are slots.
bool BoundPath::areSlots(const Entity& entity, const std::vector<std::string>& keys) {
  const Entity* at = &entity;
  bool slots = true;
  for (std::size_t step = 0; step < keys.size() && at != nullptr; ++step) {
    const Key& key = keyOf(*at, keys[step]);
    const bool last = step + 1 == keys.size();
    const bool counted = last && count_;
    if (key.property != nullptr &&
        ((counted && !key.property->isToMany()) || (!last && !key.property->isToOne())))
      throw PredicateError("\"" + joined(keys) + (count_ ? ".@count" : "") + "\" of " +
                           entity.name() + " goes on behind " + key.name +
                           (key.property->isToMany() ? ", a set" : ", which is no relationship"));
    slots = slots && readsSlot(key, reading_) && (counted || !key.property->isToMany());
    if (!last) links_.push_back(key.property);
    last_ = key.property;
    at = !last && key.property != nullptr ? &key.property->target() : nullptr;
  }
  return slots;
}

Value BoundPath::read(StoreParts& store, const Record& record) const {
  switch (form_) {
    case Form::Self:
      return &record;
    case Form::Slot: {
      const Record* at = follow(store, record);
      return at == nullptr ? Value() : readValue(*last_, store.slots(*at));
    }
    case Form::Count: {
      const Record* at = follow(store, record);
      return at == nullptr ? Value() : Value(store.memberCount(*at, *last_));
    }
    case Form::Keys:
      return readKeys(store, record);
    case Form::Operators:
      return record.valueForKeyPath(keys_.front());
  }
  return {};
}

Value BoundPath::readKeys(StoreParts& store, const Record& record) const {
  Value at(&record);
  for (std::size_t step = 0; step < keys_.size(); ++step) {
    if (at.isNil()) return at;
    if (at.record() == nullptr)
      throw UndefinedKeyError("\"" + joined(keys_) + "\" of " + record.entityName() +
                              " goes on behind what is no record");
    at = readKey(store, *at.record(), step);
  }
  if (!count_ || at.isNil()) return at;
  if (at.records() == nullptr)
    throw UndefinedKeyError("\"" + joined(keys_) + "\" of " + record.entityName() +
                            " is no set to be counted");
  return at.records()->count();
}

Value BoundPath::readKey(StoreParts& store, const Record& record, std::size_t step) const {
  // Derived keys lead to records of whatever entity.
  const Key* key = step < resolved_.size() ? resolved_[step] : nullptr;
  if (key == nullptr) key = &keyOf(record.entity(), keys_[step]);
  return internal::readKey(store, record, *key, reading_);
}

}  // namespace bokfolio::internal
