#include "bokfolio/plugins/plugin_model.hpp"

#include <algorithm>
#include <utility>

#include "bokfolio/plugins/internal/plugin_failure.hpp"

namespace bokfolio {

namespace {

bool isSame(const PropertyDescription& a, const PropertyDescription& b) {
  return a.name == b.name && a.kind == b.kind && a.transient == b.transient &&
         a.target == b.target && a.inverse == b.inverse;
}

bool hasDerived(const EntityDescription& entity, const std::string& key) {
  return std::any_of(entity.derived.begin(), entity.derived.end(),
                     [&key](const DerivedKeyDescription& derived) { return derived.name == key; });
}

// What of the base the extension lacks or has changed.
std::vector<std::string> losses(const Model& base, Model& extended) {
  std::vector<std::string> found;
  for (const EntityDescription& entity : base.entities()) {
    const EntityDescription* now = extended.entity(entity.name);
    if (now == nullptr) {
      found.push_back("the entity " + entity.name + " is gone");
      continue;
    }
    if (now->make != entity.make) found.push_back(entity.name + " has another class");
    for (std::size_t place = 0; place < entity.properties.size(); ++place) {
      const PropertyDescription& property = entity.properties[place];
      if (place < now->properties.size() && isSame(property, now->properties[place])) continue;
      found.push_back(entity.name + "." + property.name + " is gone, changed or moved");
    }
    for (const DerivedKeyDescription& derived : entity.derived)
      if (!hasDerived(*now, derived.name))
        found.push_back(entity.name + "." + derived.name + " is gone");
    if (entity.keptSum && !now->keptSum) found.push_back(entity.name + " keeps its sum no more");
  }
  return found;
}

std::string sentence(const std::vector<std::string>& faults) {
  std::string text;
  for (const std::string& fault : faults) text += (text.empty() ? "" : "; ") + fault;
  return text;
}

}  // namespace

bool extendModel(Model& model, const BFPluginBase& plugin, ErrorOut error) {
  try {
    Model extended = plugin.managedObjectModelWithBaseModel(model);
    std::vector<std::string> faults = losses(model, extended);
    for (std::string& fault : extended.faults()) faults.push_back(std::move(fault));
    if (!faults.empty()) {
      return internal::failPlugin(error, PluginError::ModelRefused,
                                  "The data model of the plug-in \"" + plugin.title() +
                                      "\" cannot be used: " + sentence(faults) + ".");
    }
    model = std::move(extended);
    return true;
  } catch (...) {
    return internal::failPlugin(
        error, PluginError::Failed,
        "The plug-in " + plugin.className() +
            " failed when asked for its data model: " + internal::caughtReason() + ".");
  }
}

}  // namespace bokfolio
