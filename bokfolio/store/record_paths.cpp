// Key paths: following keys across relationships, and the operators that apply to sets.
#include <algorithm>

#include "bokfolio/store/record.hpp"
#include "bokfolio/store/schema.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio {

namespace {

constexpr std::string_view kSum = "@sum";
constexpr std::string_view kCount = "@count";
constexpr std::string_view kDistinctUnionOfSets = "@distinctUnionOfSets";

std::pair<std::string_view, std::string_view> splitFirst(std::string_view path) {
  const std::size_t dot = path.find('.');
  if (dot == std::string_view::npos) return {path, {}};
  return {path.substr(0, dot), path.substr(dot + 1)};
}

Value valueOf(const Value& from, std::string_view path);

Value sumOf(const RecordSet& records, std::string_view path) {
  if (path.find('.') == std::string_view::npos) return records.sum(path);
  Decimal sum;
  for (const Record* record : records.snapshot())
    if (const auto each = record->valueForKeyPath(path).asDecimal()) sum += *each;
  return sum;
}

Value unionOf(const RecordSet& records, std::string_view path) {
  const auto [key, rest] = splitFirst(path);
  const RecordSet all = records.distinctUnion(key);
  return rest.empty() ? Value(all) : valueOf(all, rest);
}

Value valueOfSet(const RecordSet& records, std::string_view path) {
  const auto [key, rest] = splitFirst(path);
  if (key == kCount && rest.empty()) return records.count();
  if (key == kSum && !rest.empty()) return sumOf(records, rest);
  if (key == kDistinctUnionOfSets && !rest.empty()) return unionOf(records, rest);
  throw UndefinedKeyError("\"" + std::string(path) + "\" cannot be asked of a set of records");
}

Value valueOf(const Value& from, std::string_view path) {
  if (path.empty() || from.isNil()) return from;
  if (const auto* records = from.records()) return valueOfSet(*records, path);
  if (const Record* record = from.record()) {
    const auto [key, rest] = splitFirst(path);
    return valueOf(record->valueForKey(key), rest);
  }
  throw UndefinedKeyError("\"" + std::string(path) + "\" cannot be asked of " + from.description());
}

}  // namespace

Value Record::valueForKeyPath(std::string_view path) const { return valueOf(Value(this), path); }

}  // namespace bokfolio
