// Entries described in XML.
#include <algorithm>
#include <limits>

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/platform/calendar.hpp"
#include "bokfolio/platform/date_text.hpp"
#include "bokfolio/platform/environment.hpp"
#include "bokfolio/platform/xml.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr CivilTime kNoon{12, 0, 0};

std::string_view withoutBlanks(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// The leading integer, 0 without one, held at the ends of 32 bits.
std::int64_t leadingInteger(std::string_view text) {
  constexpr std::int64_t kLargest = std::numeric_limits<std::int32_t>::max();
  text = withoutBlanks(text);
  const bool negative = !text.empty() && text.front() == '-';
  if (negative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
  std::int64_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') break;
    value = std::min(value * 10 + (c - '0'), kLargest + 1);
  }
  return negative ? -value : std::min(value, kLargest);
}

std::optional<Date> dateFrom(std::string_view text, const Environment& environment) {
  const auto day = parseDay(withoutBlanks(text), environment.locale());
  return day ? std::optional(dateFromCivil(*day, kNoon, environment.timeZone())) : std::nullopt;
}

// nullptr for an element that describes no row.
Row* makeRow(const XmlElement& element, Context& context) {
  const XmlElement* number = element.firstChild("account");
  const XmlElement* text = element.firstChild("amount");
  if (number == nullptr || text == nullptr) return nullptr;
  Account* account = Account::accountWithNumber(leadingInteger(number->stringValue()), context);
  if (account == nullptr) return nullptr;
  auto* row = context.insert<Row>();
  row->setAccount(account);
  const Decimal amount = Decimal::parsePrefix(withoutBlanks(text->stringValue()));
  amount.sign() > 0 ? row->setDebit(amount) : row->setCredit(amount.negated());
  if (const XmlElement* tag = element.firstChild("tag"); tag != nullptr)
    row->setTag(Tag::tagWithNumber(leadingInteger(tag->stringValue()), context));
  return row;
}

}  // namespace

std::vector<Row*> Entry::defineRowsFromXml(const XmlElement& element) {
  for (Row* row : rows().members()) row->deleteWithoutPardon();
  if (const XmlElement* name = element.firstChild("name"); name != nullptr)
    setName(std::string(name->stringValue()));
  if (const XmlElement* note = element.firstChild("note"); note != nullptr)
    setComments(std::string(note->stringValue()));
  if (const XmlElement* date = element.firstChild("date"); date != nullptr)
    setDate(dateFrom(date->stringValue(), environment()));
  std::vector<Row*> made;
  for (const XmlElement* child : element.children("row"))
    if (Row* row = makeRow(*child, managedObjectContext()); row != nullptr) made.push_back(row);
  return made;
}

}  // namespace bokfolio
