// ReferenceRates: the European Central Bank's euro reference rates of one day, read from its daily
// document, and the rate between any two currencies through the euro. Nothing is kept between
// downloads: who wants the rates of a moment ago keeps the value.
//
// Of the document only the elements at "./Cube/Cube/Cube" below the root count, namespaces aside.
// Their attributes are taken by position: the first is the code of a currency, the second how much
// of it one euro costs. A later element of the same code replaces an earlier one, so that a
// document of several days, newest first, gives its oldest day. An element without attributes is
// passed over, one with a code alone has a rate that is no number.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/platform/environment.hpp"
#include "bokfolio/platform/error.hpp"

namespace bokfolio {

// Path of the document on every server that publishes it.
inline constexpr std::string_view kReferenceRatePath = "/stats/eurofxref/eurofxref-daily.xml";

inline constexpr std::string_view kCurrencyErrorDomain = "BokfolioCurrencyErrorDomain";

enum class CurrencyErrorCode {
  RateUnusable = 1,  // a published rate is no number, or zero, or the result no Decimal can hold
};

class BOKFOLIO_EXPORT ReferenceRates {
 public:
  // Units of a currency for one euro, by code; nullopt where the document has no number. The euro
  // itself is not in it.
  using Table = std::map<std::string, std::optional<Decimal>, std::less<>>;

  // nullopt and XmlDocument's error when the text is no XML. Another document than the bank's gives
  // an empty table, not an error.
  static std::optional<ReferenceRates> read(std::string_view document, ErrorOut error = nullptr);

  const Table& table() const noexcept { return table_; }

  // Units of A for one unit of B, to 38 digits; "EUR" has the rate 1. Codes are compared exactly.
  // nullopt without an error, `error` untouched, when a code is not in the table. nullopt and
  // RateUnusable of kCurrencyErrorDomain when the rates are there and give no result.
  std::optional<Decimal> crossRate(std::string_view codeA, std::string_view codeB,
                                   ErrorOut error = nullptr) const;

 private:
  Table table_;
};

// Downloads and reads the rates of the day from the environment's referenceRateSource(), through
// its httpClient(); blocks until they are there or the time is up. nullopt and an error of
// kPlatformErrorDomain when the download fails or brings no XML. A document without rates is noted
// in the log.
BOKFOLIO_EXPORT std::optional<ReferenceRates> loadReferenceRates(const Environment& environment,
                                                                 ErrorOut error = nullptr);

}  // namespace bokfolio
