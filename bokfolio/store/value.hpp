// Value: what a key can hold, for key access, predicates and persistence. nil is a value of its own
// and is neither 0 nor "".
//
// Comparison, written down once for predicates, sorting and change detection:
//   nil      equals nil and nothing else; <, <=, >, >= with nil are false
//   numbers  Integer, Double and Decimal compare by value with each other; a double takes part
//            through its shortest round-trip text
//   String   by code point, case-sensitive
//   Date     by instant
//   Binary   by bytes
//   Record   by identity
//   sets     by members
// Values of kinds that do not mix are unequal and have no order. When values are sorted, nil comes
// before everything and unmixable kinds keep the order of ValueKind.
#pragma once

#include <compare>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/bytes.hpp"
#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/store/record_set.hpp"

namespace bokfolio {

class Record;

// In the order of Value's alternatives.
enum class ValueKind : std::uint8_t {
  Nil,
  Integer,
  Double,
  Decimal,
  String,
  Date,
  Binary,
  Record,
  RecordSet,
};

class BOKFOLIO_EXPORT Value {
 public:
  Value() = default;
  Value(std::nullptr_t) {}  // NOLINT(google-explicit-constructor)
  template <std::integral Integer>
  Value(Integer value) : data_(static_cast<std::int64_t>(value)) {}  // NOLINT
  Value(double value) : data_(value) {}                              // NOLINT
  Value(const Decimal& value) : data_(value) {}                      // NOLINT
  Value(std::string value) : data_(std::move(value)) {}              // NOLINT
  Value(std::string_view value) : data_(std::string(value)) {}       // NOLINT
  Value(const char* value) : data_(std::string(value)) {}            // NOLINT
  Value(Date value) : data_(value) {}                                // NOLINT
  Value(Bytes value);                                                // NOLINT
  // nullptr is nil.
  Value(Record* value);                                // NOLINT
  Value(const Record* value);                          // NOLINT
  Value(RecordSet value) : data_(std::move(value)) {}  // NOLINT
  template <class T>
  Value(const std::optional<T>& value) {  // NOLINT
    if (value) *this = Value(*value);
  }

  ValueKind kind() const noexcept { return static_cast<ValueKind>(data_.index()); }
  bool isNil() const noexcept { return kind() == ValueKind::Nil; }
  bool isNumber() const noexcept;

  // The content, or nullptr when the value is of another kind.
  const std::int64_t* integer() const noexcept { return std::get_if<std::int64_t>(&data_); }
  const double* real() const noexcept { return std::get_if<double>(&data_); }
  const Decimal* decimal() const noexcept { return std::get_if<Decimal>(&data_); }
  const std::string* string() const noexcept { return std::get_if<std::string>(&data_); }
  const Date* date() const noexcept { return std::get_if<Date>(&data_); }
  const Bytes* bytes() const noexcept;
  Record* record() const noexcept;
  const RecordSet* records() const noexcept { return std::get_if<RecordSet>(&data_); }

  // Numbers as one another: an integer or double as a decimal (a double through its shortest text),
  // a decimal or double cut to an integer. nullopt for other kinds and for what does not fit.
  std::optional<Decimal> asDecimal() const;
  std::optional<std::int64_t> asInteger() const;
  std::optional<double> asDouble() const;
  // nil and every number equal to zero are false.
  bool asBool() const;

  friend BOKFOLIO_EXPORT bool operator==(const Value& a, const Value& b);
  // The order of two values as the table above says; nullopt where there is none.
  static std::optional<std::strong_ordering> compare(const Value& a, const Value& b);
  // The same made total, for sorting: nil first.
  static std::strong_ordering order(const Value& a, const Value& b);

  // For messages and diagnostics.
  std::string description() const;

 private:
  std::variant<std::monostate, std::int64_t, double, Decimal, std::string, Date,
               std::shared_ptr<const Bytes>, Record*, RecordSet>
      data_;
};

}  // namespace bokfolio
