#include "bokfolio/store/record.hpp"

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/internal/store_parts.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio {

using internal::SlotWriter;
using internal::WriteMode;

namespace {

const Key& keyOf(const Record& record, std::string_view name) {
  const Key* key = record.entity().key(name);
  if (key == nullptr)
    throw UndefinedKeyError(record.entityName() + " has no key named \"" + std::string(name) +
                            "\"");
  return *key;
}

const Property& propertyOf(const Record& record, std::string_view name) {
  const Key& key = keyOf(record, name);
  if (key.property == nullptr)
    throw UndefinedKeyError(record.entityName() + "." + std::string(name) + " is not stored");
  return *key.property;
}

WriteMode modeOf(bool announce) { return announce ? WriteMode::Announced : WriteMode::Primitive; }

template <class Same, class Assign>
void writeSlot(Record& record, std::uint16_t ordinal, bool isNil, bool announce, Same same,
               Assign assign) {
  StoreParts& store = record.managedObjectContext().parts();
  const Property& property = record.entity().property(ordinal);
  const SlotView slots = store.slots(record);
  const bool unchanged =
      slots.isNil(ordinal) == isNil && (isNil || same(slots)) && RecordAccess::isLive(record);
  if (unchanged) {
    store.journal.announceOnly(record, property, modeOf(announce));
    return;
  }
  store.journal.write(record, property, modeOf(announce), [&](SlotWriter writer) {
    if (isNil) {
      writer.setNil(ordinal);
    } else {
      assign(writer);
    }
  });
}

}  // namespace

Record::Record(const RecordInit& init)
    : context_(init.context), entity_(init.entity), id_(init.id) {}

Record::~Record() = default;

const Environment& Record::environment() const { return context_->environment(); }

const std::string& Record::entityName() const { return entity_->name(); }

std::string Record::description() const { return entityName() + " " + std::to_string(id_); }

// --- Key access

Value Record::valueForKey(std::string_view name) const {
  const Key& key = keyOf(*this, name);
  if (key.getter != nullptr) {
    context_->parts().slots(*this);
    return key.getter(*this);
  }
  return key.property == nullptr ? Value() : primitiveValueForKey(name);
}

void Record::setValueForKey(const Value& value, std::string_view name) {
  const Key& key = keyOf(*this, name);
  StoreParts& store = context_->parts();
  store.slots(*this);
  if (key.setter != nullptr) {
    key.setter(*this, value);
  } else if (key.property != nullptr) {
    store.journal.writeValue(*this, *key.property, value, WriteMode::Announced);
  } else {
    throw UndefinedKeyError(entityName() + "." + key.name + " cannot be set");
  }
}

Value Record::primitiveValueForKey(std::string_view name) const {
  const Property& property = propertyOf(*this, name);
  const SlotView slots = context_->parts().slots(*this);
  if (property.isToMany()) return RecordSet(*this, property);
  return internal::readValue(property, slots);
}

void Record::setPrimitiveValueForKey(const Value& value, std::string_view name) {
  context_->parts().journal.writeValue(*this, propertyOf(*this, name), value, WriteMode::Primitive);
}

void Record::willChangeValueForKey(std::string_view name) {
  StoreParts& store = context_->parts();
  store.slots(*this);
  const Key* key = entity_->key(name);
  if (key == nullptr) return;
  if (key->property != nullptr) store.journal.openBracket(*this, *key);
  store.observers.willChange(*this, *key);
}

void Record::didChangeValueForKey(std::string_view name) {
  StoreParts& store = context_->parts();
  const Key* key = entity_->key(name);
  if (key == nullptr) return;
  if (key->property != nullptr) store.journal.closeBracket(*this, *key);
  store.observers.didChange(*this, *key);
}

void Record::willAccessValueForKey(std::string_view) const { context_->parts().slots(*this); }

void Record::didAccessValueForKey(std::string_view) const {}

// --- Typed slots

namespace {

template <class T, class Read>
std::optional<T> readSlot(const Record& record, std::uint16_t ordinal, Read read) {
  const SlotView slots = record.managedObjectContext().parts().slots(record);
  if (slots.isNil(ordinal)) return std::nullopt;
  return T(read(slots));
}

}  // namespace

std::optional<std::int64_t> Record::readInteger(std::uint16_t ordinal) const {
  return readSlot<std::int64_t>(*this, ordinal, [&](SlotView s) { return s.integer(ordinal); });
}

std::optional<double> Record::readDouble(std::uint16_t ordinal) const {
  return readSlot<double>(*this, ordinal, [&](SlotView s) { return s.real(ordinal); });
}

std::optional<Decimal> Record::readDecimal(std::uint16_t ordinal) const {
  return readSlot<Decimal>(*this, ordinal, [&](SlotView s) { return s.decimal(ordinal); });
}

std::optional<std::string> Record::readString(std::uint16_t ordinal) const {
  return readSlot<std::string>(*this, ordinal, [&](SlotView s) { return s.text(ordinal); });
}

std::optional<Date> Record::readDate(std::uint16_t ordinal) const {
  return readSlot<Date>(*this, ordinal, [&](SlotView s) { return s.date(ordinal); });
}

std::optional<Bytes> Record::readBytes(std::uint16_t ordinal) const {
  const SlotView slots = context_->parts().slots(*this);
  if (slots.isNil(ordinal)) return std::nullopt;
  const std::string_view blob = slots.blob(ordinal);
  return Bytes(blob.begin(), blob.end());
}

Record* Record::readReference(std::uint16_t ordinal) const {
  const SlotView slots = context_->parts().slots(*this);
  return slots.isNil(ordinal) ? nullptr : slots.reference(ordinal);
}

RecordSet Record::readMany(std::uint16_t ordinal) const {
  context_->parts().slots(*this);
  return RecordSet(*this, entity_->property(ordinal));
}

void Record::writeInteger(std::uint16_t ordinal, std::optional<std::int64_t> value, bool announce) {
  writeSlot(
      *this, ordinal, !value, announce, [&](SlotView s) { return s.integer(ordinal) == *value; },
      [&](SlotWriter w) { w.setInteger(ordinal, *value); });
}

void Record::writeDouble(std::uint16_t ordinal, std::optional<double> value, bool announce) {
  writeSlot(
      *this, ordinal, !value, announce, [&](SlotView s) { return s.real(ordinal) == *value; },
      [&](SlotWriter w) { w.setReal(ordinal, *value); });
}

void Record::writeDecimal(std::uint16_t ordinal, const std::optional<Decimal>& value,
                          bool announce) {
  writeSlot(
      *this, ordinal, !value, announce, [&](SlotView s) { return s.decimal(ordinal) == *value; },
      [&](SlotWriter w) { w.setDecimal(ordinal, *value); });
}

void Record::writeString(std::uint16_t ordinal, const std::optional<std::string>& value,
                         bool announce) {
  writeSlot(
      *this, ordinal, !value, announce, [&](SlotView s) { return s.text(ordinal) == *value; },
      [&](SlotWriter w) { w.setText(ordinal, *value); });
}

void Record::writeDate(std::uint16_t ordinal, std::optional<Date> value, bool announce) {
  writeSlot(
      *this, ordinal, !value, announce, [&](SlotView s) { return s.date(ordinal) == *value; },
      [&](SlotWriter w) { w.setDate(ordinal, *value); });
}

void Record::writeBytes(std::uint16_t ordinal, const std::optional<Bytes>& value, bool announce) {
  const auto characters = [&]() {
    return std::string_view(reinterpret_cast<const char*>(value->data()), value->size());
  };
  writeSlot(
      *this, ordinal, !value, announce, [&](SlotView s) { return s.blob(ordinal) == characters(); },
      [&](SlotWriter w) { w.setText(ordinal, characters()); });
}

void Record::writeReference(std::uint16_t ordinal, Record* value, bool announce) {
  context_->parts().journal.setReference(*this, entity_->property(ordinal), value,
                                         modeOf(announce));
}

}  // namespace bokfolio
