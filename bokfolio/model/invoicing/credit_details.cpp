#include "bokfolio/model/invoicing/credit_details.hpp"

namespace bokfolio {

EntityDescription CreditDetails::table() {
  EntityTable<CreditDetails> table{std::string(kEntityName)};
  table.attribute(Slots::language, "language");
  table.attribute(Slots::creditDetails, "creditDetails");
  table.index({"language"});
  return table.description();
}

}  // namespace bokfolio
