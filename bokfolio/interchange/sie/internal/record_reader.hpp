// From decoded text to the records of a SieFile: one walk over the lines with the state that braces
// make (inside a voucher, inside something unknown). record_reader.cpp holds the walk, records.cpp
// what each label means.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/interchange/sie/internal/added_rows.hpp"
#include "bokfolio/interchange/sie/internal/failure.hpp"
#include "bokfolio/interchange/sie/sie_file.hpp"
#include "bokfolio/interchange/sie/sie_reader.hpp"
#include "bokfolio/interchange/sie/sie_text.hpp"

namespace bokfolio::sie_internal {

class RecordReader {
 public:
  // `text` becomes the home of the file's views; escaped quotes are resolved in it.
  RecordReader(std::string& text, const SieReadOptions& options, SieFile& file)
      : text_(text), options_(options), file_(file), lines_(text) {}

  // Fills the file. Throws Failure.
  void read();

 private:
  using Handler = void (RecordReader::*)();
  enum class Place : std::uint8_t { Top, Voucher };
  struct Known {
    std::string_view label;
    Handler handler;
    Place place;
  };
  static const Known* known(std::string_view label);

  // The walk.
  void readLine(std::string_view line);
  void splitLine(std::string_view line);
  void unescape();
  void openBrace();
  void closeBrace();
  void readRecord();
  void checkPlace(const Known& record);
  void skipUnknown(std::string_view label);
  void endVoucher();
  void finish();

  // What one label means.
  void readText();
  void readImportFlag();
  void readGenerated();
  void readType();
  void readBalanceDay();
  void readNothing() {}
  void readYear();
  void readAccount();
  void readAccountType();
  void readTaxCode();
  void readUnit();
  void readDimension();
  void readSubdimension();
  void readObject();
  void readOpeningBalance() { readBalance(file_.openingBalances); }
  void readClosingBalance() { readBalance(file_.closingBalances); }
  void readResult() { readBalance(file_.results); }
  void readBalance(std::vector<SieBalance>& into);
  void countPeriodBalance() { ++file_.notKept.periodBalances; }
  void countPeriodBudget() { ++file_.notKept.periodBudgets; }
  void countObjectOpening() { ++file_.notKept.objectOpeningBalances; }
  void countObjectClosing() { ++file_.notKept.objectClosingBalances; }
  void readVoucher();
  void readOrdinaryRow();
  void readAddedRow();
  void readRemovedRow();

  SieRow row(SieRowKind kind);
  void readObjects(SieRow& row);
  void addDimension(std::optional<int> parent, std::size_t fields);
  void push(const SieRow& row);
  template <typename Record>
  void makeRoom(std::vector<Record>& records) const;
  SieAccount& account(int number);

  // Fields of the current line. Required ones throw, optional ones leave a remark.
  void require(std::size_t fields);
  void allow(std::size_t fields);
  std::string_view field(std::size_t index) const { return fields_[index].text; }
  int whole(std::string_view text, int lowest, int highest, std::string_view what) const;
  int accountNumber(std::size_t index) const;
  int yearNumber(std::size_t index) const;
  int dimensionNumber(std::string_view text) const;
  Decimal amount(std::size_t index) const;
  CivilDate day(std::size_t index) const;
  std::optional<CivilDate> optionalDay(std::size_t index);
  std::optional<Decimal> optionalQuantity(std::size_t index);

  void remark(SieRemarkKind kind) { remark(kind, lines_.number()); }
  void remark(SieRemarkKind kind, std::uint32_t line);
  // Called for each record that takes memory.
  void charge();
  [[noreturn]] void fail(InterchangeErrorCode code, const std::string& message,
                         std::string_view found = {}) const;

  std::string& text_;
  const SieReadOptions& options_;
  SieFile& file_;
  SieLines lines_;
  SieFields fields_;

  bool anyKnown_ = false;        // some line had a label of the format
  bool voucherMayOpen_ = false;  // the last record was #VER
  bool unknownMayOpen_ = false;  // the last record was unknown
  bool inVoucher_ = false;
  std::size_t skippedBraces_ = 0;  // depth inside the braces of an unknown record
  std::size_t unknownIndex_ = 0;   // of the last unknown record's label

  AddedRows addedRows_;
  std::map<int, std::size_t> accountIndex_;
  std::map<std::string_view, std::size_t> unknownLabelIndex_;
  std::size_t records_ = 0;
};

}  // namespace bokfolio::sie_internal
