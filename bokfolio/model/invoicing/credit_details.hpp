// CreditDetails: the text of the credit terms in one language. An invoice that is not sent yet
// shows the text of its language; sending freezes it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

class BOKFOLIO_EXPORT CreditDetails : public Record {
 public:
  static constexpr std::string_view kEntityName = "CreditDetails";
  struct Slots {
    static constexpr Slot<std::string> language{0};
    static constexpr Slot<std::string> creditDetails{1};
  };
  static EntityDescription table();

  using Record::Record;

  // Language code.
  std::optional<std::string> language() const { return get(Slots::language); }
  void setLanguage(const std::optional<std::string>& language) { set(Slots::language, language); }
  std::optional<std::string> creditDetails() const { return get(Slots::creditDetails); }
  void setCreditDetails(const std::optional<std::string>& creditDetails) {
    set(Slots::creditDetails, creditDetails);
  }
};

}  // namespace bokfolio
