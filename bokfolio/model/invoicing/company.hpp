// Company: the bookkeeping company's own record. Its legal and tax identity, address, bank and
// payment details, and its logotype.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/bytes.hpp"
#include "bokfolio/platform/image.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

class BOKFOLIO_EXPORT Company : public Record {
 public:
  static constexpr std::string_view kEntityName = "Company";
  struct Slots {
    static constexpr Slot<std::string> orgname{0};
    static constexpr Slot<std::string> orgid{1};
    static constexpr Slot<std::string> vatno{2};
    static constexpr Slot<std::int64_t> registeredForTax{3};
    static constexpr Slot<std::string> street{4};
    static constexpr Slot<std::string> zipcode{5};
    static constexpr Slot<std::string> city{6};
    static constexpr Slot<std::string> county{7};
    static constexpr Slot<std::string> country{8};
    static constexpr Slot<std::string> phone{9};
    static constexpr Slot<std::string> fax{10};
    static constexpr Slot<std::string> email{11};
    static constexpr Slot<std::string> homepage{12};
    static constexpr Slot<std::string> bank{13};
    static constexpr Slot<std::string> bankAccount{14};
    static constexpr Slot<std::string> bic{15};
    static constexpr Slot<std::string> paymentOption1{16};
    static constexpr Slot<std::string> paymentOption2{17};
    static constexpr Slot<Bytes> logotype{18};
  };
  static EntityDescription table();

  using Record::Record;

  std::optional<std::string> orgname() const { return get(Slots::orgname); }
  void setOrgname(const std::optional<std::string>& orgname) { set(Slots::orgname, orgname); }
  // Organisation number and VAT number.
  std::optional<std::string> orgid() const { return get(Slots::orgid); }
  void setOrgid(const std::optional<std::string>& orgid) { set(Slots::orgid, orgid); }
  std::optional<std::string> vatno() const { return get(Slots::vatno); }
  void setVatno(const std::optional<std::string>& vatno) { set(Slots::vatno, vatno); }
  // nil reads as no.
  bool registeredForTax() const { return get(Slots::registeredForTax).value_or(0) != 0; }
  void setRegisteredForTax(bool registeredForTax) {
    set(Slots::registeredForTax, registeredForTax ? 1 : 0);
  }
  // Postal address; the country is a code of two letters.
  std::optional<std::string> street() const { return get(Slots::street); }
  void setStreet(const std::optional<std::string>& street) { set(Slots::street, street); }
  std::optional<std::string> zipcode() const { return get(Slots::zipcode); }
  void setZipcode(const std::optional<std::string>& zipcode) { set(Slots::zipcode, zipcode); }
  std::optional<std::string> city() const { return get(Slots::city); }
  void setCity(const std::optional<std::string>& city) { set(Slots::city, city); }
  std::optional<std::string> county() const { return get(Slots::county); }
  void setCounty(const std::optional<std::string>& county) { set(Slots::county, county); }
  std::optional<std::string> country() const { return get(Slots::country); }
  void setCountry(const std::optional<std::string>& country) { set(Slots::country, country); }
  std::optional<std::string> phone() const { return get(Slots::phone); }
  void setPhone(const std::optional<std::string>& phone) { set(Slots::phone, phone); }
  std::optional<std::string> fax() const { return get(Slots::fax); }
  void setFax(const std::optional<std::string>& fax) { set(Slots::fax, fax); }
  std::optional<std::string> email() const { return get(Slots::email); }
  void setEmail(const std::optional<std::string>& email) { set(Slots::email, email); }
  std::optional<std::string> homepage() const { return get(Slots::homepage); }
  void setHomepage(const std::optional<std::string>& homepage) { set(Slots::homepage, homepage); }
  // Bank name, account, and the bank's international code.
  std::optional<std::string> bank() const { return get(Slots::bank); }
  void setBank(const std::optional<std::string>& bank) { set(Slots::bank, bank); }
  std::optional<std::string> bankAccount() const { return get(Slots::bankAccount); }
  void setBankAccount(const std::optional<std::string>& bankAccount) {
    set(Slots::bankAccount, bankAccount);
  }
  std::optional<std::string> bic() const { return get(Slots::bic); }
  void setBic(const std::optional<std::string>& bic) { set(Slots::bic, bic); }
  // Free texts for invoices.
  std::optional<std::string> paymentOption1() const { return get(Slots::paymentOption1); }
  void setPaymentOption1(const std::optional<std::string>& paymentOption1) {
    set(Slots::paymentOption1, paymentOption1);
  }
  std::optional<std::string> paymentOption2() const { return get(Slots::paymentOption2); }
  void setPaymentOption2(const std::optional<std::string>& paymentOption2) {
    set(Slots::paymentOption2, paymentOption2);
  }
  // The company's mark on invoices, decoded from what is stored (PDF or TIFF); nil when there is
  // none or its bytes cannot be read.
  std::optional<Image> logotype() const;
  // Stores the first PDF representation, or else the picture as TIFF. nil stores nothing. false,
  // and nothing changed, for a picture of which no bytes can be stored (the image's error).
  bool setLogotype(const std::optional<Image>& image, ErrorOut error = nullptr);

  // Whether a country is outside the European Union by the list that the rules use. The list knows
  // small letters only, has both "gb" and "uk", and lacks the Baltic states and Malta; nil, capital
  // letters and everything else are outside.
  static bool outsideEU(const std::optional<std::string>& countryCode);
  // The same for the company's own country.
  bool isOutsideEU() const;
};

}  // namespace bokfolio
