#include "bokfolio/interchange/sie/internal/import_years.hpp"

#include <algorithm>
#include <cstdio>

#include "bokfolio/interchange/sie/internal/document_records.hpp"
#include "bokfolio/interchange/sie/internal/import_vouchers.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"

namespace bokfolio::sie_internal {

namespace {

constexpr CivilTime kMidnight{0, 0, 0};
constexpr CivilTime kNoon{12, 0, 0};
constexpr CivilTime kEndOfDay{23, 59, 58};

std::string dayText(CivilDate day) {
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d", day.year, day.month, day.day);
  return text;
}

std::string daysText(CivilDate first, CivilDate last) {
  return dayText(first) + " to " + dayText(last);
}

CivilDate dayAfter(CivilDate day) { return civilFromDays(daysFromCivil(day) + 1); }

std::string nameOf(CivilDate first, CivilDate last) {
  const std::string begins = std::to_string(first.year);
  return first.year == last.year ? begins : begins + "/" + std::to_string(last.year);
}

void refuseOverlapping(std::vector<SieYear> years) {
  std::sort(years.begin(), years.end(),
            [](const SieYear& a, const SieYear& b) { return a.first < b.first; });
  for (std::size_t i = 1; i < years.size(); ++i) {
    const SieYear& earlier = years[i - 1];
    const SieYear& later = years[i];
    if (earlier.last < later.first) continue;
    throw Failure(InterchangeErrorCode::ConflictingRecords, std::max(earlier.line, later.line),
                  "the years " + daysText(earlier.first, earlier.last) + " and " +
                      daysText(later.first, later.last) + " overlap. Correct their #RAR records.");
  }
}

}  // namespace

Date entryDate(CivilDate day) { return dateFromCivil(day, kNoon, TimeZone::cet()); }

ImportYears::ImportYears(Context& context, const SieFile& file) : context_(context) {
  readDocument();
  if (file.years.empty()) {
    takeCalendarYears(file);
  } else {
    takeYears(file);
  }
}

void ImportYears::readDocument() {
  const TimeZone cet = TimeZone::cet();
  for (FiscalYear* year : documentRecords<FiscalYear>(context_)) {
    const auto start = year->start();
    const auto end = year->end();
    if (!start || !end) continue;
    Period period;
    period.first = civilDate(*start, cet);
    period.last = civilDate(end->addingSeconds(-1), cet);
    period.start = *start;
    period.end = *end;
    period.record = year;
    periods_.push_back(period);
  }
}

void ImportYears::takeYears(const SieFile& file) {
  refuseOverlapping(file.years);
  for (const SieYear& year : file.years)
    periods_[periodOf(year.first, year.last, year.line)].number = year.number;
}

void ImportYears::takeCalendarYears(const SieFile& file) {
  std::optional<std::size_t> shared;
  bool isShared = true;
  for (const SieVoucher& voucher : file.vouchers) {
    if (faultOf(file, voucher)) continue;
    if (find(voucher.date).count == 0) {
      periodOf({voucher.date.year, 1, 1}, {voucher.date.year, 12, 31}, voucher.line);
      days_.clear();
    }
    const std::size_t index = find(voucher.date).index;
    isShared = isShared && (!shared || *shared == index);
    shared = index;
  }
  if (shared && isShared) periods_[*shared].number = 0;
}

std::size_t ImportYears::periodOf(CivilDate first, CivilDate last, std::uint32_t line) {
  Period wanted;
  wanted.first = first;
  wanted.last = last;
  wanted.start = dateFromCivil(first, kMidnight, TimeZone::cet());
  // As FiscalYear stores the end of a year.
  wanted.end = dateFromCivil(last, last.day == 1 ? kMidnight : kEndOfDay, TimeZone::cet());
  wanted.line = line;
  const Date nextMidnight = dateFromCivil(dayAfter(last), kMidnight, TimeZone::cet());
  for (std::size_t i = 0; i < periods_.size(); ++i) {
    const Period& other = periods_[i];
    if (other.start == wanted.start && (other.end == wanted.end || other.end == nextMidnight)) {
      periods_[i].line = line;
      return i;
    }
  }
  for (const Period& other : periods_) {
    if (other.start >= wanted.end || wanted.start >= other.end) continue;
    throw Failure(InterchangeErrorCode::ConflictingYear, line,
                  "the year " + daysText(first, last) + " overlaps the document's fiscal year " +
                      daysText(other.first, other.last) +
                      ". Give both the same days, or import into a document without that year.");
  }
  periods_.push_back(wanted);
  return periods_.size() - 1;
}

void ImportYears::make() {
  const TimeZone& zone = context_.environment().timeZone();
  for (Period& period : periods_) {
    if (period.record != nullptr) continue;
    period.record = context_.insert<FiscalYear>();
    // In the zone by which a fiscal year reads the day of what it is given.
    period.record->setStart(dateFromCivil(period.first, kNoon, zone));
    period.record->setEnd(dateFromCivil(period.last, kNoon, zone));
    period.record->setName(nameOf(period.first, period.last));
    period.made = true;
  }
}

FiscalYear* ImportYears::numbered(int number) const {
  const auto found = std::find_if(periods_.begin(), periods_.end(),
                                  [number](const Period& each) { return each.number == number; });
  return found == periods_.end() ? nullptr : found->record;
}

const ImportYears::Found& ImportYears::find(CivilDate day) {
  const auto [place, isNew] = days_.try_emplace(day);
  Found& found = place->second;
  if (!isNew) return found;
  const Date date = entryDate(day);
  for (std::size_t i = 0; i < periods_.size(); ++i) {
    if (periods_[i].start >= date || periods_[i].end <= date) continue;
    if (found.count == 0) found.index = i;
    ++found.count;
  }
  return found;
}

ImportYears::Place ImportYears::placeOf(CivilDate day) {
  const std::size_t count = find(day).count;
  if (count == 0) return Place::None;
  return count == 1 ? Place::One : Place::Several;
}

void ImportYears::use(CivilDate day) { periods_[find(day).index].used = true; }

std::vector<SieImportedYear> ImportYears::report() const {
  std::vector<SieImportedYear> years;
  const auto list = [&years](const Period& period) {
    years.push_back({period.number, period.record->name().value_or(""), period.first, period.last,
                     period.made, period.line});
  };
  for (const Period& period : periods_)
    if (period.number) list(period);
  std::sort(years.begin(), years.end(),
            [](const SieImportedYear& a, const SieImportedYear& b) { return a.number > b.number; });
  for (const Period& period : periods_)
    if (!period.number && (period.used || period.made)) list(period);
  return years;
}

}  // namespace bokfolio::sie_internal
