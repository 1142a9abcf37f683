// Fiscal years of an import: which years of the document the file's years are, which are missing,
// and in which year a day lies. Deciding comes first and changes nothing; making follows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "bokfolio/interchange/sie/sie_file.hpp"
#include "bokfolio/interchange/sie/sie_import_report.hpp"
#include "bokfolio/platform/date.hpp"

namespace bokfolio {
class Context;
class FiscalYear;
}  // namespace bokfolio

namespace bokfolio::sie_internal {

// The instant at which an entry of that day is dated: inside its fiscal year also on the first and
// the last day of it.
Date entryDate(CivilDate day);

class ImportYears {
 public:
  // Reads the document's years and matches the file's. Throws Failure: ConflictingYear,
  // ConflictingRecords, UnreadableDocument.
  ImportYears(Context& context, const SieFile& file);

  // Makes the years that are missing. Before this no operation below answers a record.
  void make();

  // nullptr when the file does not tell which days its year of that number has.
  FiscalYear* numbered(int number) const;

  enum class Place : std::uint8_t { None, One, Several };
  // How many fiscal years hold the day, the missing ones included.
  Place placeOf(CivilDate day);
  // Notes that an entry goes there.
  void use(CivilDate day);

  // The file's years, then others that entries went to.
  std::vector<SieImportedYear> report() const;

 private:
  struct Period {
    CivilDate first;
    CivilDate last;
    Date start;
    Date end;
    FiscalYear* record = nullptr;
    std::optional<int> number;
    std::uint32_t line = 0;
    bool made = false;
    bool used = false;
  };
  struct Found {
    std::size_t count = 0;
    std::size_t index = 0;  // of the first
  };

  void readDocument();
  void takeYears(const SieFile& file);
  void takeCalendarYears(const SieFile& file);
  // The index of the period with these days, added when the document lacks it.
  std::size_t periodOf(CivilDate first, CivilDate last, std::uint32_t line);
  const Found& find(CivilDate day);

  Context& context_;
  std::vector<Period> periods_;
  std::map<CivilDate, Found> days_;
};

}  // namespace bokfolio::sie_internal
