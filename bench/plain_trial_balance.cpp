#include "bench/plain_trial_balance.hpp"

#include <sqlite3.h>

#include <stdexcept>

#include "bench/hundredths.hpp"

namespace bokfolio::bench {

namespace {

// CROSS JOIN keeps SQLite to this order: the year's entries by index, then each one's rows.
constexpr const char* kRows =
    "SELECT Row.account, Row.debit, Row.credit FROM Entry CROSS JOIN Row ON Row.entry = Entry.id"
    " WHERE Entry.fiscalYear = (SELECT id FROM FiscalYear ORDER BY start DESC LIMIT 1)"
    " AND Row.status IS NOT 1";
constexpr const char* kOpenings =
    "SELECT account, balance, NULL FROM StartingBalance"
    " WHERE fiscalYear = (SELECT id FROM FiscalYear ORDER BY start DESC LIMIT 1)";

}  // namespace

PlainTrialBalance::PlainTrialBalance(const std::string& document) {
  check(sqlite3_open_v2(document.c_str(), &database_, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX,
                        nullptr));
  check(sqlite3_prepare_v2(database_, kRows, -1, &rows_, nullptr));
  check(sqlite3_prepare_v2(database_, kOpenings, -1, &openings_, nullptr));
}

PlainTrialBalance::~PlainTrialBalance() {
  sqlite3_finalize(rows_);
  sqlite3_finalize(openings_);
  sqlite3_close(database_);
}

std::string PlainTrialBalance::absoluteSum() {
  sums_.clear();
  for (sqlite3_stmt* statement : {rows_, openings_}) {
    int code = SQLITE_ROW;
    while ((code = sqlite3_step(statement)) == SQLITE_ROW) {
      const auto account = static_cast<std::size_t>(sqlite3_column_int64(statement, 0));
      if (account >= sums_.size()) sums_.resize(account + 1);
      sums_[account] += hundredths(sqlite3_column_text(statement, 1)) -
                        hundredths(sqlite3_column_text(statement, 2));
    }
    if (code != SQLITE_DONE) check(code);
    sqlite3_reset(statement);
  }
  std::int64_t sum = 0;
  for (const std::int64_t balance : sums_) sum += balance < 0 ? -balance : balance;
  return hundredthsText(sum);
}

void PlainTrialBalance::check(int code) const {
  if (code != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(database_));
}

}  // namespace bokfolio::bench
