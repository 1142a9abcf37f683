// DocumentCheck: every invariant of a document, looked at record by record: the store's own
// (inverses, indexes) and those of bookkeeping. It changes nothing and finds all faults, not the
// first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/store/context.hpp"
#include "host.hpp"

namespace bokfolio::cli {

struct Finding {
  // A remark is worth knowing and breaks no rule.
  enum class Weight { Fault, Remark } weight = Weight::Fault;
  std::string subject;  // "entry 12 of 2025"
  std::string message;
};

class DocumentCheck {
 public:
  struct Counts {
    std::size_t accounts = 0;
    std::size_t tags = 0;
    std::size_t years = 0;
    std::size_t entries = 0;
    std::size_t rows = 0;
    std::size_t faults = 0;
    std::size_t remarks = 0;
  };

  // Each finding goes to `report` as soon as it is found.
  DocumentCheck(Host& host, Context& context, std::function<void(const Finding&)> report);

  Counts run();

 private:
  void checkStore();
  void checkBook();
  void checkAccounts();
  void checkTags();
  void checkYears();
  void checkYear(FiscalYear& year);
  void checkNumbers(FiscalYear& year, std::map<std::int64_t, std::size_t>& numbers);
  void checkStartingBalances();
  void checkUnfiled();
  void checkEntry(const Entry& entry);
  void checkDate(const Entry& entry);
  void checkBalanced(const Entry& entry);
  void checkLooseRows();
  void checkRow(const Row& row, const std::string& subject);
  void fault(const std::string& subject, const std::string& message);
  void remark(const std::string& subject, const std::string& message);

  Host& host_;
  Context& context_;
  std::function<void(const Finding&)> report_;
  Counts counts_;
};

}  // namespace bokfolio::cli
