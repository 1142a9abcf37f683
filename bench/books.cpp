#include "bench/books.hpp"

#include <algorithm>
#include <optional>
#include <random>
#include <stdexcept>

#include "bokfolio/model/document.hpp"
#include "bokfolio/platform/calendar.hpp"
#include "bokfolio/platform/run_loop.hpp"

namespace bokfolio::bench {

namespace {

constexpr std::int64_t kFirstAccount = kBusiestAccount;
constexpr std::int64_t kBusinessDays = 363;  // 2 January on: the first instant is in no year
constexpr std::uint64_t kTaggedOneIn = 5;

void require(bool done, const std::optional<Error>& error) {
  if (!done) throw std::runtime_error(error ? error->localizedDescription() : "refused");
}

// Nothing is filled in later.
class DeafRunLoop final : public RunLoop {
 public:
  void performAfter(std::int64_t, std::function<void()>) override {}
};

std::vector<Date> daysOf(int year) {
  const Date first = dateFromCivil({year, 1, 2}, {}, TimeZone::cet());
  std::vector<Date> days;
  for (std::int64_t day = 0; day < kBusinessDays; ++day)
    days.push_back(addingDays(first, day, TimeZone::cet()));
  return days;
}

std::size_t dayAt(std::size_t entry, std::size_t entries) {
  return entry * static_cast<std::size_t>(kBusinessDays) / entries;
}

// One sale: gross to the busiest account, net and VAT from two others.
struct Sale {
  explicit Sale(std::mt19937_64& random)
      : net(Decimal::fromParts(random() % 1'000'000 + 100, -2, false)),
        vat(Decimal::fromParts(random() % 250'000 + 1, -2, false)),
        accounts{0, random() % (kAccounts - 1) + 1, random() % (kAccounts - 1) + 1} {
    for (auto& tag : tags) {
      const std::uint64_t drawn = random() % (2 * kTags);
      if (random() % kTaggedOneIn == 0) tag = drawn < kTags ? drawn + 1 : kFirstTag;
    }
  }
  Decimal amount(std::size_t at) const { return at == 0 ? net + vat : at == 1 ? -net : -vat; }

  Decimal net;
  Decimal vat;
  std::size_t accounts[kRowsPerEntry];
  std::size_t tags[kRowsPerEntry] = {};  // 0 for none
};

class Writer {
 public:
  explicit Writer(Context& context)
      : context_(context), accounts_(context.fetch<Account>()), tags_(context.fetch<Tag>()) {}

  void add(FiscalYear& year, Date day, std::int64_t number, const Sale& sale) {
    auto* entry = context_.insert<Entry>();
    entry->setName("Sale " + std::to_string(number));
    entry->setDate(day);
    entry->setFiscalYear(&year);
    entry->setNumber(number);
    for (std::size_t at = 0; at < kRowsPerEntry; ++at) {
      auto* row = context_.insert<Row>();
      row->setAccount(accounts_[sale.accounts[at]]);
      if (sale.tags[at] != 0) row->setTag(tags_[sale.tags[at] - 1]);
      const Decimal amount = sale.amount(at);
      amount.sign() > 0 ? row->setDebit(amount) : row->setCredit(-amount);
      row->setEntry(entry);
    }
  }

 private:
  Context& context_;
  std::vector<Account*> accounts_;
  std::vector<Tag*> tags_;
};

void addChart(Context& context) {
  for (std::size_t at = 0; at < kAccounts; ++at) {
    auto* account = context.insert<Account>();
    account->setNumber(kFirstAccount + static_cast<std::int64_t>(at));
    account->setName("Account " + std::to_string(at));
    account->setType(static_cast<std::int64_t>(at % 4));
  }
  for (std::size_t at = 1; at <= kTags; ++at) {
    auto* tag = context.insert<Tag>();
    tag->setNumber(static_cast<std::int64_t>(at));
    tag->setName("Project " + std::to_string(at));
  }
}

void addYear(Context& context, int number, std::size_t rows) {
  const std::vector<Date> days = daysOf(number);
  auto* year = FiscalYear::createFiscalYearWithDate(days[100], context);
  std::mt19937_64 random(rows + static_cast<std::size_t>(number));
  Writer writer(context);
  const std::size_t entries = rows / kRowsPerEntry;
  for (std::size_t entry = 0; entry < entries; ++entry)
    writer.add(*year, days[dayAt(entry, entries)], static_cast<std::int64_t>(entry + 1),
               Sale(random));
}

std::unique_ptr<Context> opened(std::unique_ptr<Context> context,
                                const std::optional<Error>& error) {
  require(context != nullptr, error);
  return context;
}

}  // namespace

Environment environment() {
  Environment own = Environment::system();
  own.setTimeZone(TimeZone::cet());
  own.setLog(std::make_shared<MemoryLog>());
  own.setPreferences(std::make_shared<MemoryPreferences>());
  own.setRunLoop(std::make_shared<DeafRunLoop>());
  return own;
}

std::unique_ptr<Context> create(const std::string& path) {
  std::optional<Error> error;
  auto context = createDocument(path, environment(), &error);
  return opened(std::move(context), error);
}

std::unique_ptr<Context> open(const std::string& path) {
  std::optional<Error> error;
  auto context = openDocument(path, OpenMode::ReadWrite, environment(), &error);
  return opened(std::move(context), error);
}

void save(Context& context) {
  std::optional<Error> error;
  require(context.save(&error), error);
}

void makeBook(const std::string& path, std::size_t rows) {
  {
    const auto context = create(path);
    addChart(*context);
    save(*context);
  }
  const std::size_t years = std::max<std::size_t>(1, rows / kRowsPerYear);
  for (std::size_t at = 0; at < years; ++at) {
    const auto context = open(path);
    context->setUndoEnabled(false);
    addYear(*context, kLastYear - static_cast<int>(years - 1 - at), rows / years);
    save(*context);
  }
}

void addEntries(Context& context, std::size_t entries, std::uint64_t seed) {
  context.setUndoEnabled(false);
  const std::vector<Date> days = daysOf(kLastYear);
  auto* year = FiscalYear::latestFiscalYearInContext(context);
  const std::int64_t highest = year->highestEntryNumber();
  std::mt19937_64 random(seed);
  Writer writer(context);
  for (std::size_t entry = 0; entry < entries; ++entry)
    writer.add(*year, days[dayAt(entry, entries)], highest + static_cast<std::int64_t>(entry) + 1,
               Sale(random));
}

std::string sieText(std::size_t rows) {
  constexpr int kYear = kLastYear + 1;
  const std::string year = std::to_string(kYear);
  std::string text = "#FLAGGA 0\r\n#SIETYP 4\r\n#FNAMN \"Ek AB\"\r\n#RAR 0 " + year + "0101 " +
                     year + "1231\r\n#DIM 1 \"Project\"\r\n";
  const std::int64_t firstDay = daysFromCivil({kYear, 1, 2});
  std::mt19937_64 random(rows);
  const std::size_t entries = rows / kRowsPerEntry;
  for (std::size_t entry = 0; entry < entries; ++entry) {
    const CivilDate day =
        civilFromDays(firstDay + static_cast<std::int64_t>(dayAt(entry, entries)));
    const std::string number = std::to_string(entry + 1);
    const std::string digits = std::to_string(10'000 * kYear + 100 * day.month + day.day);
    text += "#VER A " + number + ' ' + digits + " \"Sale " + number + "\"\r\n{\r\n";
    const Sale sale(random);
    for (std::size_t at = 0; at < kRowsPerEntry; ++at) {
      text += "\t#TRANS " +
              std::to_string(kFirstAccount + static_cast<std::int64_t>(sale.accounts[at])) + " {";
      if (sale.tags[at] != 0) text += "1 \"" + std::to_string(sale.tags[at]) + '"';
      text += "} " + sale.amount(at).toString() + "\r\n";
    }
    text += "}\r\n";
  }
  return text;
}

void fileOneEntry(Context& context, std::uint64_t round) {
  auto* entry = context.insert<Entry>();
  entry->setName("Filed");
  const auto amount = Decimal::fromParts(round % 10'000 + 200, -2, false);
  const Decimal amounts[kRowsPerEntry] = {amount, -(amount - 1), -1};
  for (std::size_t at = 0; at < kRowsPerEntry; ++at) {
    auto* row = context.insert<Row>();
    const std::uint64_t account = at == 0 ? 0 : (round + at * 7) % kAccounts;
    row->setAccount(kFirstAccount + static_cast<std::int64_t>(account));
    amounts[at].sign() > 0 ? row->setDebit(amounts[at]) : row->setCredit(-amounts[at]);
    row->setEntry(entry);
  }
  std::optional<Error> error;
  require(entry->fileMe(&error).has_value(), error);
  context.closeUndoGroup();
}

FiscalYear* lastYearWithEntries(Context& context) {
  auto* year = FiscalYear::latestFiscalYearInContext(context);
  while (year != nullptr && year->highestEntryNumber() == 0) year = year->previous();
  if (year == nullptr) throw std::runtime_error("no year with entries");
  return year;
}

std::string trialBalance(Context& context, FiscalYear& year) {
  Decimal sum;
  for (const Account* account : context.fetch<Account>())
    sum += account->balanceByDate(std::nullopt, &year).absolute();
  return sum.toString();
}

}  // namespace bokfolio::bench
