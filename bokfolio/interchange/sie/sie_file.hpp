// What a SIE file says, as plain values in the order of the file: company, years, accounts,
// balances, dimensions, vouchers with their rows. It decides nothing about bookkeeping; amounts are
// as written (debit positive, credit negative) and every record knows its line, so that whoever
// uses it can say where something stands. What a reader took no notice of is counted here, so that
// it is never lost in silence.
//
// Texts are UTF-8 views into `text`, which copies of a SieFile share; they live as long as any of
// them. Lines count from 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/interchange/sie/sie_text.hpp"
#include "bokfolio/platform/calendar.hpp"
#include "bokfolio/platform/decimal.hpp"

namespace bokfolio {

// The records before the accounts. A text that the file does not give is empty.
struct SieHeader {
  // 1 to 4 (#SIETYP). Without that record 4 when there are vouchers, else 1.
  int type = 1;
  bool typeDeclared = false;
  // #FLAGGA 1: some program has read the file already.
  bool alreadyImported = false;
  std::string_view format;   // #FORMAT; "PC8", whatever the bytes are
  std::string_view program;  // #PROGRAM
  std::string_view programVersion;
  std::optional<CivilDate> generated;  // #GEN
  std::string_view generatedBy;
  std::string_view comment;      // #PROSA
  std::string_view companyName;  // #FNAMN
  std::string_view companyForm;  // #FTYP
  std::string_view companyId;    // #FNR, the company's key in the program that wrote the file
  std::string_view organisationNumber;  // #ORGNR
  std::string_view industry;            // #BKOD
  std::string_view contact;             // #ADRESS: contact, street, postal address, telephone
  std::string_view street;
  std::string_view postalAddress;
  std::string_view telephone;
  std::string_view taxYear;             // #TAXAR
  std::optional<CivilDate> balanceDay;  // #OMFATTN, the day up to which balances are stated
  std::string_view chartOfAccounts;     // #KPTYP, for instance "BAS2010" or "EUBAS97"
  std::string_view currency;            // #VALUTA; SEK when empty
};

// #RAR. Number 0 is the file's own year, -1 the year before, and so on. Both days belong to it.
struct SieYear {
  int number = 0;
  CivilDate first;
  CivilDate last;
  std::uint32_t line = 0;
};

// #KTYP T, S, I and K, in this order.
enum class SieAccountType : std::uint8_t { Asset, Debt, Income, Cost };

// #KONTO, #KTYP, #SRU, #ENHET. An account of which only the type, the tax code or the unit is told
// is there too, undeclared and without name.
struct SieAccount {
  int number = 0;
  bool declared = false;
  std::optional<SieAccountType> type;
  std::string_view name;
  std::string_view taxCode;  // the first #SRU
  std::string_view unit;     // of quantities
  std::uint32_t line = 0;    // of its first record
};

// #IB, #UB or #RES: an account's balance at the start or end of a year, or its sum over the year.
struct SieBalance {
  int year = 0;  // a SieYear's number
  int account = 0;
  Decimal amount;
  std::optional<Decimal> quantity;
  std::uint32_t line = 0;
};

// #DIM, #UNDERDIM: what objects classify. 1 is cost centre, 6 project.
struct SieDimension {
  int number = 0;
  std::optional<int> parent;
  std::string_view name;
  std::uint32_t line = 0;
};

// #OBJEKT: one cost centre, one project.
struct SieObject {
  int dimension = 0;
  std::string_view number;
  std::string_view name;
  std::uint32_t line = 0;
};

// An object as a row names it; it need not be declared.
struct SieObjectRef {
  int dimension = 0;
  std::string_view number;
  friend auto operator<=>(const SieObjectRef&, const SieObjectRef&) = default;
};

enum class SieRowKind : std::uint8_t {
  Ordinary,  // #TRANS
  // #RTRANS, put in after the voucher was first filed. The #TRANS that repeats it, for programs
  // that do not know #RTRANS, is not a row of its own.
  Added,
  Removed,  // #BTRANS, struck since: it no longer counts
};

struct SieRow {
  Decimal amount;  // debit positive
  std::optional<Decimal> quantity;
  std::string_view text;
  std::string_view sign;          // who wrote it
  std::optional<CivilDate> date;  // when it differs from the voucher's
  int account = 0;
  std::uint32_t line = 0;
  std::uint32_t firstObject = 0;
  std::uint16_t objectCount = 0;
  SieRowKind kind = SieRowKind::Ordinary;

  bool counts() const noexcept { return kind != SieRowKind::Removed; }
};

struct SieVoucher {
  std::string_view series;
  std::string_view number;  // empty in files that leave numbering to the importer
  CivilDate date;
  std::string_view text;
  std::optional<CivilDate> registered;
  std::string_view sign;  // who filed it
  std::uint32_t line = 0;
  std::uint32_t firstRow = 0;
  std::uint32_t rowCount = 0;
};

enum class SieChecksum : std::uint8_t {
  Absent,
  Verified,
  // Only in files read with SieReadOptions::acceptWrongChecksum.
  Wrong,
  Missing,
};

// A label that the reader does not know, with how often it stands. Distinct labels beyond a limit
// are counted together under the label "".
struct SieUnknownLabel {
  std::string_view label;
  std::size_t count = 0;
  std::size_t linesInBraces = 0;  // skipped with it
  std::uint32_t firstLine = 0;
};

enum class SieRemarkKind : std::uint8_t {
  ExtraFields,         // more fields than the record has; the last ones were not read
  UnreadableOptional,  // a date or quantity that may be left out and makes no sense: left out
  UnknownAccountType,  // #KTYP with another letter: left out
  RepeatedAccount,     // a second #KONTO with another name; the first stands
  FurtherTaxCode,      // a second #SRU of an account; the first stands
  AddedRowAlone,       // an #RTRANS that no later #TRANS repeats; it counts by itself
};
inline constexpr std::size_t kSieRemarkKinds = 6;

struct SieRemark {
  SieRemarkKind kind = SieRemarkKind::ExtraFields;
  std::uint32_t line = 0;
};

// What was in the file and is not in these structures.
struct SieNotKept {
  std::size_t periodBalances = 0;              // #PSALDO
  std::size_t periodBudgets = 0;               // #PBUDGET
  std::size_t objectOpeningBalances = 0;       // #OIB
  std::size_t objectClosingBalances = 0;       // #OUB
  std::vector<SieUnknownLabel> unknownLabels;  // in order of appearance
};

struct BOKFOLIO_EXPORT SieFile {
  std::shared_ptr<const std::string> text;
  SieCharset charset = SieCharset::Ascii;
  std::size_t replacedBytes = 0;    // see SieDecodedText
  std::size_t droppedControls = 0;  // see SieDecodedText
  SieChecksum checksum = SieChecksum::Absent;

  SieHeader header;
  std::vector<SieYear> years;        // one for each number
  std::vector<SieAccount> accounts;  // one for each number
  std::vector<SieBalance> openingBalances;
  std::vector<SieBalance> closingBalances;
  std::vector<SieBalance> results;
  std::vector<SieDimension> dimensions;
  std::vector<SieObject> objects;
  std::vector<SieVoucher> vouchers;
  // Rows of all vouchers, one voucher after the other, and the objects of all rows likewise.
  std::vector<SieRow> rows;
  std::vector<SieObjectRef> rowObjects;

  SieNotKept notKept;
  // The first remarks, up to SieReadOptions::maxRemarks, and how many there were of each kind.
  std::vector<SieRemark> remarks;
  std::size_t remarkCounts[kSieRemarkKinds] = {};

  std::size_t count(SieRemarkKind kind) const { return remarkCounts[static_cast<int>(kind)]; }

  std::span<const SieRow> rowsOf(const SieVoucher& voucher) const;
  std::span<const SieObjectRef> objectsOf(const SieRow& row) const;
  // Sum of the rows that count: zero when the voucher balances. Exact.
  Decimal difference(const SieVoucher& voucher) const;

  // nullptr when the file states no such year. A search.
  const SieYear* year(int number) const;
};

}  // namespace bokfolio
