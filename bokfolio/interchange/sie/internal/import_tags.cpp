#include "bokfolio/interchange/sie/internal/import_tags.hpp"

#include <algorithm>
#include <optional>
#include <vector>

#include "bokfolio/interchange/sie/internal/document_records.hpp"
#include "bokfolio/model/ledger/tag.hpp"

namespace bokfolio::sie_internal {

namespace {

constexpr std::size_t kMostDigits = 9;

std::optional<std::int64_t> valueOf(std::string_view object) {
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  if (object.empty() || object.size() > kMostDigits ||
      !std::all_of(object.begin(), object.end(), isDigit))
    return std::nullopt;
  std::int64_t value = 0;
  for (const char c : object) value = value * 10 + (c - '0');
  return value;
}

}  // namespace

ImportTags::ImportTags(Context& context, SieImportReport& report)
    : context_(context), report_(report) {
  for (Tag* tag : documentRecords<Tag>(context)) {
    if (const auto number = tag->number()) byNumber_.try_emplace(*number, tag);
    if (const auto name = tag->name()) byName_.try_emplace(*name, tag);
  }
}

void ImportTags::take(const DimensionUse& dimension) {
  // Numbers first, so that no object without one takes theirs.
  std::vector<std::string_view> others;
  for (const std::string_view object : dimension.order)
    if (!takeByNumber(object, dimension.objects.at(object))) others.push_back(object);
  for (const std::string_view object : others) takeByName(object, dimension.objects.at(object));
}

Tag* ImportTags::find(std::string_view object) const {
  const auto found = byObject_.find(object);
  return found == byObject_.end() ? nullptr : found->second;
}

bool ImportTags::takeByNumber(std::string_view object, const ObjectUse& use) {
  const auto number = valueOf(object);
  if (!number || !takenNumbers_.try_emplace(*number, object).second) return false;
  const std::string name(use.name);
  const auto found = byNumber_.find(*number);
  if (found == byNumber_.end()) {
    list(make(*number, name), object, use.line, true);
    return true;
  }
  Tag* tag = found->second;
  if (!name.empty()) {
    if (!tag->name()) tag->setName(name);
    if (*tag->name() != name)
      report_.keptValues.push_back({SieKeptField::TagName, *number, *tag->name(), name, use.line});
  }
  list(tag, object, use.line, false);
  return true;
}

void ImportTags::takeByName(std::string_view object, const ObjectUse& use) {
  const std::string bare(object);
  const std::string name = use.name.empty() ? bare : bare + " " + std::string(use.name);
  for (const std::string& known : {name, bare}) {
    const auto found = byName_.find(known);
    if (found == byName_.end()) continue;
    list(found->second, object, use.line, false);
    return;
  }
  const std::int64_t next =
      byNumber_.empty() ? 1 : std::max<std::int64_t>(byNumber_.rbegin()->first, 0) + 1;
  list(make(next, name), object, use.line, true);
}

Tag* ImportTags::make(std::int64_t number, const std::string& name) {
  auto* tag = context_.insert<Tag>();
  tag->setNumber(number);
  if (!name.empty()) tag->setName(name);
  byNumber_.emplace(number, tag);
  return tag;
}

void ImportTags::list(Tag* tag, std::string_view object, std::uint32_t line, bool made) {
  byObject_.emplace(object, tag);
  report_.tags.push_back(
      {tag->number().value_or(0), tag->name().value_or(""), std::string(object), made, line});
}

}  // namespace bokfolio::sie_internal
