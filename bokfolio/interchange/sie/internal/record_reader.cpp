#include "bokfolio/interchange/sie/internal/record_reader.hpp"

#include <array>

namespace bokfolio::sie_internal {
namespace {

std::string_view trimmed(std::string_view line) {
  const auto first = line.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return line.substr(first, line.find_last_not_of(" \t") - first + 1);
}

std::string describe(SieFieldFault fault) {
  switch (fault) {
    case SieFieldFault::UnclosedQuote:
      return "a quoted text does not end on its line. Put the closing quote on the same line.";
    case SieFieldFault::StrayQuote:
      return "a quote stands inside a quoted text. Write it as \\\" there.";
    case SieFieldFault::UnclosedBrace:
      return "a list in braces does not end on its line. Close it with }.";
    case SieFieldFault::TooManyFields:
      return "the line has more than " + std::to_string(SieFields::kMaxFields) +
             " fields. This is no record of the format; export the file again.";
    case SieFieldFault::StrayBrace:
    case SieFieldFault::None:
      break;
  }
  return "a brace stands where none belongs. Put texts that hold braces in quotes.";
}

}  // namespace

const RecordReader::Known* RecordReader::known(std::string_view label) {
  using R = RecordReader;
  // The frequent ones first: the search is linear.
  static constexpr std::array kKnown = {
      Known{"#TRANS", &R::readOrdinaryRow, Place::Voucher},
      Known{"#VER", &R::readVoucher, Place::Top},
      Known{"#PSALDO", &R::countPeriodBalance, Place::Top},
      Known{"#PBUDGET", &R::countPeriodBudget, Place::Top},
      Known{"#KONTO", &R::readAccount, Place::Top},
      Known{"#KTYP", &R::readAccountType, Place::Top},
      Known{"#SRU", &R::readTaxCode, Place::Top},
      Known{"#ENHET", &R::readUnit, Place::Top},
      Known{"#IB", &R::readOpeningBalance, Place::Top},
      Known{"#UB", &R::readClosingBalance, Place::Top},
      Known{"#RES", &R::readResult, Place::Top},
      Known{"#OIB", &R::countObjectOpening, Place::Top},
      Known{"#OUB", &R::countObjectClosing, Place::Top},
      Known{"#OBJEKT", &R::readObject, Place::Top},
      Known{"#BTRANS", &R::readRemovedRow, Place::Voucher},
      Known{"#RTRANS", &R::readAddedRow, Place::Voucher},
      Known{"#DIM", &R::readDimension, Place::Top},
      Known{"#UNDERDIM", &R::readSubdimension, Place::Top},
      Known{"#RAR", &R::readYear, Place::Top},
      Known{"#FLAGGA", &R::readImportFlag, Place::Top},
      Known{"#SIETYP", &R::readType, Place::Top},
      Known{"#GEN", &R::readGenerated, Place::Top},
      Known{"#OMFATTN", &R::readBalanceDay, Place::Top},
      Known{"#KSUMMA", &R::readNothing, Place::Top},
      Known{"#FORMAT", &R::readText, Place::Top},
      Known{"#PROGRAM", &R::readText, Place::Top},
      Known{"#PROSA", &R::readText, Place::Top},
      Known{"#FNAMN", &R::readText, Place::Top},
      Known{"#FTYP", &R::readText, Place::Top},
      Known{"#FNR", &R::readText, Place::Top},
      Known{"#ORGNR", &R::readText, Place::Top},
      Known{"#BKOD", &R::readText, Place::Top},
      Known{"#ADRESS", &R::readText, Place::Top},
      Known{"#TAXAR", &R::readText, Place::Top},
      Known{"#KPTYP", &R::readText, Place::Top},
      Known{"#VALUTA", &R::readText, Place::Top},
  };
  for (const Known& record : kKnown) {
    if (record.label == label) return &record;
  }
  return nullptr;
}

void RecordReader::read() {
  while (lines_.next()) {
    if (lines_.line().size() > options_.maxLineLength) {
      fail(InterchangeErrorCode::TooLarge,
           "the line is longer than " + std::to_string(options_.maxLineLength) +
               " bytes. No record of the format is that long; export the file again.");
    }
    const std::string_view line = trimmed(lines_.line());
    if (!line.empty()) readLine(line);
  }
  finish();
}

void RecordReader::readLine(std::string_view line) {
  if (line == "{") return openBrace();
  if (line == "}") return closeBrace();
  if (skippedBraces_ > 0) {
    ++file_.notKept.unknownLabels[unknownIndex_].linesInBraces;
    return;
  }
  if (line.front() != '#') {
    fail(anyKnown_ ? InterchangeErrorCode::MalformedLine : InterchangeErrorCode::NotThisFormat,
         quoted(line) + " is no SIE record. Records start with # and a label, each on one line.",
         line);
  }
  splitLine(line);
  readRecord();
}

void RecordReader::splitLine(std::string_view line) {
  const SieFieldFault fault = fields_.split(line);
  if (fault != SieFieldFault::None) {
    // Some programs open a voucher's braces at the end of its line.
    const bool opensVoucher =
        fault == SieFieldFault::UnclosedBrace && field(0) == "#VER" && fields_.list().empty();
    if (!opensVoucher) fail(InterchangeErrorCode::MalformedField, describe(fault), line);
  }
  if (fields_.anyEscaped()) unescape();
}

void RecordReader::unescape() {
  for (SieField& each : fields_.all()) {
    if (!each.escaped) continue;
    const auto offset = static_cast<std::size_t>(each.text.data() - text_.data());
    each.text = each.text.substr(0, unescapeSieField(text_.data() + offset, each.text.size()));
    each.escaped = false;
  }
}

void RecordReader::readRecord() {
  const std::string_view label = field(0);
  const Known* record = known(label);
  voucherMayOpen_ = unknownMayOpen_ = false;
  if (record == nullptr) return skipUnknown(label);
  anyKnown_ = true;
  checkPlace(*record);
  (this->*record->handler)();
}

void RecordReader::checkPlace(const Known& record) {
  if (inVoucher_ == (record.place == Place::Voucher)) return;
  if (!inVoucher_) {
    fail(InterchangeErrorCode::MisplacedRecord,
         std::string(record.label) +
             " stands outside a voucher. Rows belong between the braces that follow #VER.",
         record.label);
  }
  const std::string start = std::to_string(file_.vouchers.back().line);
  if (record.label == "#VER") {
    fail(InterchangeErrorCode::UnclosedVoucher,
         "a voucher starts before the one of line " + start +
             " is closed. Put } after the last row of that voucher.",
         record.label);
  }
  fail(InterchangeErrorCode::MisplacedRecord,
       std::string(record.label) + " stands among the rows of the voucher of line " + start +
           ". Only rows belong there; is a } missing?",
       record.label);
}

void RecordReader::skipUnknown(std::string_view label) {
  std::vector<SieUnknownLabel>& labels = file_.notKept.unknownLabels;
  if (unknownLabelIndex_.size() >= options_.maxUnknownLabels &&
      !unknownLabelIndex_.contains(label)) {
    label = {};
  }
  const auto [found, isNew] = unknownLabelIndex_.try_emplace(label, labels.size());
  if (isNew) labels.push_back({label, 0, 0, lines_.number()});
  unknownIndex_ = found->second;
  ++labels[unknownIndex_].count;
  unknownMayOpen_ = true;
}

void RecordReader::openBrace() {
  if (skippedBraces_ > 0 || unknownMayOpen_) {
    ++skippedBraces_;
  } else if (voucherMayOpen_) {
    inVoucher_ = true;
  } else {
    fail(InterchangeErrorCode::MisplacedRecord,
         "an opening brace follows no voucher. Braces hold the rows of the #VER before them.", "{");
  }
  voucherMayOpen_ = unknownMayOpen_ = false;
}

void RecordReader::closeBrace() {
  if (skippedBraces_ > 0) {
    --skippedBraces_;
  } else if (inVoucher_) {
    endVoucher();
  } else {
    fail(InterchangeErrorCode::MisplacedRecord,
         "a closing brace closes nothing. Is the { after #VER missing?", "}");
  }
  voucherMayOpen_ = unknownMayOpen_ = false;
}

void RecordReader::endVoucher() {
  addedRows_.forEach(
      [this](std::size_t index) { remark(SieRemarkKind::AddedRowAlone, file_.rows[index].line); });
  addedRows_.clear();
  inVoucher_ = false;
}

void RecordReader::finish() {
  if (inVoucher_ || skippedBraces_ > 0) {
    const std::uint32_t start = inVoucher_ ? file_.vouchers.back().line
                                           : file_.notKept.unknownLabels[unknownIndex_].firstLine;
    throw Failure(InterchangeErrorCode::UnclosedVoucher, start,
                  "the braces of this record are still open at the end of the file. The file seems "
                  "to be cut; export it again.");
  }
  if (!anyKnown_) {
    throw Failure(InterchangeErrorCode::NotThisFormat, 0,
                  "The file holds no SIE record. Choose a file that a bookkeeping program wrote as "
                  "SIE type 1, 2, 3 or 4.");
  }
  if (!file_.header.typeDeclared) file_.header.type = file_.vouchers.empty() ? 1 : 4;
}

void RecordReader::remark(SieRemarkKind kind, std::uint32_t line) {
  ++file_.remarkCounts[static_cast<std::size_t>(kind)];
  if (file_.remarks.size() < options_.maxRemarks) file_.remarks.push_back({kind, line});
}

void RecordReader::charge() {
  if (++records_ > options_.maxRecords) {
    fail(InterchangeErrorCode::TooLarge, "the file has more than " +
                                             std::to_string(options_.maxRecords) +
                                             " records. Export a shorter period.");
  }
}

void RecordReader::fail(InterchangeErrorCode code, const std::string& message,
                        std::string_view found) const {
  throw Failure(code, lines_.number(), message, found);
}

}  // namespace bokfolio::sie_internal
