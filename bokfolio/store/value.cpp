#include "bokfolio/store/value.hpp"

#include <cmath>

#include "bokfolio/store/record.hpp"

namespace bokfolio {

namespace {

template <class T>
std::strong_ordering orderOf(const T& a, const T& b) {
  if (a < b) return std::strong_ordering::less;
  if (b < a) return std::strong_ordering::greater;
  return std::strong_ordering::equal;
}

std::strong_ordering compareNumbers(const Value& a, const Value& b) {
  if (a.integer() != nullptr && b.integer() != nullptr) return *a.integer() <=> *b.integer();
  const auto left = a.asDecimal();
  const auto right = b.asDecimal();
  if (left && right) return *left <=> *right;
  // Beyond a decimal's range, infinite or not a number: the doubles decide, NaN below everything.
  const double x = a.asDouble().value_or(0);
  const double y = b.asDouble().value_or(0);
  if (std::isnan(x) || std::isnan(y)) return orderOf(!std::isnan(x), !std::isnan(y));
  return orderOf(x, y);
}

std::optional<std::int64_t> cutToInteger(double value) {
  constexpr double kLimit = 9223372036854775808.0;  // 2^63
  if (!(value >= -kLimit && value < kLimit)) return std::nullopt;
  return static_cast<std::int64_t>(value);
}

}  // namespace

Value::Value(Bytes value) : data_(std::make_shared<const Bytes>(std::move(value))) {}

Value::Value(Record* value) {
  if (value != nullptr) data_ = value;
}

// Values hand records on; whether a record may be changed is not theirs to say.
Value::Value(const Record* value) : Value(const_cast<Record*>(value)) {}  // NOLINT

bool Value::isNumber() const noexcept {
  return kind() >= ValueKind::Integer && kind() <= ValueKind::Decimal;
}

const Bytes* Value::bytes() const noexcept {
  const auto* shared = std::get_if<std::shared_ptr<const Bytes>>(&data_);
  return shared != nullptr ? shared->get() : nullptr;
}

Record* Value::record() const noexcept {
  Record* const* held = std::get_if<Record*>(&data_);
  return held != nullptr ? *held : nullptr;
}

std::optional<Decimal> Value::asDecimal() const {
  if (const auto* value = integer()) return Decimal(*value);
  if (const auto* value = decimal()) return *value;
  if (const auto* value = real()) return Decimal::fromDouble(*value);
  return std::nullopt;
}

std::optional<std::int64_t> Value::asInteger() const {
  if (const auto* value = integer()) return *value;
  if (const auto* value = decimal()) return value->toInteger();
  if (const auto* value = real()) return cutToInteger(*value);
  return std::nullopt;
}

std::optional<double> Value::asDouble() const {
  if (const auto* value = real()) return *value;
  if (const auto* value = integer()) return static_cast<double>(*value);
  if (const auto* value = decimal()) return value->toDouble();
  return std::nullopt;
}

bool Value::asBool() const {
  switch (kind()) {
    case ValueKind::Nil:
      return false;
    case ValueKind::Integer:
      return *integer() != 0;
    case ValueKind::Double:
      return *real() != 0;
    case ValueKind::Decimal:
      return !decimal()->isZero();
    default:
      return true;
  }
}

bool operator==(const Value& a, const Value& b) {
  if (a.kind() == ValueKind::RecordSet || b.kind() == ValueKind::RecordSet) {
    return a.kind() == b.kind() && *a.records() == *b.records();
  }
  if (a.isNil() || b.isNil()) return a.isNil() && b.isNil();
  const auto order = Value::compare(a, b);
  return order && *order == std::strong_ordering::equal;
}

std::optional<std::strong_ordering> Value::compare(const Value& a, const Value& b) {
  if (a.isNumber() && b.isNumber()) return compareNumbers(a, b);
  if (a.kind() != b.kind()) return std::nullopt;
  switch (a.kind()) {
    case ValueKind::String:
      return orderOf(*a.string(), *b.string());
    case ValueKind::Date:
      return *a.date() <=> *b.date();
    case ValueKind::Binary:
      return orderOf(*a.bytes(), *b.bytes());
    case ValueKind::Record:
      if (a.record() == b.record()) return std::strong_ordering::equal;
      return std::nullopt;
    default:
      return std::nullopt;
  }
}

std::strong_ordering Value::order(const Value& a, const Value& b) {
  if (const auto order = compare(a, b)) return *order;
  if (a.kind() == ValueKind::Record && b.kind() == ValueKind::Record) {
    return a.record()->id() <=> b.record()->id();
  }
  return a.kind() <=> b.kind();
}

std::string Value::description() const {
  switch (kind()) {
    case ValueKind::Nil:
      return "nil";
    case ValueKind::Integer:
      return std::to_string(*integer());
    case ValueKind::Double: {
      const auto exact = asDecimal();
      return exact ? exact->toString() : std::to_string(*real());
    }
    case ValueKind::Decimal:
      return decimal()->toString();
    case ValueKind::String:
      return *string();
    case ValueKind::Date:
      return std::to_string(date()->microseconds()) + " µs";
    case ValueKind::Binary:
      return std::to_string(bytes()->size()) + " bytes";
    case ValueKind::Record:
      return record()->description();
    case ValueKind::RecordSet:
      return std::to_string(records()->count()) + " records";
  }
  return {};
}

}  // namespace bokfolio
