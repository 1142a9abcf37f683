// PlainInvoice: an invoice kept by a second, plain book, written down from the rules of bookkeeping
// without a record, a context or a set. It predicts every row that the library must make, and every
// refusal by its code.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bokfolio/platform/decimal.hpp"

namespace bokfolio::test {

inline constexpr int kReceivable = 1510;
inline constexpr int kBank = 1930;
inline constexpr int kRounding = 3740;
inline constexpr int kGains = 3960;
inline constexpr int kLosses = 7960;

// Account 0 is none.
struct PlainRow {
  int account = 0;
  Decimal debit;
  Decimal credit;
  Decimal net() const { return debit - credit; }
  friend bool operator==(const PlainRow&, const PlainRow&) = default;
};
using PlainRows = std::vector<PlainRow>;

struct PlainEntry {
  std::string name;
  PlainRows rows;
};

struct PlainRebate {
  bool isAmount = false;
  Decimal value;
  Decimal on(const Decimal& amount) const;  // negative for a reduction
};

struct PlainLine {
  int salesAccount = 0;
  int vatAccount = 0;
  std::optional<Decimal> quantity;
  std::optional<Decimal> price;
  std::optional<Decimal> vat;
  std::optional<PlainRebate> rebate;
};

// The settings of the book that matter. The accounts' types decide about the side of a row.
struct PlainBook {
  bool automatic = true;
  bool once = false;
  bool hasReceivable = true;
  bool hasGains = true;
  bool hasRounding = true;
  std::map<int, int> types;
};

class PlainInvoice {
 public:
  static constexpr int kDone = 0;
  static constexpr int kNoNumber = -1;  // a division by zero: no error, an exception

  // What the operations answer: kDone, the code of the refusal, or kNoNumber.
  int send(const Decimal& rate);
  int pay(const Decimal& amount, bool inFull);
  int giveBack(bool toBank);
  int writeOff();

  Decimal total() const;
  Decimal remaining() const { return local - paid.value_or(0); }
  Decimal balance(int account) const;
  // Whether a save accepts the rows: each has an account and an amount, every entry balances.
  bool canBeSaved() const;

  PlainBook book;
  int number = 0;
  std::vector<PlainLine> lines;
  std::optional<PlainRebate> rebate;
  bool rounding = false;
  bool vatfree = false;
  bool foreign = false;
  int status = 0;
  bool once = false;  // the book's way when the invoice was sent
  Decimal local;
  std::optional<Decimal> paid;
  std::vector<PlainEntry> entries;
  bool orderly = true;  // no payment came before sending or after the end

 private:
  Decimal exclVat(const PlainLine& line) const;
  Decimal vatOf(const PlainLine& line) const;
  Decimal sumOf(const PlainLine& line) const;
  Decimal unrounded() const;
  std::optional<PlainRows> saleRows(const Decimal& rate) const;
  void takeOffAmount(std::map<int, Decimal>& amounts) const;
  void roundAway(PlainRows& rows) const;
  int reverse(std::optional<bool> toBank);
  std::string named(const char* words) const { return words + std::to_string(number); }
};

}  // namespace bokfolio::test
