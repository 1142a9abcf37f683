#include "bokfolio/store/schema.hpp"

#include <algorithm>

#include "bokfolio/store/record.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio {

namespace {

std::uint32_t bytesOf(PropertyKind kind) {
  return kind == PropertyKind::Decimal ? std::uint32_t{sizeof(Decimal)} : std::uint32_t{8};
}

std::vector<std::string> splitPath(const std::string& path) {
  std::vector<std::string> parts;
  std::size_t from = 0;
  while (true) {
    const std::size_t dot = path.find('.', from);
    parts.push_back(path.substr(from, dot - from));
    if (dot == std::string::npos) return parts;
    from = dot + 1;
  }
}

}  // namespace

const Key* Entity::key(std::string_view name) const {
  const auto found = byName_.find(name);
  return found == byName_.end() ? nullptr : found->second;
}

const Property* Entity::property(std::string_view name) const {
  const Key* found = key(name);
  return found == nullptr ? nullptr : found->property;
}

std::unique_ptr<Record> Entity::make(const RecordInit& init) const {
  if (description_.make != nullptr) return description_.make(init);
  return std::make_unique<Record>(init);
}

Schema::Schema(const std::vector<EntityDescription>& entities) {
  for (const auto& description : entities) {
    Entity& entity = entities_.emplace_back();
    entity.description_ = description;
    entity.ordinal_ = static_cast<std::uint16_t>(entities_.size() - 1);
  }
  for (const Entity& entity : entities_) byName_.emplace(entity.name(), &entity);
  addHiddenInverses();
  for (Entity& entity : entities_) resolveProperties(entity);
  for (Entity& entity : entities_) {
    resolveRelationships(entity);
    resolveKeys(entity);
    resolveDependencies(entity);
    resolveIndexes(entity);
  }
  for (Entity& entity : entities_) resolveKeptSum(entity);
}

const Entity* Schema::find(std::string_view name) const {
  const auto found = byName_.find(name);
  return found == byName_.end() ? nullptr : found->second;
}

const Entity& Schema::entity(std::string_view name) const {
  const Entity* found = find(name);
  if (found == nullptr)
    throw UndefinedKeyError("the model has no entity named \"" + std::string(name) + "\"");
  return *found;
}

void Schema::addHiddenInverses() {
  std::vector<std::pair<std::uint16_t, PropertyDescription>> hidden;
  for (Entity& entity : entities_) {
    for (auto& property : entity.description_.properties) {
      if (property.kind != PropertyKind::ToOne || !property.inverse.empty()) continue;
      property.inverse = "~" + entity.name() + "." + property.name;
      PropertyDescription inverse;
      inverse.name = property.inverse;
      inverse.kind = PropertyKind::ToMany;
      inverse.target = entity.name();
      inverse.inverse = property.name;
      hidden.emplace_back(this->entity(property.target).ordinal(), std::move(inverse));
    }
  }
  for (auto& [owner, inverse] : hidden)
    entities_[owner].description_.properties.push_back(std::move(inverse));
}

void Schema::resolveProperties(Entity& entity) {
  const auto& described = entity.description_.properties;
  const auto words = static_cast<std::uint32_t>((described.size() + 63) / 64);
  std::uint32_t offset = words * 8;
  for (const auto& description : described) {
    Property& property = entity.properties_.emplace_back();
    property.description_ = &description;
    property.entity_ = &entity;
    property.ordinal_ = static_cast<std::uint16_t>(entity.properties_.size() - 1);
    entity.offsets_.push_back(offset);
    offset += bytesOf(description.kind);
  }
  entity.slotBytes_ = std::max<std::uint32_t>(offset, 8);
}

void Schema::resolveRelationships(Entity& entity) {
  for (Property& property : entity.properties_) {
    if (!property.isRelationship()) continue;
    property.target_ = &this->entity(property.description_->target);
    for (const Property& candidate : property.target_->properties_)
      if (candidate.name() == property.description_->inverse) property.inverse_ = &candidate;
  }
}

void Schema::resolveKeys(Entity& entity) {
  const auto add = [&](const std::string& name) -> Key& {
    Key& key = entity.keys_.emplace_back();
    key.name = name;
    key.id = static_cast<std::uint16_t>(entity.keys_.size() - 1);
    key.dependsOn = {key.id};
    entity.byName_.emplace(key.name, &key);
    return key;
  };
  for (Property& property : entity.properties_) {
    Key& key = add(property.name());
    key.property = &property;
    key.getter = property.description_->getter;
    key.setter = property.description_->setter;
    property.key_ = &key;
  }
  for (const auto& derived : entity.description_.derived) {
    Key& key = add(derived.name);
    key.getter = derived.getter;
    key.setter = derived.setter;
  }
}

void Schema::resolveDependencies(Entity& entity) {
  // Names that the entity lacks stay out: such a declaration is allowed and inert.
  std::vector<std::pair<std::uint16_t, std::uint16_t>> edges;
  for (const auto& dependency : entity.description_.dependencies) {
    const Key* dependent = entity.key(dependency.key);
    if (dependent == nullptr) continue;
    for (const auto& path : dependency.paths) {
      auto parts = splitPath(path);
      if (parts.size() > 1) {
        entity.keys_[dependent->id].dependsOnPaths.push_back(std::move(parts));
      } else if (const Key* on = entity.key(path)) {
        edges.emplace_back(dependent->id, on->id);
      }
    }
  }
  // Transitive closure; the model has no circles, so it ends.
  bool grew = true;
  while (grew) {
    grew = false;
    for (const auto& [dependent, on] : edges) {
      Key& key = entity.keys_[dependent];
      const Key& base = entity.keys_[on];
      for (const std::uint16_t id : base.dependsOn) {
        if (std::find(key.dependsOn.begin(), key.dependsOn.end(), id) != key.dependsOn.end())
          continue;
        key.dependsOn.push_back(id);
        grew = true;
      }
      for (const auto& path : base.dependsOnPaths) {
        auto& paths = key.dependsOnPaths;
        if (std::find(paths.begin(), paths.end(), path) != paths.end()) continue;
        paths.push_back(path);
        grew = true;
      }
    }
  }
  for (Key& key : entity.keys_) std::sort(key.dependsOn.begin(), key.dependsOn.end());
}

void Schema::resolveIndexes(Entity& entity) {
  for (const auto& description : entity.description_.indexes) {
    IndexLayout& layout = entity.indexes_.emplace_back();
    layout.ordinal = static_cast<std::uint16_t>(entity.indexes_.size() - 1);
    for (const auto& name : description.keys) {
      const Property* property = entity.property(name);
      layout.properties.push_back(property);
      layout.textual = layout.textual || property->kind() == PropertyKind::String;
      entity.properties_[property->ordinal()].indexes_.push_back(layout.ordinal);
    }
  }
}

void Schema::resolveKeptSum(Entity& entity) {
  const auto& described = entity.description_.keptSum;
  if (!described) return;
  KeptSumLayout& layout = entity.keptSum_.emplace();
  const auto take = [&layout](Entity& holder, const std::string& name) {
    Property& property = holder.properties_[holder.property(name)->ordinal()];
    property.keptSum_ = &layout;
    return static_cast<const Property*>(&property);
  };
  layout.plus = take(entity, described->plus);
  layout.minus = take(entity, described->minus);
  layout.unless = take(entity, described->unless);
  layout.unlessValue = described->unlessValue;
  layout.owner = take(entity, described->owner);
  layout.mark = take(entity, described->mark);
  layout.via = take(entity, described->via);
  Entity& far = entities_[layout.via->target().ordinal()];
  layout.period = take(far, described->period);
  layout.instant = take(far, described->instant);
}

}  // namespace bokfolio
