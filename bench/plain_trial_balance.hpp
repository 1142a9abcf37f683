// The floor of a trial balance: what a short program in plain C over SQLite does. It reads the rows
// of the latest year by index and sums hundredths into one number an account, with the openings. No
// part of the library takes part.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace bokfolio::bench {

class PlainTrialBalance {
 public:
  // Opens the document for reading and prepares the questions.
  explicit PlainTrialBalance(const std::string& document);
  ~PlainTrialBalance();
  PlainTrialBalance(const PlainTrialBalance&) = delete;
  PlainTrialBalance& operator=(const PlainTrialBalance&) = delete;

  // The absolute sum of all balances, in the words of trialBalance() in books.hpp.
  std::string absoluteSum();

 private:
  void check(int code) const;

  sqlite3* database_ = nullptr;
  sqlite3_stmt* rows_ = nullptr;
  sqlite3_stmt* openings_ = nullptr;
  std::vector<std::int64_t> sums_;
};

}  // namespace bokfolio::bench
