// Model: the editable description of a document's entities. Each entity is described once, in one
// table beside its class (store/entity_table.hpp helps to write it); storage, key access,
// predicates, persistence, observation and plug-ins all read that table. A plug-in receives a Model
// as a value, may add entities and attributes, and returns it. Freezing checks the whole and gives
// the Schema that a context works with.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/error.hpp"
#include "bokfolio/store/value.hpp"

namespace bokfolio {

class Record;
class Schema;
struct RecordInit;

enum class PropertyKind : std::uint8_t {
  Integer,  // also booleans
  Double,
  Decimal,
  String,
  Date,
  Binary,
  ToOne,
  ToMany,
};

// What happens to the partners when a record is deleted.
enum class DeleteRule : std::uint8_t {
  Nullify,  // their side of the relationship is cleared
  Cascade,  // they are deleted too
  Deny,     // while there are any, they stay linked and the deletion does not pass a save
};

using KeyGetter = Value (*)(const Record&);
using KeySetter = void (*)(Record&, const Value&);
// The hook may replace the proposed value. false refuses it; the error is filled when wanted.
using KeyValidator = bool (*)(Record&, Value& proposed, ErrorOut error);

struct PropertyDescription {
  std::string name;
  PropertyKind kind = PropertyKind::String;
  bool required = false;   // nil does not pass the validation of a save
  bool transient = false;  // in memory only: neither saved, nor tracked, nor undone
  Value defaultValue;      // of a freshly inserted record
  std::string target;      // relationships: the entity on the other side
  std::string inverse;     // its relationship back; "" on a to-one without a named inverse
  DeleteRule deleteRule = DeleteRule::Nullify;
  KeyGetter getter = nullptr;  // an accessor with a rule of its own
  KeySetter setter = nullptr;
  KeyValidator validator = nullptr;
};

// A key that is computed, or only announced (then without a getter: it reads as nil).
struct DerivedKeyDescription {
  std::string name;
  KeyGetter getter = nullptr;
  KeySetter setter = nullptr;
};

// `key` changes whenever one of `paths` changes: keys of the same record, or dotted paths across
// to-one relationships. Names that no entity has are allowed and inert.
struct DependencyDescription {
  std::string key;
  std::vector<std::string> paths;
};

// An ordered index over one or two attributes or to-one relationships, the second ordering within
// the first. A text attribute may only stand alone and is indexed for equality.
struct IndexDescription {
  std::vector<std::string> keys;
};

// A sum over the entity's records that the store keeps up to date with every change, so that asking
// for it (Context::keptSum) costs the same in any book. It is exact and rounds once, when read.
struct KeptSumDescription {
  std::string plus;  // what is summed: `plus` less `minus`, decimals; nil counts as zero
  std::string minus;
  std::string unless;  // an integer; a record that has `unlessValue` there counts nothing
  std::int64_t unlessValue = 0;
  std::string owner;  // to-ones of the record itself
  std::string mark;
  std::string via;  // leads to the record that has the period (a to-one) and the instant
  std::string period;
  std::string instant;
};

struct EntityDescription {
  std::string name;
  std::vector<PropertyDescription> properties;
  std::vector<DerivedKeyDescription> derived;
  std::vector<DependencyDescription> dependencies;
  std::vector<IndexDescription> indexes;
  std::optional<KeptSumDescription> keptSum;
  // Records come into memory one by one, when they are looked up; without it all of them at once,
  // when the first is wanted.
  bool byLookup = false;
  // Makes a record of the entity's class; nullptr makes a plain Record.
  std::unique_ptr<Record> (*make)(const RecordInit&) = nullptr;

  PropertyDescription* property(std::string_view key);
};

class BOKFOLIO_EXPORT Model {
 public:
  // Adds an entity. A name that is taken is a fault, reported when the model is frozen.
  Model& add(EntityDescription entity);
  // For extending: the entity with that name, or nullptr.
  EntityDescription* entity(std::string_view name);
  const std::vector<EntityDescription>& entities() const { return entities_; }

  // Every fault at once: names taken twice, missing or wrong inverses, targets and index keys that
  // do not exist, defaults that their key cannot hold, dependencies that run in a circle within an
  // entity.
  std::vector<std::string> faults() const;
  // Throws ModelError, listing all faults, when there are any.
  std::shared_ptr<const Schema> freeze() const;

 private:
  std::vector<EntityDescription> entities_;
};

}  // namespace bokfolio
