#include "bokfolio/store/model.hpp"

#include <algorithm>
#include <set>
#include <unordered_map>

#include "bokfolio/store/schema.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio {

namespace {

constexpr std::size_t kMaximumIndexes = 15;  // a record keeps a bit for each, and for its sum
constexpr std::size_t kMaximumProperties = 1024;

using EntitiesByName = std::unordered_map<std::string_view, const EntityDescription*>;

const PropertyDescription* propertyOf(const EntityDescription& entity, std::string_view key) {
  for (const auto& property : entity.properties)
    if (property.name == key) return &property;
  return nullptr;
}

bool isRelationship(const PropertyDescription& property) {
  return property.kind == PropertyKind::ToOne || property.kind == PropertyKind::ToMany;
}

bool holdsDefault(const PropertyDescription& property) {
  const Value& value = property.defaultValue;
  if (value.isNil()) return true;
  switch (property.kind) {
    case PropertyKind::Integer:
      return value.asInteger().has_value();
    case PropertyKind::Double:
      return value.asDouble().has_value();
    case PropertyKind::Decimal:
      return value.asDecimal().has_value();
    case PropertyKind::String:
      return value.string() != nullptr;
    case PropertyKind::Date:
      return value.date() != nullptr;
    case PropertyKind::Binary:
      return value.bytes() != nullptr;
    case PropertyKind::ToOne:
    case PropertyKind::ToMany:
      return false;
  }
  return false;
}

// Finds every fault of one entity and words each as "Entity.key: what is wrong".
class EntityInspection {
 public:
  EntityInspection(const EntityDescription& entity, const EntitiesByName& all,
                   std::vector<std::string>& faults)
      : entity_(entity), all_(all), faults_(faults) {}

  void run() {
    inspectNames();
    for (const auto& property : entity_.properties) {
      if (isRelationship(property)) inspectRelationship(property);
      if (!holdsDefault(property)) report(property.name, "cannot hold its default");
    }
    for (const auto& index : entity_.indexes) inspectIndex(index);
    if (entity_.keptSum) inspectKeptSum(*entity_.keptSum);
    if (entity_.indexes.size() > kMaximumIndexes) report("", "too many indexes");
    if (entity_.properties.size() > kMaximumProperties) report("", "too many properties");
    inspectCircles();
  }

 private:
  void report(std::string_view key, std::string_view fault) {
    std::string where = entity_.name;
    if (!key.empty()) where.append(".").append(key);
    faults_.push_back(where.append(": ").append(fault));
  }

  void inspectNames() {
    std::set<std::string_view> names;
    const auto add = [&](std::string_view name) {
      if (name.empty()) report("", "a key without a name");
      if (!names.insert(name).second) report(name, "is declared twice");
    };
    for (const auto& property : entity_.properties) add(property.name);
    for (const auto& key : entity_.derived) add(key.name);
  }

  void inspectRelationship(const PropertyDescription& property) {
    const auto target = all_.find(property.target);
    if (target == all_.end()) {
      report(property.name, "leads to an unknown entity " + property.target);
      return;
    }
    if (property.transient) report(property.name, "a relationship cannot be transient");
    if (property.inverse.empty()) {
      if (property.kind == PropertyKind::ToMany) report(property.name, "has no inverse");
      return;
    }
    const auto* inverse = propertyOf(*target->second, property.inverse);
    if (inverse == nullptr || !isRelationship(*inverse)) {
      report(property.name, "its inverse " + property.inverse + " does not exist");
    } else if (inverse->target != entity_.name || inverse->inverse != property.name) {
      report(property.name, "its inverse does not point back");
    } else if (property.kind == PropertyKind::ToMany && inverse->kind == PropertyKind::ToMany) {
      report(property.name, "both sides are to-many");
    }
  }

  void inspectIndex(const IndexDescription& index) {
    if (index.keys.empty() || index.keys.size() > 2) report("", "an index has one or two keys");
    for (const auto& key : index.keys) {
      const auto* property = propertyOf(entity_, key);
      if (property == nullptr) {
        report(key, "is indexed but not stored");
      } else if (property->kind == PropertyKind::ToMany || property->kind == PropertyKind::Binary) {
        report(key, "is of a kind that has no index");
      } else if (property->kind == PropertyKind::String && index.keys.size() != 1) {
        report(key, "a text is indexed alone");
      }
    }
  }

  void inspectKeptSum(const KeptSumDescription& sum) {
    inspectSummed(entity_, sum.plus, PropertyKind::Decimal);
    inspectSummed(entity_, sum.minus, PropertyKind::Decimal);
    inspectSummed(entity_, sum.unless, PropertyKind::Integer);
    for (const auto& link : {sum.owner, sum.mark, sum.via})
      inspectSummed(entity_, link, PropertyKind::ToOne);
    const auto* via = propertyOf(entity_, sum.via);
    const auto target = via == nullptr ? all_.end() : all_.find(via->target);
    if (target == all_.end()) return;
    inspectSummed(*target->second, sum.period, PropertyKind::ToOne);
    inspectSummed(*target->second, sum.instant, PropertyKind::Date);
  }

  void inspectSummed(const EntityDescription& entity, const std::string& key, PropertyKind kind) {
    const auto* property = propertyOf(entity, key);
    if (property == nullptr || property->kind != kind)
      report(key, "is not there, or not of the kind that a kept sum needs");
  }

  void inspectCircles() {
    std::set<std::string> done;
    for (const auto& dependency : entity_.dependencies) {
      std::vector<std::string> path;
      visit(dependency.key, path, done);
    }
  }

  void visit(const std::string& key, std::vector<std::string>& path, std::set<std::string>& done) {
    if (std::find(path.begin(), path.end(), key) != path.end()) {
      if (done.insert(key).second) report(key, "depends on itself");
      return;
    }
    if (done.count(key) != 0) return;
    path.push_back(key);
    for (const auto& dependency : entity_.dependencies) {
      if (dependency.key != key) continue;
      for (const auto& on : dependency.paths)
        if (on.find('.') == std::string::npos) visit(on, path, done);
    }
    path.pop_back();
    done.insert(key);
  }

  const EntityDescription& entity_;
  const EntitiesByName& all_;
  std::vector<std::string>& faults_;
};

}  // namespace

PropertyDescription* EntityDescription::property(std::string_view key) {
  for (auto& candidate : properties)
    if (candidate.name == key) return &candidate;
  return nullptr;
}

Model& Model::add(EntityDescription entity) {
  entities_.push_back(std::move(entity));
  return *this;
}

EntityDescription* Model::entity(std::string_view name) {
  for (auto& entity : entities_)
    if (entity.name == name) return &entity;
  return nullptr;
}

std::vector<std::string> Model::faults() const {
  std::vector<std::string> faults;
  EntitiesByName byName;
  for (const auto& entity : entities_) {
    if (entity.name.empty()) faults.emplace_back("an entity without a name");
    if (!byName.emplace(entity.name, &entity).second)
      faults.push_back(entity.name + ": is declared twice");
  }
  for (const auto& entity : entities_) EntityInspection(entity, byName, faults).run();
  return faults;
}

std::shared_ptr<const Schema> Model::freeze() const {
  const auto found = faults();
  if (!found.empty()) {
    std::string message = "the model has faults:";
    for (const auto& fault : found) message.append("\n  ").append(fault);
    throw ModelError(message);
  }
  return std::make_shared<const Schema>(entities_);
}

}  // namespace bokfolio
