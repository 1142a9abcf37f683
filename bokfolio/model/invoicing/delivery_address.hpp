// DeliveryAddress: where an invoice's goods go, when that is not where the invoice goes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/attributed_text.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

class BOKFOLIO_EXPORT DeliveryAddress : public Record {
 public:
  static constexpr std::string_view kEntityName = "DeliveryAddress";
  struct Slots {
    static constexpr Slot<std::string> name{0};
    static constexpr Slot<std::string> company{1};
    static constexpr Slot<std::string> street{2};
    static constexpr Slot<std::string> zipcode{3};
    static constexpr Slot<std::string> city{4};
    static constexpr Slot<std::string> county{5};
    static constexpr Slot<std::string> country{6};
  };
  static EntityDescription table();

  using Record::Record;

  std::optional<std::string> name() const { return get(Slots::name); }
  void setName(const std::optional<std::string>& name) { set(Slots::name, name); }
  std::optional<std::string> company() const { return get(Slots::company); }
  void setCompany(const std::optional<std::string>& company) { set(Slots::company, company); }
  std::optional<std::string> street() const { return get(Slots::street); }
  void setStreet(const std::optional<std::string>& street) { set(Slots::street, street); }
  std::optional<std::string> zipcode() const { return get(Slots::zipcode); }
  void setZipcode(const std::optional<std::string>& zipcode) { set(Slots::zipcode, zipcode); }
  std::optional<std::string> city() const { return get(Slots::city); }
  void setCity(const std::optional<std::string>& city) { set(Slots::city, city); }
  std::optional<std::string> county() const { return get(Slots::county); }
  void setCounty(const std::optional<std::string>& county) { set(Slots::county, county); }
  // A code.
  std::optional<std::string> country() const { return get(Slots::country); }
  void setCountry(const std::optional<std::string>& country) { set(Slots::country, country); }

  // The address as a block of lines: company, name, then the postal lines in the order of its
  // country (formatPostalAddress), with the country's name last when wanted. Company and name take
  // the attributes of the first postal character. Throws std::out_of_range when there are no postal
  // lines.
  AttributedText formattedAddressWithCountryIncluded(bool countryIncluded) const;
};

}  // namespace bokfolio
