// Schema: a frozen model, resolved once so that nothing is looked up by name in a loop: every
// stored key has its place in a record's slots, every key its identity for observation, every
// relationship its inverse. It never changes and is shared by contexts.
//
// A to-one relationship without a named inverse is given a hidden one (its name begins with '~'),
// so that deletion, queries and predicates work from both sides for every relationship.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/store/model.hpp"

namespace bokfolio {

class Entity;
class Property;

// A key of an entity as observers know it: stored, derived or only announced.
struct Key {
  std::string name;
  std::uint16_t id = 0;                // position in Entity::keys()
  const Property* property = nullptr;  // stored keys only
  KeyGetter getter = nullptr;          // an accessor of its own, or what derives the key
  KeySetter setter = nullptr;
  // This key and every key of the same record that it depends on, however indirectly.
  std::vector<std::uint16_t> dependsOn;
  // Dependencies of those keys that cross a relationship, each as its key names.
  std::vector<std::vector<std::string>> dependsOnPaths;

  // True when reading the key means more than reading a slot.
  bool hasAccessor() const { return getter != nullptr; }
};

struct KeptSumLayout;

class BOKFOLIO_EXPORT Property {
 public:
  const std::string& name() const { return description_->name; }
  PropertyKind kind() const { return description_->kind; }
  bool isRelationship() const { return kind() >= PropertyKind::ToOne; }
  bool isToOne() const { return kind() == PropertyKind::ToOne; }
  bool isToMany() const { return kind() == PropertyKind::ToMany; }
  bool required() const { return description_->required; }
  bool transient() const { return description_->transient; }
  // Written to the document: everything but transient keys and the many sides.
  bool persistent() const { return !transient() && !isToMany(); }
  const Value& defaultValue() const { return description_->defaultValue; }
  DeleteRule deleteRule() const { return description_->deleteRule; }
  KeyValidator validator() const { return description_->validator; }

  const Entity& entity() const { return *entity_; }
  // Relationships only.
  const Entity& target() const { return *target_; }
  const Property& inverse() const { return *inverse_; }

  std::uint16_t ordinal() const { return ordinal_; }
  const Key& key() const { return *key_; }
  // Ordinals in Entity::indexes() of the indexes that this property takes part in.
  const std::vector<std::uint16_t>& indexes() const { return indexes_; }
  // The kept sum that changes with this property, of its own entity's records or of those that
  // lead to them; nullptr for most.
  const KeptSumLayout* keptSum() const { return keptSum_; }

 private:
  friend class Entity;
  friend class Schema;

  const PropertyDescription* description_ = nullptr;
  const Entity* entity_ = nullptr;
  const Entity* target_ = nullptr;
  const Property* inverse_ = nullptr;
  const Key* key_ = nullptr;
  const KeptSumLayout* keptSum_ = nullptr;
  std::uint16_t ordinal_ = 0;
  std::vector<std::uint16_t> indexes_;
};

// KeptSumDescription, resolved.
struct KeptSumLayout {
  const Property* plus = nullptr;
  const Property* minus = nullptr;
  const Property* unless = nullptr;
  std::int64_t unlessValue = 0;
  const Property* owner = nullptr;
  const Property* mark = nullptr;
  const Property* via = nullptr;
  const Property* period = nullptr;
  const Property* instant = nullptr;
};

// Over one or two properties; a text property stands alone and answers equality only.
struct IndexLayout {
  std::uint16_t ordinal = 0;
  std::vector<const Property*> properties;
  bool textual = false;
};

class BOKFOLIO_EXPORT Entity {
 public:
  const std::string& name() const { return description_.name; }
  std::uint16_t ordinal() const { return ordinal_; }
  const std::deque<Property>& properties() const { return properties_; }
  const Property& property(std::uint16_t ordinal) const { return properties_[ordinal]; }
  const std::deque<Key>& keys() const { return keys_; }
  const std::vector<IndexLayout>& indexes() const { return indexes_; }
  // nullptr when the entity has none.
  const KeptSumLayout* keptSum() const { return keptSum_ ? &*keptSum_ : nullptr; }

  // nullptr when the entity has no such key or stored property.
  const Key* key(std::string_view name) const;
  const Property* property(std::string_view name) const;

  bool byLookup() const { return description_.byLookup; }

  // A record's slots in memory: one bit a property that says "not nil", then the values.
  std::uint32_t slotBytes() const { return slotBytes_; }
  std::uint32_t offset(std::uint16_t ordinal) const { return offsets_[ordinal]; }
  std::unique_ptr<Record> make(const RecordInit& init) const;

 private:
  friend class Schema;

  EntityDescription description_;
  std::uint16_t ordinal_ = 0;
  std::uint32_t slotBytes_ = 0;
  std::vector<std::uint32_t> offsets_;
  std::deque<Property> properties_;
  std::deque<Key> keys_;
  std::unordered_map<std::string_view, const Key*> byName_;
  std::vector<IndexLayout> indexes_;
  std::optional<KeptSumLayout> keptSum_;
};

class BOKFOLIO_EXPORT Schema {
 public:
  explicit Schema(const std::vector<EntityDescription>& entities);
  Schema(const Schema&) = delete;
  Schema& operator=(const Schema&) = delete;

  const std::deque<Entity>& entities() const { return entities_; }
  // nullptr when there is none.
  const Entity* find(std::string_view name) const;
  // Throws UndefinedKeyError when there is none.
  const Entity& entity(std::string_view name) const;

 private:
  void addHiddenInverses();
  void resolveProperties(Entity& entity);
  void resolveRelationships(Entity& entity);
  void resolveKeys(Entity& entity);
  void resolveDependencies(Entity& entity);
  void resolveIndexes(Entity& entity);
  void resolveKeptSum(Entity& entity);

  std::deque<Entity> entities_;
  std::unordered_map<std::string_view, const Entity*> byName_;
};

}  // namespace bokfolio
