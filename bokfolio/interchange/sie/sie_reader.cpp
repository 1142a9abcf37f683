#include "bokfolio/interchange/sie/sie_reader.hpp"

#include <memory>
#include <string>
#include <utility>

#include "bokfolio/interchange/sie/internal/checksum.hpp"
#include "bokfolio/interchange/sie/internal/failure.hpp"
#include "bokfolio/interchange/sie/internal/record_reader.hpp"

namespace bokfolio {
namespace {

using sie_internal::Failure;

[[noreturn]] void refuse(InterchangeErrorCode code, const std::string& message) {
  throw Failure(code, 0, message);
}

void checkBytes(std::string_view bytes, const SieReadOptions& options) {
  if (bytes.size() > options.maxBytes) {
    refuse(InterchangeErrorCode::TooLarge, "The file is larger than " +
                                               std::to_string(options.maxBytes) +
                                               " bytes. Export a shorter period.");
  }
  if (bytes.find('\0') != std::string_view::npos) {
    refuse(InterchangeErrorCode::NotThisFormat,
           "The file is no SIE text: it is binary or written in UTF-16. Save it in the character "
           "set PC8 or UTF-8, or export it again.");
  }
  if (bytes.find_first_not_of(" \t\r\n") == std::string_view::npos) {
    refuse(InterchangeErrorCode::NotThisFormat, "The file is empty. Export it again.");
  }
  if (bytes.starts_with('<') || bytes.starts_with("\xEF\xBB\xBF<")) {
    refuse(InterchangeErrorCode::NotThisFormat,
           "The file is XML (SIE 5 is). Export the file as SIE type 1, 2, 3 or 4.");
  }
}

SieChecksum checkSum(std::string_view bytes, const SieReadOptions& options) {
  const auto result = sie_internal::checksumOf(bytes);
  if (!result) return SieChecksum::Absent;
  if (result->agrees()) return SieChecksum::Verified;
  if (options.acceptWrongChecksum) {
    return result->stated ? SieChecksum::Wrong : SieChecksum::Missing;
  }
  if (!result->stated) {
    throw Failure(InterchangeErrorCode::ChecksumMissing, result->line,
                  "#KSUMMA announces a checksum and the file ends without it. The file seems to be "
                  "cut; export it again.");
  }
  throw Failure(InterchangeErrorCode::ChecksumMismatch, result->line,
                "the content gives the checksum " + std::to_string(result->computed) +
                    ", not the one stated here. The file was changed after it was written; export "
                    "it again.",
                decodeSieText(*result->stated).text);
}

SieFile readFile(std::string_view bytes, const SieReadOptions& options) {
  checkBytes(bytes, options);
  SieDecodedText decoded = decodeSieText(bytes);
  const auto text = std::make_shared<std::string>(std::move(decoded.text));
  SieFile file;
  file.charset = decoded.charset;
  file.replacedBytes = decoded.replacedBytes;
  file.droppedControls = decoded.droppedControls;
  sie_internal::RecordReader(*text, options, file).read();
  file.text = text;
  file.checksum = checkSum(bytes, options);
  return file;
}

}  // namespace

std::optional<SieFile> readSie(std::string_view bytes, ErrorOut error) {
  return readSie(bytes, SieReadOptions{}, error);
}

std::optional<SieFile> readSie(std::string_view bytes, const SieReadOptions& options,
                               ErrorOut error) {
  try {
    return readFile(bytes, options);
  } catch (const Failure& failure) {
    if (error != nullptr) *error = failure.toError();
    return std::nullopt;
  }
}

}  // namespace bokfolio
