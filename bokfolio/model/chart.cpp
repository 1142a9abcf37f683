#include "bokfolio/model/chart.hpp"

#include <algorithm>
#include <charconv>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

namespace {

struct ChartAccount {
  std::int64_t number = 0;
  AccountType type = AccountType::Asset;
  std::vector<std::string_view> names;  // one a language
  std::string_view key;                 // of the book; "" for most
};

// Views into the chart's text.
struct Chart {
  std::vector<std::string_view> languages;
  std::vector<ChartAccount> accounts;
  std::set<std::int64_t> numbers;
};

constexpr std::string_view kBookKeys[] = {"accountsReceivable", "currencyGains", "currencyLosses",
                                          "roundingAccount", "results"};

std::string_view withoutBlanks(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::vector<std::string_view> parts(std::string_view text, char divider) {
  std::vector<std::string_view> found;
  std::size_t end = text.find(divider);
  while (end != std::string_view::npos) {
    found.push_back(withoutBlanks(text.substr(0, end)));
    text.remove_prefix(end + 1);
    end = text.find(divider);
  }
  found.push_back(withoutBlanks(text));
  return found;
}

std::optional<AccountType> typeNamed(std::string_view name) {
  if (name == "asset") return AccountType::Asset;
  if (name == "debt") return AccountType::DebtAndEquity;
  if (name == "income") return AccountType::Income;
  if (name == "cost") return AccountType::Cost;
  if (name == "equity") return AccountType::Equity;
  return std::nullopt;
}

std::optional<std::int64_t> wholeNumber(std::string_view digits) {
  std::int64_t value = 0;
  const auto [end, fault] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (fault != std::errc() || end != digits.data() + digits.size() || value < 0)
    return std::nullopt;
  return value;
}

bool readAccount(const std::vector<std::string_view>& fields, Chart& chart) {
  const std::size_t withoutKey = 2 + chart.languages.size();
  if (fields.size() != withoutKey && fields.size() != withoutKey + 1) return false;
  const auto number = wholeNumber(fields[0]);
  const auto type = typeNamed(fields[1]);
  if (!number || !type || !chart.numbers.insert(*number).second) return false;
  ChartAccount account{*number, *type, {fields.begin() + 2, fields.end()}, {}};
  if (fields.size() > withoutKey) {
    account.key = fields.back();
    account.names.pop_back();
    if (std::count(std::begin(kBookKeys), std::end(kBookKeys), account.key) == 0) return false;
  }
  if (std::count(account.names.begin(), account.names.end(), std::string_view()) > 0) return false;
  chart.accounts.push_back(std::move(account));
  return true;
}

bool readLine(std::string_view line, Chart& chart) {
  if (line.empty() || line.front() == '#') return true;
  const auto fields = parts(line, '|');
  if (!chart.languages.empty()) return readAccount(fields, chart);
  chart.languages.assign(fields.begin() + 1, fields.end());
  return fields.front() == "languages" && !chart.languages.empty();
}

// The number of the first faulty line, 0 when there is none.
std::size_t read(std::string_view text, Chart& chart) {
  std::size_t number = 0;
  for (const std::string_view line : parts(text, '\n')) {
    ++number;
    if (!readLine(line, chart)) return number;
  }
  return chart.languages.empty() ? number : 0;
}

std::size_t languageFor(const Locale& locale, const Chart& chart) {
  for (const auto& wanted : {locale.languageCode().value_or("en"), std::string("en")}) {
    const auto found = std::find(chart.languages.begin(), chart.languages.end(), wanted);
    if (found != chart.languages.end())
      return static_cast<std::size_t>(found - chart.languages.begin());
  }
  return 0;
}

bool fail(ErrorOut error, ChartErrorCode code, const std::string& description) {
  if (error != nullptr) *error = Error(kChartErrorDomain, static_cast<int>(code), description);
  return false;
}

void insertAll(const Chart& chart, Context& context) {
  const std::size_t language = languageFor(context.environment().locale(), chart);
  Book* book = Book::currentBookInContext(context);
  for (const ChartAccount& each : chart.accounts) {
    Account* account = Account::accountWithNumber(each.number, context);
    if (account == nullptr) {
      account = context.insert<Account>();
      account->setNumber(each.number);
      account->setType(each.type);
      account->setName(std::string(each.names[language]));
    }
    if (book != nullptr && !each.key.empty() && book->valueForKey(each.key).isNil())
      book->setValueForKey(account, each.key);
  }
}

}  // namespace

bool installChart(Context& context, std::string_view name, ErrorOut error) {
  const Environment& host = context.environment();
  const std::string title(name);
  const auto text = host.resources().load("chart/" + title, "accounts");
  if (!text)
    return fail(error, ChartErrorCode::NotFound, host.text("No chart of accounts", {title}));
  Chart chart;
  if (const std::size_t line = read(*text, chart); line != 0)
    return fail(error, ChartErrorCode::Malformed,
                host.text("Faulty chart of accounts", {std::to_string(line), title}));
  insertAll(chart, context);
  return true;
}

}  // namespace bokfolio
