#include <algorithm>
#include <array>

#include "bokfolio/interchange/sie/internal/record_reader.hpp"
#include "bokfolio/interchange/sie/internal/values.hpp"

namespace bokfolio::sie_internal {
namespace {

constexpr int kHighestAccount = 999'999'999;
constexpr int kFarthestYear = 99;

// Records that are texts and nothing else, and where their fields go.
struct TextRecord {
  using Home = std::string_view SieHeader::*;
  std::string_view label;
  std::array<Home, 4> homes{};
};

constexpr std::array kTextRecords = {
    TextRecord{"#FORMAT", {&SieHeader::format}},
    TextRecord{"#PROGRAM", {&SieHeader::program, &SieHeader::programVersion}},
    TextRecord{"#PROSA", {&SieHeader::comment}},
    TextRecord{"#FNAMN", {&SieHeader::companyName}},
    TextRecord{"#FTYP", {&SieHeader::companyForm}},
    TextRecord{"#FNR", {&SieHeader::companyId}},
    TextRecord{"#ORGNR", {&SieHeader::organisationNumber}},
    TextRecord{"#BKOD", {&SieHeader::industry}},
    TextRecord{"#ADRESS",
               {&SieHeader::contact, &SieHeader::street, &SieHeader::postalAddress,
                &SieHeader::telephone}},
    TextRecord{"#TAXAR", {&SieHeader::taxYear}},
    TextRecord{"#KPTYP", {&SieHeader::chartOfAccounts}},
    TextRecord{"#VALUTA", {&SieHeader::currency}},
};

std::optional<SieAccountType> accountType(std::string_view letter) {
  constexpr std::string_view kLetters = "TSIK";
  const auto found = letter.size() == 1 ? kLetters.find(letter) : std::string_view::npos;
  if (found == std::string_view::npos) return std::nullopt;
  return static_cast<SieAccountType>(found);
}

}  // namespace

// ---- The company and its years

void RecordReader::readText() {
  for (const TextRecord& record : kTextRecords) {
    if (record.label != field(0)) continue;
    for (std::size_t i = 0; i < record.homes.size() && record.homes[i] != nullptr; ++i) {
      file_.header.*record.homes[i] = field(i + 1);
    }
  }
}

void RecordReader::readImportFlag() { file_.header.alreadyImported = field(1) == "1"; }

void RecordReader::readGenerated() {
  file_.header.generated = optionalDay(1);
  file_.header.generatedBy = field(2);
}

void RecordReader::readBalanceDay() { file_.header.balanceDay = optionalDay(1); }

void RecordReader::readType() {
  require(1);
  std::string_view type = field(1);
  // 4I and 4E are names for uses of type 4 and stand in some files.
  if (type == "4I" || type == "4E") type = "4";
  const std::optional<int> number = parseWhole(type);
  if (!number || *number < 1 || *number > 4) {
    fail(InterchangeErrorCode::UnsupportedType,
         "SIE type " + quoted(type) + " is not read. Export the file as SIE type 1, 2, 3 or 4.",
         type);
  }
  file_.header.type = *number;
  file_.header.typeDeclared = true;
}

void RecordReader::readYear() {
  require(3);
  allow(3);
  const SieYear year{yearNumber(1), day(2), day(3), lines_.number()};
  if (year.last < year.first) {
    fail(InterchangeErrorCode::MalformedDate,
         "the year ends before it starts. Give its first day, then its last.", field(3));
  }
  if (const SieYear* other = file_.year(year.number); other == nullptr) {
    charge();
    file_.years.push_back(year);
  } else if (other->first != year.first || other->last != year.last) {
    fail(InterchangeErrorCode::ConflictingRecords,
         "year " + std::to_string(year.number) + " has other days in line " +
             std::to_string(other->line) + ". Keep the right one of the two.",
         field(1));
  }
}

// ---- Accounts and balances

SieAccount& RecordReader::account(int number) {
  const bool isLast = !file_.accounts.empty() && file_.accounts.back().number == number;
  if (isLast) return file_.accounts.back();
  const auto [found, isNew] = accountIndex_.try_emplace(number, file_.accounts.size());
  if (isNew) {
    charge();
    file_.accounts.emplace_back();
    file_.accounts.back().number = number;
    file_.accounts.back().line = lines_.number();
  }
  return file_.accounts[found->second];
}

void RecordReader::readAccount() {
  require(1);
  allow(2);
  SieAccount& told = account(accountNumber(1));
  if (!told.declared) {
    told.declared = true;
    told.name = field(2);
  } else if (told.name != field(2)) {
    remark(SieRemarkKind::RepeatedAccount);
  }
}

void RecordReader::readAccountType() {
  require(2);
  const int number = accountNumber(1);
  const std::optional<SieAccountType> type = accountType(field(2));
  if (!type) return remark(SieRemarkKind::UnknownAccountType);
  account(number).type = type;
}

void RecordReader::readTaxCode() {
  require(2);
  SieAccount& told = account(accountNumber(1));
  if (told.taxCode.empty()) {
    told.taxCode = field(2);
  } else if (told.taxCode != field(2)) {
    remark(SieRemarkKind::FurtherTaxCode);
  }
}

void RecordReader::readUnit() {
  require(2);
  account(accountNumber(1)).unit = field(2);
}

void RecordReader::readBalance(std::vector<SieBalance>& into) {
  require(3);
  allow(4);
  charge();
  into.push_back(
      {yearNumber(1), accountNumber(2), amount(3), optionalQuantity(4), lines_.number()});
}

// ---- Dimensions and objects

void RecordReader::addDimension(std::optional<int> parent, std::size_t fields) {
  require(1);
  allow(fields);
  charge();
  file_.dimensions.push_back({dimensionNumber(field(1)), parent, field(2), lines_.number()});
}

void RecordReader::readDimension() { addDimension(std::nullopt, 2); }

void RecordReader::readSubdimension() {
  require(3);
  addDimension(dimensionNumber(field(3)), 3);
}

void RecordReader::readObject() {
  require(2);
  allow(3);
  charge();
  file_.objects.push_back({dimensionNumber(field(1)), field(2), field(3), lines_.number()});
}

// ---- Vouchers and rows

// A vector that doubles touches twice the memory. How far the text has been read says how many
// records are to come; eight times what is there is the most that a guess may cost.
template <typename Record>
void RecordReader::makeRoom(std::vector<Record>& records) const {
  constexpr std::size_t kTooFewToGuess = 1000;
  const std::size_t count = records.size();
  if (count < records.capacity() || count < kTooFewToGuess) return;
  const double share = static_cast<double>(lines_.position()) / static_cast<double>(text_.size());
  const auto expected = static_cast<std::size_t>(static_cast<double>(count) / share * 1.05);
  records.reserve(std::clamp(expected, 2 * count, 8 * count));
}

void RecordReader::readVoucher() {
  require(3);
  allow(6);
  charge();
  SieVoucher voucher;
  voucher.series = field(1);
  voucher.number = field(2);
  voucher.date = day(3);
  voucher.text = field(4);
  voucher.registered = optionalDay(5);
  voucher.sign = field(6);
  voucher.line = lines_.number();
  voucher.firstRow = static_cast<std::uint32_t>(file_.rows.size());
  makeRoom(file_.vouchers);
  file_.vouchers.push_back(voucher);
  if (fields_.hasList()) {
    inVoucher_ = true;
  } else {
    voucherMayOpen_ = true;
  }
}

void RecordReader::readOrdinaryRow() {
  SieRow told = row(SieRowKind::Ordinary);
  if (!addedRows_.empty()) {
    const auto repeated = addedRows_.take(told, file_.objectsOf(told));
    if (repeated) {
      told.kind = SieRowKind::Added;
      file_.rows[*repeated] = told;
      return;
    }
  }
  push(told);
}

void RecordReader::readAddedRow() {
  const SieRow told = row(SieRowKind::Added);
  addedRows_.add(told, file_.objectsOf(told), file_.rows.size());
  push(told);
}

void RecordReader::readRemovedRow() { push(row(SieRowKind::Removed)); }

SieRow RecordReader::row(SieRowKind kind) {
  require(2);
  allow(6);
  charge();
  SieRow told;
  told.kind = kind;
  told.account = accountNumber(1);
  told.amount = amount(2);
  told.date = optionalDay(3);
  told.text = field(4);
  told.quantity = optionalQuantity(5);
  told.sign = field(6);
  told.line = lines_.number();
  readObjects(told);
  return told;
}

void RecordReader::readObjects(SieRow& row) {
  row.firstObject = static_cast<std::uint32_t>(file_.rowObjects.size());
  const auto list = fields_.list();
  const bool inPlace = !fields_.hasList() || fields_.listPosition() == 2;
  const bool blank = list.size() == 1 && list.front().text.empty();
  if (!inPlace || (list.size() % 2 != 0 && !blank)) {
    fail(
        InterchangeErrorCode::MalformedField,
        "the objects of a row are pairs of a dimension and an object, in braces after the account, "
        "as in {1 \"North\" 6 \"0015\"}.");
  }
  for (std::size_t i = 0; i + 1 < list.size(); i += 2) {
    if (list[i + 1].text.empty()) continue;
    charge();
    makeRoom(file_.rowObjects);
    file_.rowObjects.push_back({dimensionNumber(list[i].text), list[i + 1].text});
    ++row.objectCount;
  }
}

void RecordReader::push(const SieRow& row) {
  makeRoom(file_.rows);
  file_.rows.push_back(row);
  ++file_.vouchers.back().rowCount;
}

// ---- Fields

void RecordReader::require(std::size_t fields) {
  if (fields_.size() > fields) return;
  fail(InterchangeErrorCode::MissingField,
       std::string(field(0)) + " needs " + std::to_string(fields) +
           " fields after its label and has " + std::to_string(fields_.size() - 1) +
           ". Add what is missing or export the file again.",
       field(0));
}

void RecordReader::allow(std::size_t fields) {
  if (fields_.size() > fields + 1) remark(SieRemarkKind::ExtraFields);
}

int RecordReader::whole(std::string_view text, int lowest, int highest,
                        std::string_view what) const {
  const std::optional<int> value = parseWhole(text);
  if (value && *value >= lowest && *value <= highest) return *value;
  fail(InterchangeErrorCode::MalformedNumber,
       quoted(text) + " is no " + std::string(what) + ". It must be a whole number from " +
           std::to_string(lowest) + " to " + std::to_string(highest) + ".",
       text);
}

int RecordReader::accountNumber(std::size_t index) const {
  return whole(field(index), 1, kHighestAccount, "account number");
}

int RecordReader::yearNumber(std::size_t index) const {
  return whole(field(index), -kFarthestYear, kFarthestYear, "number of a year");
}

int RecordReader::dimensionNumber(std::string_view text) const {
  return whole(text, 0, kHighestAccount, "number of a dimension");
}

Decimal RecordReader::amount(std::size_t index) const {
  if (const std::optional<Decimal> value = parseAmount(field(index))) return *value;
  fail(InterchangeErrorCode::MalformedAmount,
       quoted(field(index)) +
           " is no amount. Write it with a decimal point and without blanks, as in -1234.50.",
       field(index));
}

CivilDate RecordReader::day(std::size_t index) const {
  if (const std::optional<CivilDate> value = parseDay(field(index))) return *value;
  fail(InterchangeErrorCode::MalformedDate,
       quoted(field(index)) +
           " is no day. Write year, month and day as eight digits, as in 20110131.",
       field(index));
}

std::optional<CivilDate> RecordReader::optionalDay(std::size_t index) {
  const std::optional<CivilDate> value = parseDay(field(index));
  if (!value && !field(index).empty()) remark(SieRemarkKind::UnreadableOptional);
  return value;
}

std::optional<Decimal> RecordReader::optionalQuantity(std::size_t index) {
  const std::optional<Decimal> value = parseAmount(field(index));
  if (!value && !field(index).empty()) remark(SieRemarkKind::UnreadableOptional);
  return value;
}

}  // namespace bokfolio::sie_internal
