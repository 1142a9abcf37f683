#include "lookup.hpp"

#include <algorithm>
#include <array>

#include "bokfolio/platform/date_text.hpp"
#include "failure.hpp"
#include "input.hpp"

namespace bokfolio::cli {

namespace {

constexpr std::array<std::string_view, 5> kTypeWords = {"asset", "debt", "income", "cost",
                                                        "equity"};

Failure missing(const std::string& what, const std::string& text, const std::string& remedy) {
  return {ExitStatus::Refused, "there is no " + what + " \"" + text + "\"", remedy};
}

// The one record with that number or name.
template <class T>
T* findNumbered(const Session& session, const std::string& what, const std::string& text,
                const std::string& remedy) {
  const auto number = numberFromText(text);
  const Predicate condition =
      number ? Predicate("number == %@", {*number}) : Predicate("name LIKE[c] %@", {text});
  const auto found = session.context().template fetch<T>(condition, std::nullopt, 2);
  if (found.empty()) throw missing(what, text, remedy);
  if (found.size() > 1) {
    throw Failure(ExitStatus::Refused, "more than one " + what + " is called \"" + text + "\"",
                  number ? "'bokfolio check' tells more" : "use the number");
  }
  return found.front();
}

FiscalYear* yearStartingIn(const Session& session, std::int64_t number) {
  FiscalYear* match = nullptr;
  for (FiscalYear* year : allYears(session)) {
    if (!year->start()) continue;
    if (civilDate(*year->start(), TimeZone::cet()).year != number) continue;
    if (match != nullptr) return nullptr;
    match = year;
  }
  return match;
}

}  // namespace

Account* findAccount(const Session& session, const std::string& text) {
  return findNumbered<Account>(session, "account", text,
                               "'bokfolio account list' shows them, 'bokfolio account add' adds");
}

Tag* findTag(const Session& session, const std::string& text) {
  return findNumbered<Tag>(session, "tag", text,
                           "'bokfolio tag list' shows them, 'bokfolio tag add' adds");
}

std::vector<FiscalYear*> allYears(const Session& session) {
  return session.context().fetch<FiscalYear>(std::nullopt, std::vector{SortDescriptor("start")});
}

FiscalYear* findYear(const Session& session, const std::string& text) {
  Context& context = session.context();
  if (text.empty()) {
    if (FiscalYear* latest = FiscalYear::latestFiscalYearInContext(context)) return latest;
    throw Failure(ExitStatus::Refused, "the document has no fiscal year",
                  "add one with 'bokfolio year add YEAR'");
  }
  if (auto* named = context.fetchFirst<FiscalYear>(Predicate("name == %@", {text}))) return named;
  if (const auto number = numberFromText(text)) {
    if (FiscalYear* year = yearStartingIn(session, *number)) return year;
  }
  if (const auto day = parseDay(text, Locale("C"))) {
    if (FiscalYear* year = yearHolding(session, *day)) return year;
  }
  throw missing("fiscal year", text, "'bokfolio year list' shows them, 'bokfolio year add' adds");
}

FiscalYear* findYearInUse(const Session& session, const std::string& text) {
  if (!text.empty()) return findYear(session, text);
  const std::vector<FiscalYear*> years = allYears(session);
  const auto used = std::find_if(years.rbegin(), years.rend(),
                                 [](const FiscalYear* year) { return !year->entries().empty(); });
  return used != years.rend() ? *used : findYear(session, text);
}

FiscalYear* yearHolding(const Session& session, CivilDate day) {
  return FiscalYear::findFiscalYearForDate(session.host().noonOf(day), session.context());
}

std::vector<Entry*> unfiledEntries(const Session& session) {
  auto entries = session.context().fetch<Entry>(Predicate("number == nil AND fiscalYear == nil"));
  std::stable_sort(entries.begin(), entries.end(),
                   [](const Entry* a, const Entry* b) { return a->day() < b->day(); });
  return entries;
}

namespace {

Entry* findUnfiled(const Session& session, std::int64_t place) {
  const std::vector<Entry*> entries = unfiledEntries(session);
  if (place >= 1 && static_cast<std::size_t>(place) <= entries.size()) {
    return entries[static_cast<std::size_t>(place) - 1];
  }
  throw Failure(ExitStatus::Refused, "no entry u" + std::to_string(place) + " waits to be filed",
                "'bokfolio entry list --unfiled' shows those that do");
}

}  // namespace

Entry* findEntry(const Session& session, FiscalYear* year, const std::string& text) {
  Context& context = session.context();
  if (text == "new") {
    if (auto* entry = context.fetchFirst<Entry>(Entry::onlyNewEntries())) return entry;
    throw Failure(ExitStatus::Refused, "there is no new entry", "compose one with 'entry add'");
  }
  if (text.size() > 1 && text[0] == 'u') {
    if (const auto place = numberFromText(text.substr(1))) return findUnfiled(session, *place);
  }
  const auto number = numberFromText(text);
  if (!number) {
    throw Failure(ExitStatus::Usage, "\"" + text + "\" is no number of an entry",
                  "write a number such as 12, new, or u1 for one that waits to be filed");
  }
  auto* entry = context.fetchFirst<Entry>(
      Predicate("fiscalYear == %@ AND number == %@", {Value(year), Value(*number)}));
  if (entry != nullptr) return entry;
  throw Failure(ExitStatus::Refused,
                "there is no entry " + text + " in " + year->name().value_or("the year"),
                "'bokfolio entry list' shows them; another year is meant with --year");
}

Entry* newEntry(const Session& session) {
  if (Entry* entry = Entry::findTheNewInContext(session.context())) return entry;
  return session.context().insert<Entry>();
}

std::int64_t placeOf(const Row& row) { return row.get(Row::Slots::number).value_or(0); }

std::vector<Row*> rowsOf(const Entry& entry) {
  std::vector<Row*> rows;
  for (Row* row : entry.rows().members()) rows.push_back(row);
  std::stable_sort(rows.begin(), rows.end(),
                   [](const Row* a, const Row* b) { return placeOf(*a) < placeOf(*b); });
  return rows;
}

Row* findRow(const Entry& entry, std::int64_t place) {
  for (Row* row : rowsOf(entry)) {
    if (placeOf(*row) == place) return row;
  }
  throw Failure(ExitStatus::Refused, "the entry has no row " + std::to_string(place),
                "'bokfolio entry show' numbers the rows");
}

std::string_view typeWord(std::int64_t type) {
  return type >= 0 && type < std::int64_t{kTypeWords.size()}
             ? kTypeWords[static_cast<std::size_t>(type)]
             : "";
}

std::int64_t typeFromText(const std::string& text) {
  constexpr std::string_view kLetters = "TSIK";
  if (text.size() == 1) {
    const std::size_t letter = kLetters.find(text);
    if (letter != std::string_view::npos) return static_cast<std::int64_t>(letter);
    if (text[0] >= '0' && text[0] <= '4') return text[0] - '0';
  }
  const auto* word = std::find(kTypeWords.begin(), kTypeWords.end(), text);
  if (word != kTypeWords.end()) return word - kTypeWords.begin();
  throw Failure(ExitStatus::Usage, "\"" + text + "\" is no type of account",
                "use asset, debt, income, cost or equity");
}

}  // namespace bokfolio::cli
