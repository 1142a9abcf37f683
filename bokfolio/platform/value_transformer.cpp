#include "bokfolio/platform/value_transformer.hpp"

#include <map>
#include <mutex>
#include <utility>

namespace bokfolio {

namespace {

struct Registry {
  std::mutex mutex;
  std::map<std::string, std::shared_ptr<const ValueTransformer>, std::less<>> byName;
};

Registry& registry() {
  static Registry theProcess;
  return theProcess;
}

}  // namespace

void ValueTransformer::setValueTransformer(std::shared_ptr<const ValueTransformer> transformer,
                                           std::string name) {
  // Whatever its end sets off finds the registry unlocked.
  std::shared_ptr<const ValueTransformer> replaced;
  Registry& known = registry();
  const std::lock_guard lock(known.mutex);
  const auto place = known.byName.try_emplace(std::move(name)).first;
  replaced = std::exchange(place->second, std::move(transformer));
  if (place->second == nullptr) known.byName.erase(place);
}

std::shared_ptr<const ValueTransformer> ValueTransformer::valueTransformerForName(
    std::string_view name) {
  Registry& known = registry();
  const std::lock_guard lock(known.mutex);
  const auto found = known.byName.find(name);
  return found == known.byName.end() ? nullptr : found->second;
}

std::vector<std::string> ValueTransformer::valueTransformerNames() {
  Registry& known = registry();
  const std::lock_guard lock(known.mutex);
  std::vector<std::string> names;
  for (const auto& [name, transformer] : known.byName) names.push_back(name);
  return names;
}

ValueTransformer::~ValueTransformer() = default;

std::optional<std::string> ValueTransformer::reverseTransformedValue(
    const std::optional<std::string>& value) const {
  return transformedValue(value);
}

bool ValueTransformer::allowsReverseTransformation() const { return true; }

const std::type_info& ValueTransformer::transformedValueClass() const {
  return typeid(std::string);
}

}  // namespace bokfolio
