// The helpers that every record has: relationships set from numbers and names, copied keys, merged
// and collected validation errors.
#include "bokfolio/platform/environment.hpp"
#include "bokfolio/store/context.hpp"
#include "bokfolio/store/internal/store_parts.hpp"
#include "bokfolio/store/record.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio {

namespace {

constexpr int kMissingMandatoryProperty = 1570;
constexpr int kMultipleErrors = 1560;
constexpr int kMergedErrors = 1550;

bool isLetter(char letter, char first, char last) { return letter >= first && letter <= last; }

// "account" gives "Account": the keys used this way are single words in ASCII.
std::string capitalised(std::string_view key) {
  constexpr char kCase = 'a' - 'A';
  std::string name(key);
  for (char& letter : name) {
    const bool first = &letter == name.data();
    if (first && isLetter(letter, 'a', 'z')) letter = static_cast<char>(letter - kCase);
    if (!first && isLetter(letter, 'A', 'Z')) letter = static_cast<char>(letter + kCase);
  }
  return name;
}

// The leading integer of a text after blanks; 0 without digits, the nearest bound beyond 64 bits.
std::int64_t integerValue(const std::string& text) {
  std::size_t at = text.find_first_not_of(" \t\r\n");
  if (at == std::string::npos) return 0;
  const bool negative = text[at] == '-';
  if (negative || text[at] == '+') ++at;
  Decimal value;
  const Decimal bound = Decimal(INT64_MAX);
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9' && value < bound; ++at)
    value = value * 10 + Decimal(text[at] - '0');
  const std::int64_t magnitude = value > bound ? INT64_MAX : value.toInteger().value_or(INT64_MAX);
  return negative ? -magnitude : magnitude;
}

Record* firstMatch(Context& context, std::string_view entity, const Predicate& predicate,
                   std::ptrdiff_t limit) {
  const auto found = context.fetchEntitiesWithName(entity, predicate, std::nullopt, limit);
  return found && !found->empty() ? found->front() : nullptr;
}

void storeRelated(Record& record, const Value& related, std::string_view key) {
  record.willChangeValueForKey(key);
  try {
    record.setPrimitiveValueForKey(related, key);
  } catch (...) {
    record.didChangeValueForKey(key);
    throw;
  }
  record.didChangeValueForKey(key);
}

bool validateStored(Record& record, const Property& property, Value& proposed, ErrorOut error) {
  if (property.validator() != nullptr && !property.validator()(record, proposed, error))
    return false;
  if (!property.required() || !proposed.isNil()) return true;
  if (error != nullptr) {
    *error = Error(kStoreErrorDomain, kMissingMandatoryProperty,
                   record.environment().text("A required value is missing: %@", {property.name()}));
    (*error)->with(kValidationKeyErrorKey, property.name());
  }
  return false;
}

}  // namespace

void Record::setObject(const Value& value, std::string_view key) {
  if (value.string() == nullptr && !value.isNumber()) {
    storeRelated(*this, value, key);
    return;
  }
  storeRelated(*this,
               firstMatch(*context_, capitalised(key), Predicate("number == %@", {value}), 1), key);
}

void Record::setNumberedObject(const Value& value, std::string_view key) {
  setObject(value.string() != nullptr ? Value(integerValue(*value.string())) : value, key);
}

void Record::setNamedObject(const Value& value, std::string_view key) {
  setNamedObject(value, key, key);
}

void Record::setNamedObject(const Value& value, std::string_view type, std::string_view key) {
  if (value.string() == nullptr) {
    storeRelated(*this, value, key);
    return;
  }
  storeRelated(*this,
               firstMatch(*context_, capitalised(type), Predicate("name LIKE[c] %@", {value}), -1),
               key);
}

void Record::copyKeys(const std::vector<std::string>& keys, Record& target) const {
  for (const std::string& key : keys) {
    if (entity_->key(key) == nullptr || target.entity().key(key) == nullptr) continue;
    target.setValueForKey(valueForKey(key), key);
  }
}

std::optional<Error> Record::mergeValidationError(const std::optional<Error>& error,
                                                  std::vector<Error>* list,
                                                  const Environment& environment) {
  if (list == nullptr) return std::nullopt;
  if (error) {
    const auto& details = error->detailedErrors();
    if (details.empty()) {
      list->push_back(*error);
    } else {
      list->insert(list->end(), details.begin(), details.end());
    }
  }
  if (list->empty()) return std::nullopt;
  if (list->size() == 1) return list->front();
  environment.log().write("Merging validation errors.");
  std::string description;
  for (const Error& each : *list) {
    if (&each != &list->front()) description += '\n';
    description += each.localizedDescription();
  }
  return Error(kStoreErrorDomain, kMergedErrors, std::move(description));
}

bool Record::validateValue(Value& proposed, std::string_view name, ErrorOut error) {
  const Property* property = entity_->property(name);
  if (property == nullptr) {
    if (entity_->key(name) != nullptr) return true;
    throw UndefinedKeyError(entityName() + " has no key named \"" + std::string(name) + "\"");
  }
  return validateStored(*this, *property, proposed, error);
}

bool Record::setValidated(std::string_view key, Value value, ErrorOut error) {
  if (!validateValue(value, key, error)) return false;
  setValueForKey(value, key);
  return true;
}

bool Record::validateForUpdate(ErrorOut error) {
  StoreParts& store = context_->parts();
  store.slots(*this);
  std::vector<Error> failures;
  bool valid = true;
  for (const Property& property : entity_->properties()) {
    if (property.validator() == nullptr && !property.required()) continue;
    const Value stored = property.isToMany() ? Value(RecordSet(*this, property))
                                             : internal::readValue(property, store.slots(*this));
    Value proposed = stored;
    std::optional<Error> failure;
    if (!validateStored(*this, property, proposed, error != nullptr ? &failure : nullptr)) {
      valid = false;
      if (failure) failures.push_back(std::move(*failure));
    } else if (!property.isToMany() && !(proposed == stored)) {
      store.journal.writeValue(*this, property, proposed, internal::WriteMode::Announced);
    }
  }
  if (error == nullptr || failures.empty()) return valid;
  if (failures.size() == 1) {
    *error = std::move(failures.front());
  } else {
    *error = Error(kStoreErrorDomain, kMultipleErrors,
                   environment().text("Several values of %@ are not valid.", {description()}));
    (*error)->with(kDetailedErrorsKey, std::move(failures));
  }
  return valid;
}

}  // namespace bokfolio
