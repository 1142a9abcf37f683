// Tags of an import: the objects of one dimension, matched with the document's tags or made.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "bokfolio/interchange/sie/internal/import_objects.hpp"
#include "bokfolio/interchange/sie/sie_import_report.hpp"

namespace bokfolio {
class Context;
class Tag;
}  // namespace bokfolio

namespace bokfolio::sie_internal {

class ImportTags {
 public:
  // Reads the document's tags. Throws Failure when the engine does not answer.
  ImportTags(Context& context, SieImportReport& report);

  // Makes or matches a tag for each object of the dimension.
  void take(const DimensionUse& dimension);
  // The tag of an object of that dimension.
  Tag* find(std::string_view object) const;

 private:
  bool takeByNumber(std::string_view object, const ObjectUse& use);
  void takeByName(std::string_view object, const ObjectUse& use);
  Tag* make(std::int64_t number, const std::string& name);
  void list(Tag* tag, std::string_view object, std::uint32_t line, bool made);

  Context& context_;
  SieImportReport& report_;
  std::map<std::int64_t, Tag*> byNumber_;
  std::map<std::string, Tag*> byName_;
  std::map<std::int64_t, std::string_view> takenNumbers_;  // by objects of the file
  std::map<std::string_view, Tag*> byObject_;
};

}  // namespace bokfolio::sie_internal
