// Errors of the readers and importers of foreign files: their domain, their codes and the details
// they carry. A foreign file is never half accepted: when one of these is answered, nothing of it
// was taken. What could be done without is not an error; it is counted and listed in the answer.
#pragma once

#include <string_view>

namespace bokfolio {

inline constexpr std::string_view kInterchangeErrorDomain = "BokfolioInterchangeErrorDomain";

// Details beside the localised description, as text: the line of the file that the error is about
// (counted from 1; absent when the error is about the file as a whole) and what stood there, cut to
// a readable length.
inline constexpr std::string_view kLineErrorKey = "BFLine";
inline constexpr std::string_view kFoundTextErrorKey = "BFFoundText";

enum class InterchangeErrorCode : int {
  // Empty, binary, in a character set of two bytes a letter, or not of the expected format at all.
  NotThisFormat = 1,
  // Larger than the reader's limits: the file, a line, the fields of a line, the number of records.
  TooLarge = 2,
  // The file is of the format, but of a type of it that is not read.
  UnsupportedType = 3,
  // A line that is no record.
  MalformedLine = 4,
  // Quotes or braces that do not pair, or a list where none belongs.
  MalformedField = 5,
  // A record ends before a field that it must have.
  MissingField = 6,
  // Not a whole number in its range: an account, a year's or a dimension's number.
  MalformedNumber = 7,
  MalformedAmount = 8,
  // Not a day of the calendar, or a period that ends before it starts.
  MalformedDate = 9,
  // A record or brace in a place where it means nothing: a row outside a voucher, anything but rows
  // inside one.
  MisplacedRecord = 10,
  // The file ends, or the next voucher starts, inside a voucher.
  UnclosedVoucher = 11,
  // The file says its checksum, and its content gives another.
  ChecksumMismatch = 12,
  // The file announces a checksum and ends without it.
  ChecksumMissing = 13,
  // Two records state the same thing differently.
  ConflictingRecords = 14,
  // A year of the file overlaps a fiscal year of the document that has other bounds.
  ConflictingYear = 15,
  // The document's engine could not read what the import has to know.
  UnreadableDocument = 16,
};

}  // namespace bokfolio
