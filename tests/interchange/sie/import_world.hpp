// ImportWorld: a document in memory into which texts of SIE files are imported, and its contents as
// texts that tests can compare: everything for "nothing has changed", the journal for reading.
#pragma once

#include <string>
#include <vector>

#include "bokfolio/interchange/sie/sie_importer.hpp"
#include "bokfolio/interchange/sie/sie_reader.hpp"
#include "bokfolio/platform/date_text.hpp"
#include "tests/model/ledger/ledger_world.hpp"
#include "tests/store/dump.hpp"

namespace bokfolio::test {

class ImportWorld : public LedgerWorld {
 protected:
  explicit ImportWorld(Model model = standardModel()) : LedgerWorld(std::move(model)) {}

  std::optional<SieImportReport> tryImport(const SieFile& file, ErrorOut error,
                                           const SieImportOptions& options = {}) {
    return importSie(context(), file, options, error);
  }
  static SieFile read(std::string_view text) {
    std::optional<Error> error;
    auto file = readSie(text, &error);
    EXPECT_TRUE(file) << error->localizedDescription();
    return file ? std::move(*file) : SieFile{};
  }
  SieImportReport import(std::string_view text, const SieImportOptions& options = {}) {
    std::optional<Error> error;
    auto report = tryImport(read(text), &error, options);
    EXPECT_TRUE(report) << error->localizedDescription();
    return report.value_or(SieImportReport{});
  }
  // Refused: line and code of the error; and nothing is changed.
  std::string refusal(std::string_view text) {
    const bool wasChanged = context().hasChanges();
    std::optional<Error> error;
    EXPECT_FALSE(tryImport(read(text), &error));
    EXPECT_EQ(context().hasChanges(), wasChanged);
    if (!error) return "no error";
    return error->text(kLineErrorKey) + ": " + std::to_string(error->code());
  }

  // One line an entry: year, number, day, comments, name, rows in their order.
  std::vector<std::string> journal() {
    std::vector<std::string> lines;
    for (const Entry* entry : context().fetch<Entry>(Predicate("fiscalYear != nil"))) {
      std::string line = entry->fiscalYear()->name().value() + " #" +
                         std::to_string(entry->number().value()) + " " +
                         entry->dateString().value() + " [" + entry->comments().value_or("-") +
                         "] " + entry->name().value() + ":";
      for (const Row* row : entry->rows().membersBy({SortDescriptor("number")})) {
        line += " " + std::to_string(row->accountNumber().value()) + " " +
                (row->debit().value() - row->credit().value()).toString();
        if (row->tag() != nullptr) line += " t" + std::to_string(row->tag()->number().value());
        if (row->isRemoved()) line += " struck by " + row->who().value_or("nobody");
        line += ",";
      }
      line.pop_back();
      lines.push_back(line);
    }
    return lines;
  }
  Account* accountNumbered(std::int64_t number) {
    return Account::accountWithNumber(number, context());
  }
  Decimal balance(std::int64_t number, FiscalYear* year) {
    return accountNumbered(number)->balanceByDate(std::nullopt, year);
  }
  FiscalYear* yearNamed(const std::string& name) {
    return context().fetchFirst<FiscalYear>(Predicate("name == %@", {name}));
  }
  void expectSound() { EXPECT_TRUE(context().verify().empty()) << context().verify().front(); }
  // A new document.
  void startOver() {
    document_ = std::make_shared<MemoryDocument>();
    open();
  }
  void expectNumberedWithoutGaps() {
    for (const FiscalYear* year : context().fetch<FiscalYear>())
      EXPECT_EQ(year->highestEntryNumber(), static_cast<std::int64_t>(year->entries().count()));
  }
  void saveAndReopen() {
    std::optional<Error> error;
    ASSERT_TRUE(context().save(&error)) << error->localizedDescription();
    open();
  }
};

}  // namespace bokfolio::test
