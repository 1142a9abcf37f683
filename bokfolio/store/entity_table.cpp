#include "bokfolio/store/entity_table.hpp"

namespace bokfolio::table_detail {

void throwWrongKind(const Value& value, const char* wanted) {
  throw ValueKindError(std::string("wanted ") + wanted + ", got " + value.description());
}

std::optional<std::int64_t> optionalInteger(const Value& value) {
  if (value.isNil()) return std::nullopt;
  const auto number = value.asInteger();
  if (!number) throwWrongKind(value, "an integer");
  return number;
}

std::optional<double> optionalDouble(const Value& value) {
  if (value.isNil()) return std::nullopt;
  const auto number = value.asDouble();
  if (!number) throwWrongKind(value, "a number");
  return number;
}

std::optional<Decimal> optionalDecimal(const Value& value) {
  if (value.isNil()) return std::nullopt;
  const auto number = value.asDecimal();
  if (!number) throwWrongKind(value, "a decimal number");
  return number;
}

std::optional<std::string> optionalString(const Value& value) {
  if (value.isNil()) return std::nullopt;
  if (value.string() == nullptr) throwWrongKind(value, "a text");
  return *value.string();
}

std::optional<Date> optionalDate(const Value& value) {
  if (value.isNil()) return std::nullopt;
  if (value.date() == nullptr) throwWrongKind(value, "a date");
  return *value.date();
}

std::optional<Bytes> optionalBytes(const Value& value) {
  if (value.isNil()) return std::nullopt;
  if (value.bytes() == nullptr) throwWrongKind(value, "bytes");
  return *value.bytes();
}

Record* optionalRecord(const Value& value) {
  if (!value.isNil() && value.record() == nullptr) throwWrongKind(value, "a record");
  return value.record();
}

}  // namespace bokfolio::table_detail
