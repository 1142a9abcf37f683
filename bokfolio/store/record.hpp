// Record: one record of a document. Classes derive from it, name their slots and add their rules; a
// plain Record serves entities that have no class of their own, such as a plug-in's.
//
// A record belongs to its context, is identified by entity and id, is never copied, and its pointer
// stays valid until the context ends. A record whose deletion was saved, or whose insertion was
// rolled back or undone, is an empty shell: using it throws RecordGoneError.
//
// What is not in memory yet is read when it is first touched: values, sets and sums throw LoadError
// when the engine cannot deliver them then.
//
// Three ways to a value:
//   typed accessors of the class      the class's rule, in C++
//   valueForKey / setValueForKey      the same accessors, by name
//   primitiveValueForKey / set...     the stored value itself, no accessor, no announcement
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/bytes.hpp"
#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/platform/error.hpp"
#include "bokfolio/store/record_set.hpp"
#include "bokfolio/store/slot.hpp"
#include "bokfolio/store/value.hpp"

namespace bokfolio {

class Context;
class Entity;
class Environment;
class Property;
struct StoreParts;

// Ascending in order of creation within an entity; never used twice in a document. 0 is no record.
using RecordId = std::uint64_t;

// What a context hands to the constructor of a record class: `using Record::Record;` is enough.
struct RecordInit {
  Context* context = nullptr;
  const Entity* entity = nullptr;
  RecordId id = 0;
};

class BOKFOLIO_EXPORT Record {
 public:
  explicit Record(const RecordInit& init);
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;
  virtual ~Record();

  Context& managedObjectContext() const { return *context_; }
  const Environment& environment() const;
  const Entity& entity() const { return *entity_; }
  const std::string& entityName() const;
  RecordId id() const { return id_; }

  // Inserted or deleted since the last save. Updated: a stored value was written since then.
  bool isInserted() const { return (state_ & kInserted) != 0; }
  bool isDeleted() const { return (state_ & kDeleted) != 0; }
  bool isUpdated() const { return (state_ & kUpdated) != 0; }
  // True for a shell: nothing but id() and entityName() may be asked of it.
  bool isGone() const { return (state_ & kGone) != 0; }

  // Key access through the class's accessors. Throws UndefinedKeyError for a key that the entity
  // lacks, ValueKindError for a value that the key cannot hold. A to-many key reads as a RecordSet;
  // written, it takes a RecordSet and makes exactly those records its members.
  Value valueForKey(std::string_view key) const;
  void setValueForKey(const Value& value, std::string_view key);
  // "entry.date", "rows.@sum.net", "rows.@count", "entries.@distinctUnionOfSets.rows". A nil on the
  // way reads as nil. Operators apply to sets; @sum is a decimal and zero for an empty set.
  Value valueForKeyPath(std::string_view path) const;

  // The stored value, past every accessor. Writing announces nothing, and undo restores it only
  // when it stands between willChangeValueForKey and didChangeValueForKey of its key, or when the
  // key is one end of a one-to-one relationship.
  Value primitiveValueForKey(std::string_view key) const;
  void setPrimitiveValueForKey(const Value& value, std::string_view key);

  // Brackets around a primitive access: observers of the key, and of keys that depend on it, are
  // told before and after; when the key is a relationship, those of its far side by the write.
  // Keys that the entity does not know are ignored.
  void willChangeValueForKey(std::string_view key);
  void didChangeValueForKey(std::string_view key);
  void willAccessValueForKey(std::string_view key) const;
  void didAccessValueForKey(std::string_view key) const;

  // Runs the key's hook on a proposed value, which the hook may replace. A required key refuses
  // nil.
  bool validateValue(Value& proposed, std::string_view key, ErrorOut error = nullptr);
  // Runs the hook and writes what it left through setValueForKey; false, and nothing written, when
  // it refused. Hosts edit through this.
  bool setValidated(std::string_view key, Value value, ErrorOut error = nullptr);
  // Validates every stored key and collects the failures: one failure is passed on as it is,
  // several become one error in the store's domain, code 1560, with the list under
  // kDetailedErrorsKey. A value that a hook replaced is stored. Overrides call this first.
  virtual bool validateForUpdate(ErrorOut error = nullptr);

  // Runs once, right after insertion and model defaults. It may fetch and insert; when it throws,
  // the record is gone again.
  virtual void awakeFromInsert() {}
  // One line for messages; classes say something better than entity and id.
  virtual std::string description() const;

  // Sets the to-one relationship `key` from a record or nil, or from a number or text that is
  // looked up in the entity named by the capitalised key with "number == %@"; no match clears it,
  // ValueKindError for other kinds. The value is stored between will- and did-change; the class's
  // own setter is not called again.
  void setObject(const Value& value, std::string_view key);
  // The same; a text is first read as an integer (leading digits; without digits 0).
  void setNumberedObject(const Value& value, std::string_view key);
  // Sets `key` from a record or nil, or from a name looked up with "name LIKE[c] %@" in the entity
  // named by the capitalised `type` (by default the key): '*' and '?' in the name are wildcards.
  void setNamedObject(const Value& value, std::string_view key);
  void setNamedObject(const Value& value, std::string_view type, std::string_view key);
  // Sets each key on the target to this record's value, in order; keys that either side lacks are
  // passed over. Relationships are copied by reference.
  void copyKeys(const std::vector<std::string>& keys, Record& target) const;
  // One error that stands for all: appends what `error` holds to `list`, then answers nil for an
  // empty or absent list, the single error, or one of code 1550 in the store's domain whose
  // description joins all descriptions with line breaks. An absent list answers nil whatever the
  // error.
  static std::optional<Error> mergeValidationError(const std::optional<Error>& error,
                                                   std::vector<Error>* list,
                                                   const Environment& environment);

  // --- For record classes
  // The stored value; no accessor. nullopt is nil.
  template <class T>
  std::optional<T> get(Slot<T> slot) const;
  template <class T>
  T* get(ToOneSlot<T> slot) const {
    return static_cast<T*>(readReference(slot.ordinal));
  }
  template <class T>
  RecordSetOf<T> get(ToManySlot<T> slot) const {
    return RecordSetOf<T>(readMany(slot.ordinal));
  }
  // Writes and announces. The one way in which a class changes its state.
  template <class T>
  void set(Slot<T> slot, const std::type_identity_t<std::optional<T>>& value);
  template <class T>
  void set(ToOneSlot<T> slot, std::type_identity_t<T>* value) {
    writeReference(slot.ordinal, value, true);
  }
  // Writes without announcing: defaults in awakeFromInsert.
  template <class T>
  void setPrimitive(Slot<T> slot, const std::type_identity_t<std::optional<T>>& value);

 private:
  friend struct StoreParts;
  friend struct RecordAccess;

  enum State : std::uint16_t {
    kInserted = 1 << 0,
    kUpdated = 1 << 1,
    kDeleted = 1 << 2,
    kGone = 1 << 3,
    kRetracted = 1 << 4,  // its insertion was undone; redo may bring it back
    kBornHere = 1 << 5,   // inserted through this context: its far sets were never elsewhere
    kKept = 1 << 6,       // tracking keeps its saved values
    kNew = 1 << 7,        // inserted in the open undo group
    kLeaving = 1 << 8,    // its deletion is under way
    kObserved = 1 << 9,   // somebody listens
  };

  std::optional<std::int64_t> readInteger(std::uint16_t ordinal) const;
  std::optional<double> readDouble(std::uint16_t ordinal) const;
  std::optional<Decimal> readDecimal(std::uint16_t ordinal) const;
  std::optional<std::string> readString(std::uint16_t ordinal) const;
  std::optional<Date> readDate(std::uint16_t ordinal) const;
  std::optional<Bytes> readBytes(std::uint16_t ordinal) const;
  Record* readReference(std::uint16_t ordinal) const;
  RecordSet readMany(std::uint16_t ordinal) const;

  void writeInteger(std::uint16_t ordinal, std::optional<std::int64_t> value, bool announce);
  void writeDouble(std::uint16_t ordinal, std::optional<double> value, bool announce);
  void writeDecimal(std::uint16_t ordinal, const std::optional<Decimal>& value, bool announce);
  void writeString(std::uint16_t ordinal, const std::optional<std::string>& value, bool announce);
  void writeDate(std::uint16_t ordinal, std::optional<Date> value, bool announce);
  void writeBytes(std::uint16_t ordinal, const std::optional<Bytes>& value, bool announce);
  void writeReference(std::uint16_t ordinal, Record* value, bool announce);

  template <class T>
  void write(std::uint16_t ordinal, const std::optional<T>& value, bool announce);

  Context* context_;
  const Entity* entity_;
  std::byte* slots_ = nullptr;  // nullptr: not read from the document yet, or a shell
  RecordId id_;
  std::uint32_t version_ = 0;  // of the saved state; 0 before the first save
  std::uint16_t state_ = 0;
  std::uint16_t detachedIndexes_ = 0;  // one bit an index that waits to take the record in again
};

template <class T>
std::optional<T> Record::get(Slot<T> slot) const {
  if constexpr (std::is_same_v<T, std::int64_t>) return readInteger(slot.ordinal);
  if constexpr (std::is_same_v<T, double>) return readDouble(slot.ordinal);
  if constexpr (std::is_same_v<T, Decimal>) return readDecimal(slot.ordinal);
  if constexpr (std::is_same_v<T, std::string>) return readString(slot.ordinal);
  if constexpr (std::is_same_v<T, Date>) return readDate(slot.ordinal);
  if constexpr (std::is_same_v<T, Bytes>) return readBytes(slot.ordinal);
}

template <class T>
void Record::write(std::uint16_t ordinal, const std::optional<T>& value, bool announce) {
  if constexpr (std::is_same_v<T, std::int64_t>) writeInteger(ordinal, value, announce);
  if constexpr (std::is_same_v<T, double>) writeDouble(ordinal, value, announce);
  if constexpr (std::is_same_v<T, Decimal>) writeDecimal(ordinal, value, announce);
  if constexpr (std::is_same_v<T, std::string>) writeString(ordinal, value, announce);
  if constexpr (std::is_same_v<T, Date>) writeDate(ordinal, value, announce);
  if constexpr (std::is_same_v<T, Bytes>) writeBytes(ordinal, value, announce);
}

template <class T>
void Record::set(Slot<T> slot, const std::type_identity_t<std::optional<T>>& value) {
  write<T>(slot.ordinal, value, true);
}

template <class T>
void Record::setPrimitive(Slot<T> slot, const std::type_identity_t<std::optional<T>>& value) {
  write<T>(slot.ordinal, value, false);
}

}  // namespace bokfolio
