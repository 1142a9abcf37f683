// Reader of Swedish SIE text files, types 1 to 4 (4E and 4I): bytes in, a SieFile out. It knows the
// records of the format and nothing of this library's books. A file that breaks the format is
// refused as a whole with one error that names the line and what to do; what the format lets a
// program ignore is counted in the result.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/interchange/interchange_error.hpp"
#include "bokfolio/interchange/sie/sie_file.hpp"
#include "bokfolio/platform/error.hpp"

namespace bokfolio {

// Bounds on what comes from outside. A file beyond one of them is refused (TooLarge), never cut.
struct SieReadOptions {
  // Reading takes about five times as much memory, ten times where records are as short as they can
  // be. A million rows take some 60 MiB.
  std::size_t maxBytes = std::size_t{256} << 20;
  std::size_t maxLineLength = std::size_t{1} << 16;  // in bytes of UTF-8
  // Rows, vouchers, balances, accounts, objects and so on together. A row takes about 130 bytes.
  std::size_t maxRecords = 20'000'000;
  std::size_t maxRemarks = 1000;
  std::size_t maxUnknownLabels = 200;
  // Read a file although its #KSUMMA is wrong or missing; SieFile::checksum then says so.
  bool acceptWrongChecksum = false;
};

// Reads a whole file. nullopt when it is refused; the error is in kInterchangeErrorDomain with an
// InterchangeErrorCode, its description is a sentence in English that names the line, what stood
// there and the remedy, and kLineErrorKey and kFoundTextErrorKey hold the first two alone.
//
// Rules where files differ from the format or the format is silent:
// - The character set is what the bytes say, not #FORMAT. See detectSieCharset.
// - Accounts, years and dimensions are whole numbers (accounts 1 to 999999999). Amounts are digits
//   with an optional sign and decimal point, at most 18 digits before it and 20 after. Days are
//   eight digits. A required value that reads otherwise refuses the file; an optional day or
//   quantity is left out with a remark.
// - An #RTRANS and the first later #TRANS of the voucher with the same account, amount and objects
//   are one row; without such a #TRANS the #RTRANS counts by itself, with a remark. #BTRANS is a
//   removed row. A #TRANS that stands before its #RTRANS is a row of its own.
// - A label that is not known is skipped and counted, also inside a voucher; so are the braces, and
//   what is in them, that follow one. #PSALDO, #PBUDGET, #OIB and #OUB are counted only.
// - A header record that is repeated replaces the earlier one. Two #RAR of one number must agree.
// - #KSUMMA: the CRC-32 (polynomial EDB88320 reflected, as in zip files) of all fields, labels with
//   their # included, between the first #KSUMMA and the next, in the bytes of the file's own
//   character set; blanks, line ends, quotes around fields, the backslash of an escaped quote and
//   braces do not count. Fields of unknown records do.
//
// One pass after the conversion to UTF-8, linear in the size of the file (n log n in the accounts
// and in a voucher's added rows): about 10 ms a megabyte, and memory of about five times the file.
BOKFOLIO_EXPORT std::optional<SieFile> readSie(std::string_view bytes, ErrorOut error = nullptr);
BOKFOLIO_EXPORT std::optional<SieFile> readSie(std::string_view bytes,
                                               const SieReadOptions& options,
                                               ErrorOut error = nullptr);

}  // namespace bokfolio
