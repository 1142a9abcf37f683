#include "bokfolio/store/numbering.hpp"

#include <algorithm>
#include <string>

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/internal/sorting.hpp"
#include "bokfolio/store/internal/store_parts.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio {

namespace {

using internal::Index;

std::uint16_t textIndexOf(const Entity& entity, std::string_view key) {
  for (const IndexLayout& layout : entity.indexes())
    if (layout.textual && layout.properties.front()->name() == key) return layout.ordinal;
  throw UndefinedKeyError(entity.name() + " has no index of texts named \"" + std::string(key) +
                          "\"");
}

void append(const Index& index, const Index::Span& span, std::vector<Record*>& records) {
  for (auto at = span.from; at != span.to; at = index.entries().next(at))
    records.push_back(index.entries()[at].record);
}

}  // namespace

std::vector<Record*> highestNumbered(Context& context, std::string_view entityName,
                                     std::string_view key) {
  const Entity& entity = context.schema().entity(entityName);
  const std::uint16_t ordinal = textIndexOf(entity, key);
  std::vector<Record*> records;
  try {
    context.parts().load(entity);
    const Index& index = context.parts().index(entity, ordinal);
    append(index, index.find({internal::kLowestCode, internal::kLowestDigitsCode - 1}), records);
    const auto digits = index.find({internal::kLowestDigitsCode, internal::kHighestCode});
    if (digits.from != digits.to) {
      const auto highest = index.entries()[index.entries().previous(digits.to)].first;
      append(index, index.find({highest, highest}), records);
    }
  } catch (const LoadError& failure) {
    context.parts().fetchFailure = failure.what();
    return {};
  }
  std::sort(records.begin(), records.end(), internal::ById{});
  return records;
}

}  // namespace bokfolio
