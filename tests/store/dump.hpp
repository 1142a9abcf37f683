// A document as text, for tests that ask whether anything has changed.
#pragma once

#include <map>
#include <string>

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/schema.hpp"

namespace bokfolio::test {

// Everything that a document holds, as text by record.
using Dump = std::map<std::string, std::string>;

inline std::string textOf(const Value& value) {
  if (const Record* record = value.record())
    return record->entityName() + std::to_string(record->id());
  return value.isNil() ? "nil" : value.description();
}

inline Dump dump(Context& context) {
  Dump all;
  for (const Entity& entity : context.schema().entities()) {
    const auto records = context.fetchEntitiesWithName(entity.name());
    for (const Record* record : *records) {
      std::string& text = all[entity.name() + std::to_string(record->id())];
      for (const Property& property : entity.properties()) {
        if (property.transient()) continue;
        text += property.name() + '=';
        const Value value = record->primitiveValueForKey(property.name());
        if (const auto* members = value.records()) {
          for (const Record* member : members->snapshot()) text += textOf(member) + ',';
        } else {
          text += textOf(value);
        }
        text += ';';
      }
    }
  }
  return all;
}

}  // namespace bokfolio::test
