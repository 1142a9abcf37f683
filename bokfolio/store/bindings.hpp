// Two conveniences for hosts that bind controls to keys: the selection of a list of records, and
// a table column that takes any key. They hold no rules of their own.
#pragma once

#include <string_view>
#include <utility>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/store/value.hpp"

namespace bokfolio {

class Record;

// Which records of a list are selected, in the list's order.
class BOKFOLIO_EXPORT ArrayController {
 public:
  const std::vector<Record*>& selectedObjects() const { return selectedObjects_; }
  void setSelectedObjects(std::vector<Record*> records) { selectedObjects_ = std::move(records); }
  // The first selected record, nullptr when nothing is selected.
  Record* singleSelectedObject() const;

 private:
  std::vector<Record*> selectedObjects_;
};

// A column of a table. A binding that names a key which the column lacks does no harm: what is
// written is ignored, and reading answers a text that shows in the table that something is wrong.
class BOKFOLIO_EXPORT TableColumn {
 public:
  void setValueForUndefinedKey(const Value& value, std::string_view key);
  Value valueForUndefinedKey(std::string_view key) const;
};

}  // namespace bokfolio
