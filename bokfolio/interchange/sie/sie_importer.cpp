#include "bokfolio/interchange/sie/sie_importer.hpp"

#include "bokfolio/interchange/sie/internal/failure.hpp"
#include "bokfolio/interchange/sie/internal/import_accounts.hpp"
#include "bokfolio/interchange/sie/internal/import_comparison.hpp"
#include "bokfolio/interchange/sie/internal/import_objects.hpp"
#include "bokfolio/interchange/sie/internal/import_openings.hpp"
#include "bokfolio/interchange/sie/internal/import_tags.hpp"
#include "bokfolio/interchange/sie/internal/import_vouchers.hpp"
#include "bokfolio/interchange/sie/internal/import_without_field.hpp"
#include "bokfolio/interchange/sie/internal/import_years.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

namespace sie_internal {

namespace {

void describeFile(Context& context, const SieFile& file, SieImportReport& report) {
  constexpr const char* kCurrencyOfTheFormat = "SEK";
  report.type = file.header.type;
  report.alreadyImported = file.header.alreadyImported;
  report.fileCurrency = file.header.currency.empty() ? std::string(kCurrencyOfTheFormat)
                                                     : std::string(file.header.currency);
  if (const Book* book = Book::currentBookInContext(context))
    report.bookCurrency = book->currency().value_or("");
}

std::optional<SieImportReport> importChecked(Context& context, const SieFile& file,
                                             const SieImportOptions& options, ErrorOut error) {
  SieImportReport report;
  describeFile(context, file, report);

  // What can refuse the file comes first; from make() on the document changes.
  refuseConflictingOpenings(file);
  ImportYears years(context, file);
  ImportAccounts accounts(context, report);
  ImportTags tags(context, report);
  const ObjectsByDimension objects(file);
  report.tagDimension = options.tagDimension.value_or(objects.mostUsed());

  years.make();
  accounts.take(file);
  if (const DimensionUse* tagged = objects.find(report.tagDimension)) tags.take(*tagged);
  importOpenings(context, file, years, accounts, report);
  ImportVouchers vouchers(context, file, years, accounts, tags, report);
  if (!vouchers.take(options.progress, error)) return std::nullopt;

  report.years = years.report();
  report.withoutField = countWithoutField(file, objects, report.tagDimension);
  compareWithStatements(file, years, accounts, report);
  return report;
}

}  // namespace

}  // namespace sie_internal

std::optional<SieImportReport> importSie(Context& context, const SieFile& file,
                                         const SieImportOptions& options, ErrorOut error) {
  try {
    return sie_internal::importChecked(context, file, options, error);
  } catch (const sie_internal::Failure& failure) {
    if (error != nullptr) *error = failure.toError();
    return std::nullopt;
  }
}

}  // namespace bokfolio
