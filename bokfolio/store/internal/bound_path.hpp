// BoundPath: a key path resolved for an entity, so that reading it looks nothing up by name. Most
// paths are slots: to-one links and a stored value, read from memory. Paths that touch an accessor
// or a derived key are walked key by key.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/store/internal/predicate/node.hpp"
#include "bokfolio/store/internal/store_parts.hpp"
#include "bokfolio/store/schema.hpp"
#include "bokfolio/store/value.hpp"

namespace bokfolio::internal {

// How a stored key that has an accessor of its own is read. A derived key always means its
// accessor.
enum class KeyReading : std::uint8_t { Stored, ThroughAccessors };

class BoundPath {
 public:
  // Throws UndefinedKeyError for a key that the entities on the way lack, PredicateError for a path
  // that goes on behind a value or a set.
  BoundPath(const Entity& entity, const predicate::KeyPath& path, KeyReading reading);
  // A slot of the entity itself, as it is stored.
  explicit BoundPath(const Property& slot);
  // A key path as text; set operators are allowed in it.
  BoundPath(const Entity& entity, std::string_view path, KeyReading reading);

  // A slot at the end of to-one links; last() is the property. Reading it runs no foreign code.
  bool isSlot() const { return form_ == Form::Slot; }
  // The number of members of the to-many last().
  bool isCount() const { return form_ == Form::Count; }
  // Whether reading runs nobody's accessor.
  bool isPure() const { return form_ != Form::Keys && form_ != Form::Operators; }
  const std::vector<const Property*>& links() const { return links_; }
  const Property& last() const { return *last_; }

  // The record at the end of the links; nullptr where one is nil.
  const Record* follow(StoreParts& store, const Record& record) const {
    const Record* at = &record;
    for (const Property* link : links_) {
      const SlotView slots = store.slots(*at);
      if (slots.isNil(link->ordinal())) return nullptr;
      at = slots.reference(link->ordinal());
    }
    return at;
  }
  // nil where a link is nil.
  Value read(StoreParts& store, const Record& record) const;

 private:
  enum class Form : std::uint8_t { Self, Slot, Count, Keys, Operators };

  void resolve(const Entity& entity, const std::vector<std::string>& keys);
  bool areSlots(const Entity& entity, const std::vector<std::string>& keys);
  Value readKeys(StoreParts& store, const Record& record) const;
  Value readKey(StoreParts& store, const Record& record, std::size_t step) const;

  Form form_ = Form::Self;
  KeyReading reading_;
  bool count_ = false;
  std::vector<const Property*> links_;
  const Property* last_ = nullptr;
  std::vector<std::string> keys_;     // Keys; Operators: the whole path
  std::vector<const Key*> resolved_;  // Keys: as far as the entities are known beforehand
};

// A stored or derived key of one record.
Value readKey(StoreParts& store, const Record& record, const Key& key, KeyReading reading);

}  // namespace bokfolio::internal
