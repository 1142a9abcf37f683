// What an import of a SIE file did, as plain values for a host to show: what was made, what was
// left out and why, what the records have no room for, and how the balances that the library
// computes compare with those that the file states. It owns its texts and outlives the file.
//
// Amounts are debit-positive. Lines are those of the file, from 1; 0 is no line. What the reader
// left out before the import saw it is in SieFile::notKept and SieFile::remarks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/calendar.hpp"
#include "bokfolio/platform/decimal.hpp"

namespace bokfolio {

// An account that the file uses without declaring it (#KONTO).
struct SieUndeclaredAccount {
  std::int64_t number = 0;
  std::int64_t type = 0;   // Account.type, by #KTYP or else by the first digit
  std::uint32_t line = 0;  // where it is first used
};

enum class SieKeptField : std::uint8_t { AccountName, AccountType, AccountTaxCode, TagName };

// A record that the document had already, where the file says something else. The document's value
// stands.
struct SieKeptValue {
  SieKeptField field = SieKeptField::AccountName;
  std::int64_t number = 0;  // of the account or tag
  std::string kept;         // a type as its digit
  std::string inFile;
  std::uint32_t line = 0;
};

// A fiscal year that the file's records went to.
struct SieImportedYear {
  std::optional<int> number;  // the file's own, 0 and -1 and so on; nil when it states none
  std::string name;           // FiscalYear.name
  CivilDate first;
  CivilDate last;
  bool made = false;  // or the document had it
  std::uint32_t line = 0;
};

struct SieImportedTag {
  std::int64_t number = 0;
  std::string name;
  std::string object;  // the object's number in the file, which need not be a number
  bool made = false;   // or the document had it
  std::uint32_t line = 0;
};

enum class SieOpeningNote : std::uint8_t {
  // Not stored: income and cost accounts have no starting balance.
  OnResultAccount,
  // Not stored: the file does not say which days that year has.
  NoYear,
  // Stored, and the document had another (`former`).
  Replaced,
};

// An opening balance (#IB) that is worth a word.
struct SieOpeningRemark {
  SieOpeningNote note = SieOpeningNote::OnResultAccount;
  int year = 0;
  std::int64_t account = 0;
  Decimal amount;
  std::optional<Decimal> former;
  std::uint32_t line = 0;
};

enum class SieSkipReason : std::uint8_t {
  Unbalanced,    // `difference` is what its rows come to
  NoRows,        // none at all
  OnlyZeroRows,  // none that is not zero
  NoYear,        // its date is in no fiscal year of the file or of the document
  SeveralYears,  // its date is in several fiscal years of the document
};

// A voucher of which nothing was imported.
struct SieSkippedVoucher {
  SieSkipReason reason = SieSkipReason::Unbalanced;
  std::string series;
  std::string number;
  CivilDate date;
  std::string text;
  std::size_t rows = 0;
  Decimal difference;  // debit less credit
  std::uint32_t line = 0;
};

// A row of an imported voucher that was left out, because it is zero.
struct SieZeroRow {
  std::int64_t account = 0;
  std::uint32_t line = 0;
};

struct SieSeriesCount {
  std::string series;
  std::size_t vouchers = 0;
};

struct SieUnkeptDimension {
  int number = 0;
  std::string name;          // "" when the file does not name it
  std::size_t objects = 0;   // declared, or named by rows
  std::size_t rowMarks = 0;  // how often rows name one of them
};

// What the file tells, over all of it, and the records have no field for.
struct SieWithoutField {
  // Entries are numbered in one sequence a year. Series and number of each voucher are the entry's
  // comments ("A 12"), so nothing of them is lost.
  std::vector<SieSeriesCount> series;
  // Objects of all dimensions but the one that became tags.
  std::vector<SieUnkeptDimension> dimensions;
  // A second object of one row in the dimension that became tags.
  std::size_t furtherObjects = 0;
  std::size_t rowTexts = 0;
  std::size_t rowQuantities = 0;
  std::size_t rowDates = 0;  // other than the voucher's
  std::size_t rowSignatures = 0;
  std::size_t voucherSignatures = 0;
  std::size_t registrationDays = 0;
  std::size_t balanceQuantities = 0;
  std::size_t accountUnits = 0;
};

enum class SieStatement : std::uint8_t { Closing, Result };  // #UB, #RES

// A balance that the library computes otherwise than the file states it.
struct SieBalanceDifference {
  SieStatement statement = SieStatement::Closing;
  int year = 0;
  std::int64_t account = 0;
  // nil: the file states none, which means zero, while it does for other accounts.
  std::optional<Decimal> stated;
  Decimal computed;
  std::uint32_t line = 0;
};

enum class SieComparability : std::uint8_t {
  Compared,
  // The document holds no entries of that year: files of types 1 to 3 carry no vouchers, and those
  // of type 4 carry one year's.
  NoVouchers,
  // The file does not say which days that year has.
  NoYear,
};

// The closing balances and results that the file states for one of its years.
struct SieYearComparison {
  int year = 0;
  SieComparability comparability = SieComparability::Compared;
  std::size_t closings = 0;
  std::size_t results = 0;
  // In the report's `differences`; 0 when nothing was compared.
  std::size_t differing = 0;
};

struct BOKFOLIO_EXPORT SieImportReport {
  int type = 0;                  // 1 to 4, as SieHeader::type
  bool alreadyImported = false;  // #FLAGGA 1: some program has imported the file before
  // #VALUTA, SEK when the file does not say. The amounts were taken as amounts in the book's home
  // currency, whichever that is; "" when the document has no book or the book no currency.
  std::string fileCurrency;
  std::string bookCurrency;

  std::size_t accountsMade = 0;
  std::size_t accountsThere = 0;                         // the document had them
  std::vector<SieUndeclaredAccount> undeclaredAccounts;  // made, and counted above
  std::vector<SieKeptValue> keptValues;
  std::vector<SieImportedYear> years;

  std::size_t openingBalancesSet = 0;
  std::size_t openingBalancesZero = 0;  // not stored
  std::vector<SieOpeningRemark> openingRemarks;

  int tagDimension = 0;  // whose objects are tags; 0 for none
  std::vector<SieImportedTag> tags;

  std::size_t entriesFiled = 0;
  std::size_t rowsMade = 0;    // that count in balances
  std::size_t rowsAdded = 0;   // of these, #RTRANS
  std::size_t rowsStruck = 0;  // #BTRANS, kept as removed rows; not in rowsMade
  std::size_t rowsTagged = 0;  // of either kind
  std::size_t vouchersWithoutNumber = 0;
  std::vector<SieSkippedVoucher> skippedVouchers;
  std::vector<SieZeroRow> zeroRows;
  SieWithoutField withoutField;

  std::vector<SieYearComparison> comparisons;  // one for each year that #UB or #RES names
  std::vector<SieBalanceDifference> differences;
};

}  // namespace bokfolio
