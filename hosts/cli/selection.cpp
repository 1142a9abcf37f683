#include "selection.hpp"

#include <unordered_set>

#include "bokfolio/platform/date_text.hpp"
#include "failure.hpp"
#include "input.hpp"

namespace bokfolio::cli {

namespace {

Predicate dayPredicate(const Session& session, FiscalYear* year, const Selection& selection) {
  Host& host = session.host();
  const Locale& locale = session.environment().locale();
  std::vector<Predicate> parts = {year->predicate()};
  const std::string& from = selection.date.empty() ? selection.from : selection.date;
  const std::string& to = selection.date.empty() ? selection.to : selection.date;
  if (!from.empty()) {
    parts.emplace_back("date >= %@", std::vector<Value>{startOf(host, dayFromText(from, locale))});
  }
  if (!to.empty()) {
    parts.emplace_back("date < %@", std::vector<Value>{endOf(host, dayFromText(to, locale))});
  }
  if (!selection.text.empty()) {
    parts.emplace_back("name LIKE[c] %@", std::vector<Value>{"*" + selection.text + "*"});
  }
  return Predicate::andPredicate(parts);
}

// The entries of the year with a row that counts and carries the record under the key.
std::unordered_set<const Entry*> entriesCarrying(const Session& session, FiscalYear* year,
                                                 const char* key, Record* record) {
  std::unordered_set<const Entry*> entries;
  const Predicate condition("%K == %@ AND entry.fiscalYear == %@ AND status != 1",
                            {key, record, year});
  for (const Row* row : session.context().fetch<Row>(condition)) entries.insert(row->entry());
  return entries;
}

}  // namespace

void addSelectionOptions(CLI::App* command, Selection& selection) {
  command
      ->add_option("-y,--year", selection.year,
                   "Fiscal year (default: that of the days, or else the latest with entries)")
      ->type_name("YEAR");
  command->add_option("--date", selection.date, "Only entries of that day")->type_name("DAY");
  command->add_option("--from", selection.from, "Only entries from that day on")->type_name("DAY");
  command->add_option("--to", selection.to, "Only entries up to that day")->type_name("DAY");
  command->add_option("--tag", selection.tag, "Only entries with a row of that tag")
      ->type_name("TAG");
  command->add_option("--account", selection.account, "Only entries with a row on that account")
      ->type_name("ACCOUNT");
  command->add_option("--text", selection.text, "Only entries whose text holds these words")
      ->type_name("TEXT");
}

FiscalYear* yearOf(const Session& session, const Selection& selection) {
  if (!selection.year.empty()) return findYear(session, selection.year);
  FiscalYear* found = nullptr;
  std::string unheld;
  for (const std::string& text : {selection.date, selection.from, selection.to}) {
    if (text.empty()) continue;
    const CivilDate day = dayFromText(text, session.environment().locale());
    FiscalYear* year = yearHolding(session, day);
    if (year == nullptr) unheld = isoDay(day);
    if (year != nullptr && found != nullptr && year != found) {
      throw Failure(ExitStatus::Refused, "the days lie in two fiscal years",
                    "ask for each year of its own");
    }
    if (year != nullptr) found = year;
  }
  if (found != nullptr) return found;
  return unheld.empty() ? findYearInUse(session, "") : findYear(session, unheld);
}

std::vector<Entry*> selectEntries(const Session& session, FiscalYear* year,
                                  const Selection& selection) {
  auto entries = session.context().fetch<Entry>(dayPredicate(session, year, selection),
                                                std::vector{SortDescriptor("number")});
  const auto keepCarrying = [&](const char* key, Record* record) {
    const auto carrying = entriesCarrying(session, year, key, record);
    std::erase_if(entries, [&](const Entry* entry) { return !carrying.contains(entry); });
  };
  if (!selection.tag.empty()) keepCarrying("tag", findTag(session, selection.tag));
  if (!selection.account.empty()) {
    keepCarrying("account", findAccount(session, selection.account));
  }
  return entries;
}

Date startOf(Host& host, CivilDate day) {
  return dateFromCivil(day, {}, host.environment().timeZone());
}

Date endOf(Host& host, CivilDate day) {
  return startOf(host, civilFromDays(daysFromCivil(day) + 1));
}

}  // namespace bokfolio::cli
