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

bool hasSameRules(const PropertyDescription& a, const PropertyDescription& b) {
  return a.required == b.required && a.defaultValue == b.defaultValue &&
         a.deleteRule == b.deleteRule && a.getter == b.getter && a.setter == b.setter &&
         a.validator == b.validator;
}

bool isSame(const KeptSumDescription& a, const KeptSumDescription& b) {
  return a.plus == b.plus && a.minus == b.minus && a.unless == b.unless &&
         a.unlessValue == b.unlessValue && a.owner == b.owner && a.mark == b.mark &&
         a.via == b.via && a.period == b.period && a.instant == b.instant;
}

using Faults = std::vector<std::string>;

void compareKeys(const EntityDescription& base, const EntityDescription& now, Faults& found) {
  for (std::size_t place = 0; place < base.properties.size(); ++place) {
    const PropertyDescription& property = base.properties[place];
    const std::string name = base.name + "." + property.name;
    if (place >= now.properties.size() || !isSame(property, now.properties[place])) {
      found.push_back(name + " is gone, changed or moved");
    } else if (!hasSameRules(property, now.properties[place])) {
      found.push_back(name + " has other rules");
    }
  }
  for (const DerivedKeyDescription& derived : base.derived) {
    const auto kept = std::find_if(now.derived.begin(), now.derived.end(),
                                   [&](const auto& each) { return each.name == derived.name; });
    if (kept == now.derived.end()) {
      found.push_back(base.name + "." + derived.name + " is gone");
    } else if (kept->getter != derived.getter || kept->setter != derived.setter) {
      found.push_back(base.name + "." + derived.name + " has other rules");
    }
  }
}

// Keys may depend on more than before, not on less.
void compareDependencies(const EntityDescription& base, const EntityDescription& now,
                         Faults& found) {
  for (const DependencyDescription& dependency : base.dependencies) {
    for (const std::string& path : dependency.paths) {
      const bool isKept = std::any_of(
          now.dependencies.begin(), now.dependencies.end(), [&](const DependencyDescription& each) {
            return each.key == dependency.key &&
                   std::count(each.paths.begin(), each.paths.end(), path) != 0;
          });
      if (!isKept)
        found.push_back(base.name + "." + dependency.key + " depends on " + path + " no more");
    }
  }
}

// What of the base the extension lacks or has changed.
Faults losses(const Model& base, Model& extended) {
  Faults found;
  for (const EntityDescription& entity : base.entities()) {
    const EntityDescription* now = extended.entity(entity.name);
    if (now == nullptr) {
      found.push_back("the entity " + entity.name + " is gone");
      continue;
    }
    if (now->make != entity.make) found.push_back(entity.name + " has another class");
    compareKeys(entity, *now, found);
    compareDependencies(entity, *now, found);
    if (!entity.keptSum) continue;
    if (!now->keptSum)
      found.push_back(entity.name + " keeps its sum no more");
    else if (!isSame(*entity.keptSum, *now->keptSum))
      found.push_back(entity.name + " keeps another sum");
  }
  return found;
}

std::string sentence(const Faults& faults) {
  std::string text;
  for (const std::string& fault : faults) text += (text.empty() ? "" : "; ") + fault;
  return text;
}

}  // namespace

bool extendModel(Model& model, const BFPluginBase& plugin, ErrorOut error) {
  try {
    Model extended = plugin.managedObjectModelWithBaseModel(model);
    Faults faults = losses(model, extended);
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
