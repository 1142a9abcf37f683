#include "bokfolio/store/internal/index.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>

#include "bokfolio/store/internal/record_access.hpp"
#include "bokfolio/store/value.hpp"

namespace bokfolio::internal {

namespace {

constexpr std::uint64_t kSignBit = std::uint64_t{1} << 63;

IndexCode codeOfInteger(std::int64_t value) {
  return std::max(std::bit_cast<std::uint64_t>(value) ^ kSignBit, kLowestCode);
}

// The bits of a double order like the double once negative ones are turned round. NaN is lowest.
IndexCode codeOfReal(double value) {
  if (std::isnan(value)) return kLowestCode;
  const auto bits = std::bit_cast<std::uint64_t>(value == 0 ? 0.0 : value);
  return std::max((bits & kSignBit) != 0 ? ~bits : bits | kSignBit, kLowestCode);
}

// nullopt for a text that is more or other than plain digits.
std::optional<IndexCode> codeOfDigits(std::string_view text) {
  constexpr std::size_t kDigits = 18;
  if (text.empty()) return std::nullopt;
  text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
  if (text.size() > kDigits) return std::nullopt;
  IndexCode value = 0;
  for (const char digit : text) {
    if (digit < '0' || digit > '9') return std::nullopt;
    value = value * 10 + static_cast<IndexCode>(digit - '0');
  }
  return kLowestDigitsCode + value;
}

IndexCode codeOfText(std::string_view text) {
  if (const auto code = codeOfDigits(text)) return *code;
  const IndexCode hash = std::hash<std::string_view>{}(text) % kLowestDigitsCode;
  return std::max(hash, kLowestCode);
}

// Cut toward zero and held at the ends: the values of the property on the far side of the constant
// have codes at or beyond this one.
std::optional<IndexCode> codeAmongIntegers(const Value& value) {
  if (const auto integer = value.asInteger()) return codeOfInteger(*integer);
  const auto real = value.asDouble();
  if (!real || std::isnan(*real)) return std::nullopt;
  return *real < 0 ? kLowestCode : kHighestCode;
}

std::optional<IndexCode> codeAmongReals(const Value& value) {
  if (const auto decimal = value.asDecimal()) return codeOfReal(decimal->toDouble());
  if (const auto real = value.asDouble()) return codeOfReal(*real);
  return std::nullopt;
}

}  // namespace

IndexCode codeOf(const Property& property, const SlotView& slots) {
  const std::uint16_t ordinal = property.ordinal();
  if (slots.isNil(ordinal)) return kNilCode;
  switch (property.kind()) {
    case PropertyKind::Integer:
      return codeOfInteger(slots.integer(ordinal));
    case PropertyKind::Double:
      return codeOfReal(slots.real(ordinal));
    case PropertyKind::Decimal:
      return codeOfReal(slots.decimal(ordinal).toDouble());
    case PropertyKind::Date:
      return codeOfInteger(slots.date(ordinal).microseconds());
    case PropertyKind::String:
      return codeOfText(slots.text(ordinal));
    case PropertyKind::ToOne:
      return slots.reference(ordinal)->id();
    case PropertyKind::Binary:
    case PropertyKind::ToMany:
      break;
  }
  return kNilCode;
}

std::optional<IndexCode> codeOf(const Property& property, const Value& value) {
  if (value.isNil()) return kNilCode;
  switch (property.kind()) {
    case PropertyKind::Integer:
      return codeAmongIntegers(value);
    case PropertyKind::Double:
    case PropertyKind::Decimal:
      return codeAmongReals(value);
    case PropertyKind::Date:
      if (const Date* date = value.date()) return codeOfInteger(date->microseconds());
      return std::nullopt;
    case PropertyKind::String:
      if (const std::string* text = value.string()) return codeOfText(*text);
      return std::nullopt;
    case PropertyKind::ToOne:
      if (const Record* record = value.record()) return record->id();
      return std::nullopt;
    case PropertyKind::Binary:
    case PropertyKind::ToMany:
      break;
  }
  return std::nullopt;
}

std::int64_t integerOfCode(IndexCode code) { return std::bit_cast<std::int64_t>(code ^ kSignBit); }

bool isLookedUp(const Property& property) {
  switch (property.kind()) {
    case PropertyKind::Integer:
    case PropertyKind::Date:
    case PropertyKind::String:
    case PropertyKind::ToOne:
      return property.persistent();
    default:
      return false;
  }
}

bool hasExactCodes(const Property& property) {
  return property.kind() == PropertyKind::Integer || property.kind() == PropertyKind::Date;
}

Index::Span Index::find(CodeRange first, CodeRange second) const {
  if (first.low > first.high || second.low > second.high)
    return {entries_.begin(), entries_.begin()};
  const bool single = first.low == first.high;
  const auto from = entries_.partitionPoint([&](const IndexEntry& entry) {
    return entry.first < first.low ||
           (single && entry.first == first.low && entry.second < second.low);
  });
  const auto to = entries_.partitionPoint([&](const IndexEntry& entry) {
    return entry.first < first.high ||
           (entry.first == first.high && (!single || entry.second <= second.high));
  });
  return {from, to};
}

IndexEntry Index::entryOf(Record& record) const {
  const SlotView slots = RecordAccess::view(record);
  const auto& properties = layout_->properties;
  return {codeOf(*properties[0], slots), properties.size() > 1 ? codeOf(*properties[1], slots) : 0,
          &record};
}

void Index::reset(Coverage coverage) {
  for (Record* record : waiting_)
    RecordAccess::detachedIndexes(*record) &= static_cast<std::uint16_t>(~bit());
  waiting_.clear();
  entries_.clear();
  coverage_ = coverage;
}

void Index::build(const std::vector<Record*>& records) {
  reset(Coverage::All);
  std::vector<IndexEntry> entries;
  entries.reserve(records.size());
  for (Record* record : records) entries.push_back(entryOf(*record));
  std::sort(entries.begin(), entries.end(), ByIndexOrder{});
  entries_.assignSorted(entries);
}

void Index::detach(Record& record) {
  if ((RecordAccess::detachedIndexes(record) & bit()) != 0) return;
  entries_.erase(entryOf(record));
  await(record);
}

void Index::await(Record& record) {
  RecordAccess::detachedIndexes(record) |= bit();
  waiting_.push_back(&record);
}

void Index::drop(Record& record) {
  std::uint16_t& detached = RecordAccess::detachedIndexes(record);
  if ((detached & bit()) != 0) {
    // It stays among those that wait and is passed over there.
    detached &= static_cast<std::uint16_t>(~bit());
  } else {
    entries_.erase(entryOf(record));
  }
}

void Index::attachWaiting() {
  for (Record* record : waiting_) {
    std::uint16_t& detached = RecordAccess::detachedIndexes(*record);
    if ((detached & bit()) == 0) continue;
    detached &= static_cast<std::uint16_t>(~bit());
    entries_.insert(entryOf(*record));
  }
  waiting_.clear();
}

}  // namespace bokfolio::internal
