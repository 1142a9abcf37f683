#include "repair.hpp"

#include <utility>

#include "bokfolio/model/document.hpp"
#include "bokfolio/model/invoicing/company.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/version.hpp"
#include "check_report.hpp"
#include "copy_names.hpp"
#include "failure.hpp"
#include "salvage_report.hpp"

namespace bokfolio::cli {

namespace {

// What only another document can mend. Of a disk that fails the engine has no better word.
bool isDamage(const Error& error) {
  if (error.domain() != kPersistenceErrorDomain) return false;
  switch (static_cast<PersistenceError>(error.code())) {
    case PersistenceError::Damaged:
    case PersistenceError::NotADocument:
    case PersistenceError::Failed:
      return true;
    default:
      return false;
  }
}

void finishInPlace(Host& host, const std::string& path, const std::string& copy) {
  const Session session = Session::writing(host);
  rebuildSums(session);
  if (!host.json() && !host.options.quiet) {
    host.printLine(path + ": indexes and sums were made anew; as it was before, it is in " + copy);
  }
  reportCheck(host, session, {{"document", path}, {"repaired", "in place"}, {"backup", copy}});
}

// Commands that work on a document want its book and company.
void completeBook(const Session& session, SalvageReport& report) {
  Context& context = session.context();
  Book* book = Book::currentBookInContext(context);
  if (book != nullptr && book->company() != nullptr) return;
  if (book == nullptr) {
    book = context.insert<Book>();
    book->setDefaultsFromLocale();
    report.remarks.emplace_back(
        "The book's settings are lost and were made anew: 'bokfolio book set' changes them.");
  }
  const auto companies = context.fetch<Company>();
  if (companies.empty()) {
    report.remarks.emplace_back(
        "The company is lost and was made anew: 'bokfolio company set' describes it.");
  }
  book->setCompany(companies.empty() ? context.insert<Company>() : companies.front());
}

void salvage(Host& host, const std::string& path, const std::string& to) {
  SalvageReport report;
  std::optional<Error> error;
  if (!salvageSqliteDocument(*standardModel().freeze(), path, to, {std::string(kVersion)}, report,
                             &error)) {
    throw documentFailure(error, path);
  }
  host.options.document = to;
  Session session = Session::writing(host);
  session.change([&] { completeBook(session, report); });
  rebuildSums(session);
  const bool lost = !report.lossless();
  if (!host.json() && (lost || !host.options.quiet)) {
    host.printLine(path + " is left as it was; what can be read of it is in " + to);
    printSalvage(host, session, report);
  }
  reportCheck(host, session,
              {{"document", path},
               {"repaired", "new document"},
               {"to", to},
               {"salvage", salvageJson(report)}},
              lost);
}

}  // namespace

void repair(Host& host, const std::string& to) {
  const std::string path = Session::documentMeant(host);
  if (!to.empty()) return salvage(host, path, to);
  const std::string copy = beforeRepairName(host, path);
  std::optional<Error> error;
  if (rebuildSqliteIndexes(*standardModel().freeze(), path, copy, &error)) {
    return finishInPlace(host, path, copy);
  }
  if (!isDamage(*error)) throw documentFailure(error, path);
  salvage(host, path, repairedName(path));
}

}  // namespace bokfolio::cli
