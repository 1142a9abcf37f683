#include "bokfolio/store/bindings.hpp"

namespace bokfolio {

Record* ArrayController::singleSelectedObject() const {
  return selectedObjects_.empty() ? nullptr : selectedObjects_.front();
}

void TableColumn::setValueForUndefinedKey(const Value&, std::string_view) {}

Value TableColumn::valueForUndefinedKey(std::string_view) const { return "Urk"; }

}  // namespace bokfolio
