#include "bokfolio/model/invoicing/article.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "bokfolio/model/internal/refusal.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/invoicing/vat_rates.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/ledger_error.hpp"
#include "bokfolio/platform/number_parsing.hpp"
#include "bokfolio/platform/text_order.hpp"
#include "bokfolio/store/context.hpp"
#include "bokfolio/store/numbering.hpp"

namespace bokfolio {

namespace {

// 0.001 seconds.
constexpr std::int64_t kDefaultsDelayMicroseconds = 1000;
constexpr std::size_t kDependentTaxLength = 11;

// The integer at the beginning of a number, 0 without one, plus one; within 32 bits.
std::int64_t numberAfter(std::string_view number) {
  number.remove_prefix(std::min(number.find_first_not_of(" \t\n"), number.size()));
  std::int32_t value = 0;
  const auto read = std::from_chars(number.data(), number.data() + number.size(), value);
  constexpr std::int64_t kHighest = std::numeric_limits<std::int32_t>::max();
  constexpr std::int64_t kLowest = std::numeric_limits<std::int32_t>::min();
  if (read.ec == std::errc::result_out_of_range)
    return number.front() == '-' ? kLowest + 1 : kHighest;
  return std::min(value + std::int64_t{1}, kHighest);
}

// Levels have the precision of a float. The double with the float's shortest text is the one that
// turns into the decimal that was typed: 2.3, not 2.29999995.
std::optional<double> inFloatPrecision(double value) {
  if (std::fabs(value) > static_cast<double>(std::numeric_limits<float>::max()))
    return std::nullopt;
  char text[32];
  const auto written = std::to_chars(text, text + sizeof text, static_cast<float>(value));
  double level = 0;
  std::from_chars(text, written.ptr, level);
  return level;
}

}  // namespace

EntityDescription Article::table() {
  EntityTable<Article> table{std::string(kEntityName)};
  table.attribute(Slots::name, "name")
      .writtenBy<&Article::setName>()
      .validatedBy<&Article::validateName>();
  table.attribute(Slots::number, "number").validatedBy<&Article::validateNumber>();
  table.attribute(Slots::unit, "unit");
  table.attribute(Slots::vat, "vat");
  table.attribute(Slots::price, "price");
  table.attribute(Slots::isDependentTax, "isDependentTax").defaultValue(0);
  table.attribute(Slots::dependentTaxLevel, "dependentTaxLevel");
  table.toMany(Slots::invoiceLines, "invoiceLines", "InvoiceLine", "article")
      .onDelete(DeleteRule::Deny);
  table.toOne(Slots::salesAccount, "salesAccount", "Account");
  table.toOne(Slots::vatAccount, "vatAccount", "Account");
  table.derived<&Article::isUsed>("isUsed");
  table.derived<&Article::description>("description");
  table.dependsOn("isUsed", {"invoiceLines"});
  table.dependsOn("description", {"name", "number"});
  table.index({"number"});
  return table.description();
}

Decimal Article::vatRateForCountry(const std::optional<std::string>& countryCode) {
  return bokfolio::vatRateForCountry(countryCode);
}

void Article::awakeFromInsert() {
  Record::awakeFromInsert();
  setPrimitive(Slots::unit, std::nullopt);
  setPrimitive(Slots::vat, vatRateForCountry(environment().locale().countryCode()));
  managedObjectContext().performAfterDelay(*this, kDefaultsDelayMicroseconds, [](Record& record) {
    static_cast<Article&>(record).setPropertiesFromLatestArticle();
  });
}

void Article::setPropertiesFromLatestArticle() {
  if (number()) return;
  auto highest = highestNumbered(managedObjectContext(), kEntityName, "number");
  if (highest.empty()) {
    setNumber("1");
    return;
  }
  sortRecordsBy(highest, [](const Record& a, const Record& b) {
    return static_cast<const Article&>(a).compareNumber(static_cast<const Article&>(b));
  });
  const auto& latest = static_cast<const Article&>(*highest.back());
  setNumber(std::to_string(numberAfter(latest.number().value_or(""))));
  setSalesAccount(latest.salesAccount());
  setVatAccount(latest.vatAccount());
}

void Article::setName(const std::optional<std::string>& name) {
  std::optional<double> level;
  if (name) {
    const auto rest =
        textAfterPrefix(*name, kDependentTaxLength, environment().text("localized dependent tax"));
    const auto scanned = rest ? scanNumber(*rest, environment().locale()) : std::nullopt;
    if (scanned) level = inFloatPrecision(*scanned);
  }
  if (level) setDependentTaxLevel(level);
  setIsDependentTax(level.has_value());
  set(Slots::name, name);
}

RecordSetOf<InvoiceLine> Article::invoiceLines() const { return get(Slots::invoiceLines); }

Account* Article::salesAccount() const { return get(Slots::salesAccount); }

void Article::setSalesAccount(Account* salesAccount) { set(Slots::salesAccount, salesAccount); }

Account* Article::vatAccount() const { return get(Slots::vatAccount); }

void Article::setVatAccount(Account* vatAccount) { set(Slots::vatAccount, vatAccount); }

std::string Article::description() const {
  const auto ownNumber = number();
  const auto ownName = name();
  if (ownNumber && ownName) return *ownNumber + "\t" + *ownName;
  if (ownName) return *ownName;
  return ownNumber ? *ownNumber : environment().text("Unnamed product.");
}

bool Article::isUsed() const { return !invoiceLines().empty(); }

int Article::compareNumber(const Article& other) const {
  const auto own = number();
  const auto theirs = other.number();
  if (!own) return 1;
  if (!theirs) return -1;
  return compareNumerically(*own, *theirs, environment().locale());
}

int Article::compare(const Article& other) const {
  const auto own = name();
  const auto theirs = other.name();
  if (own == theirs) return 0;
  return own < theirs ? -1 : 1;
}

bool Article::validateName(std::optional<std::string>& proposed, ErrorOut error) {
  return proposed || internal::refuse(error, ArticleError::NoName, "Each article requires a name.",
                                      environment());
}

bool Article::validateNumber(std::optional<std::string>& proposed, ErrorOut error) {
  return proposed || internal::refuse(error, ArticleError::NoNumber,
                                      "Each article requires a number.", environment());
}

}  // namespace bokfolio
