// The codes of the ledger's errors. Each names what refused, so that a host can decide by code; the
// words for the user are in the error's description, localised. Of kBokfolioErrorDomain unless said
// otherwise.
#pragma once

namespace bokfolio {

enum class LedgerError : int {
  // The entry lacks rows, is not balanced or is dated outside its fiscal year; or a bound of a
  // fiscal year would leave entries outside.
  Invalid = 1,
  NoFiscalYear = 2,        // none holds the entry's date
  SeveralFiscalYears = 3,  // more than one holds the entry's date
  NoNewEntry = 4,          // the document has no entry under composition
  NoPrecedingYear = 6,     // the fiscal year is the first one
  StartLaterThanEnd = 7,   // bounds of a fiscal year
  CurrencyInUse = 19,      // the home currency is fixed by entries or invoices
};

// The ledger's codes in kStoreErrorDomain.
enum class LedgerStoreError : int {
  NoBalanceAccount = 24,  // a starting balance on an income or cost account
  InvalidRow = 1570,      // zero on both sides, or no valid account
};

}  // namespace bokfolio
