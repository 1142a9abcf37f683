// EntityTable: how a record class writes its one table.
//
//   EntityDescription Tag::table() {
//     EntityTable<Tag> table("Tag");
//     table.attribute(Slots::number, "number");
//     table.attribute(Slots::name, "name");
//     table.toMany(Slots::rows, "rows", "Row", "tag");
//     table.derived<&Tag::balance>("balance");
//     table.dependsOn("balance", {"rows"});
//     table.index({"number"});
//     return table.description();
//   }
//
// Accessors, setters and validation hooks are named as members; the table turns them into functions
// on values, so that key access runs exactly what C++ callers run.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "bokfolio/store/model.hpp"
#include "bokfolio/store/record.hpp"
#include "bokfolio/store/slot.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio {

namespace table_detail {

template <class T>
struct IsOptional : std::false_type {};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {};

// A value as the parameter type of a setter or hook; ValueKindError when the kinds do not fit.
template <class T>
T fromValue(const Value& value);

BOKFOLIO_EXPORT std::optional<std::int64_t> optionalInteger(const Value& value);
BOKFOLIO_EXPORT std::optional<double> optionalDouble(const Value& value);
BOKFOLIO_EXPORT std::optional<Decimal> optionalDecimal(const Value& value);
BOKFOLIO_EXPORT std::optional<std::string> optionalString(const Value& value);
BOKFOLIO_EXPORT std::optional<Date> optionalDate(const Value& value);
BOKFOLIO_EXPORT std::optional<Bytes> optionalBytes(const Value& value);
BOKFOLIO_EXPORT Record* optionalRecord(const Value& value);
[[noreturn]] BOKFOLIO_EXPORT void throwWrongKind(const Value& value, const char* wanted);

template <class T>
T fromValue(const Value& value) {
  using Plain = std::remove_cvref_t<T>;
  if constexpr (std::is_same_v<Plain, Value>) {
    return value;
  } else if constexpr (std::is_pointer_v<Plain>) {
    Record* record = optionalRecord(value);
    using Target = std::remove_const_t<std::remove_pointer_t<Plain>>;
    auto* typed = dynamic_cast<Target*>(record);
    if (record != nullptr && typed == nullptr) throwWrongKind(value, "a record of another entity");
    return typed;
  } else if constexpr (std::is_same_v<Plain, std::optional<std::int64_t>>) {
    return optionalInteger(value);
  } else if constexpr (std::is_same_v<Plain, std::optional<double>>) {
    return optionalDouble(value);
  } else if constexpr (std::is_same_v<Plain, std::optional<Decimal>>) {
    return optionalDecimal(value);
  } else if constexpr (std::is_same_v<Plain, std::optional<std::string>>) {
    return optionalString(value);
  } else if constexpr (std::is_same_v<Plain, std::optional<Date>>) {
    return optionalDate(value);
  } else if constexpr (std::is_same_v<Plain, std::optional<Bytes>>) {
    return optionalBytes(value);
  } else if constexpr (std::is_same_v<Plain, bool>) {
    return value.asBool();
  } else {
    const auto wanted = fromValue<std::optional<Plain>>(value);
    if (!wanted) throwWrongKind(value, "a value, not nil");
    return *wanted;
  }
}

template <class Signature>
struct MemberTraits;
template <class C, class R>
struct MemberTraits<R (C::*)() const> {
  using Class = C;
};
template <class C, class R, class A>
struct MemberTraits<R (C::*)(A)> {
  using Class = C;
  using Argument = A;
};
template <class C, class A>
struct MemberTraits<bool (C::*)(A&, ErrorOut)> {
  using Class = C;
  using Proposed = A;
};

template <auto Getter>
Value get(const Record& record) {
  using Class = typename MemberTraits<decltype(Getter)>::Class;
  return Value((static_cast<const Class&>(record).*Getter)());
}

template <auto Setter>
void set(Record& record, const Value& value) {
  using Traits = MemberTraits<decltype(Setter)>;
  (static_cast<typename Traits::Class&>(record).*
   Setter)(fromValue<std::remove_cvref_t<typename Traits::Argument>>(value));
}

template <auto Validator>
bool validate(Record& record, Value& proposed, ErrorOut error) {
  using Traits = MemberTraits<decltype(Validator)>;
  auto typed = fromValue<typename Traits::Proposed>(proposed);
  const bool accepted = (static_cast<typename Traits::Class&>(record).*Validator)(typed, error);
  proposed = Value(typed);
  return accepted;
}

template <class T>
constexpr PropertyKind kindOf() {
  if constexpr (std::is_same_v<T, std::int64_t>) return PropertyKind::Integer;
  if constexpr (std::is_same_v<T, double>) return PropertyKind::Double;
  if constexpr (std::is_same_v<T, Decimal>) return PropertyKind::Decimal;
  if constexpr (std::is_same_v<T, std::string>) return PropertyKind::String;
  if constexpr (std::is_same_v<T, Date>) return PropertyKind::Date;
  if constexpr (std::is_same_v<T, Bytes>) return PropertyKind::Binary;
}

}  // namespace table_detail

// One stored key while its table is being written; each call refines it.
class PropertyTable {
 public:
  explicit PropertyTable(PropertyDescription& property) : property_(property) {}

  PropertyTable& required() {
    property_.required = true;
    return *this;
  }
  PropertyTable& transient() {
    property_.transient = true;
    return *this;
  }
  PropertyTable& defaultValue(Value value) {
    property_.defaultValue = std::move(value);
    return *this;
  }
  PropertyTable& onDelete(DeleteRule rule) {
    property_.deleteRule = rule;
    return *this;
  }
  template <auto Getter>
  PropertyTable& readBy() {
    property_.getter = &table_detail::get<Getter>;
    return *this;
  }
  template <auto Setter>
  PropertyTable& writtenBy() {
    property_.setter = &table_detail::set<Setter>;
    return *this;
  }
  // bool Class::hook(std::optional<T>& proposed, ErrorOut), or with a record pointer, or with
  // Value&.
  template <auto Validator>
  PropertyTable& validatedBy() {
    property_.validator = &table_detail::validate<Validator>;
    return *this;
  }

 private:
  PropertyDescription& property_;
};

template <class Class>
class EntityTable {
 public:
  explicit EntityTable(std::string name) {
    entity_.name = std::move(name);
    entity_.make = [](const RecordInit& init) -> std::unique_ptr<Record> {
      return std::make_unique<Class>(init);
    };
  }

  template <class T>
  PropertyTable attribute(Slot<T> slot, std::string name) {
    return append(slot.ordinal, std::move(name), table_detail::kindOf<T>());
  }
  // A to-one relationship; `inverse` is "" when the other side has no name for it.
  template <class T>
  PropertyTable toOne(ToOneSlot<T> slot, std::string name, std::string target,
                      std::string inverse = "") {
    return relate(slot.ordinal, std::move(name), PropertyKind::ToOne, std::move(target),
                  std::move(inverse));
  }
  template <class T>
  PropertyTable toMany(ToManySlot<T> slot, std::string name, std::string target,
                       std::string inverse) {
    return relate(slot.ordinal, std::move(name), PropertyKind::ToMany, std::move(target),
                  std::move(inverse));
  }

  template <auto Getter>
  EntityTable& derived(std::string name) {
    entity_.derived.push_back({std::move(name), &table_detail::get<Getter>, nullptr});
    return *this;
  }
  template <auto Getter, auto Setter>
  EntityTable& derived(std::string name) {
    entity_.derived.push_back(
        {std::move(name), &table_detail::get<Getter>, &table_detail::set<Setter>});
    return *this;
  }
  // A key that is announced by hand and holds nothing.
  EntityTable& announced(std::string name) {
    entity_.derived.push_back({std::move(name), nullptr, nullptr});
    return *this;
  }

  // The declaration by dependent key: `key` changes whenever one of the paths does.
  EntityTable& dependsOn(std::string key, std::vector<std::string> paths) {
    entity_.dependencies.push_back({std::move(key), std::move(paths)});
    return *this;
  }
  // The older declaration, by the keys that trigger. Both behave the same.
  EntityTable& triggersChangeOf(std::vector<std::string> keys, std::string dependentKey) {
    return dependsOn(std::move(dependentKey), std::move(keys));
  }
  EntityTable& index(std::vector<std::string> keys) {
    entity_.indexes.push_back({std::move(keys)});
    return *this;
  }

  // For entities that a document may have millions of.
  EntityTable& byLookup() {
    entity_.byLookup = true;
    return *this;
  }

  EntityTable& keepSum(KeptSumDescription sum) {
    entity_.keptSum = std::move(sum);
    return *this;
  }

  EntityDescription description() { return std::move(entity_); }

 private:
  PropertyTable append(std::uint16_t ordinal, std::string name, PropertyKind kind) {
    if (ordinal != entity_.properties.size())
      throw ModelError(entity_.name + "." + name + " is not at the place of its slot");
    PropertyDescription property;
    property.name = std::move(name);
    property.kind = kind;
    entity_.properties.push_back(std::move(property));
    return PropertyTable(entity_.properties.back());
  }
  PropertyTable relate(std::uint16_t ordinal, std::string name, PropertyKind kind,
                       std::string target, std::string inverse) {
    PropertyTable table = append(ordinal, std::move(name), kind);
    entity_.properties.back().target = std::move(target);
    entity_.properties.back().inverse = std::move(inverse);
    return table;
  }

  EntityDescription entity_;
};

}  // namespace bokfolio
