#include "bokfolio/interchange/sie/internal/failure.hpp"

namespace bokfolio::sie_internal {
namespace {

constexpr std::size_t kReadableLength = 60;

std::string readable(std::string_view text) {
  if (text.size() <= kReadableLength) return std::string(text);
  std::size_t end = kReadableLength;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return std::string(text.substr(0, end)) + "...";
}

}  // namespace

Failure::Failure(InterchangeErrorCode code, std::uint32_t line, const std::string& message,
                 std::string_view found)
    : std::runtime_error(line == 0 ? message : "Line " + std::to_string(line) + ": " + message),
      code_(code),
      line_(line),
      found_(readable(found)) {}

Error Failure::toError() const {
  Error error(kInterchangeErrorDomain, static_cast<int>(code_), what());
  if (line_ != 0) error.with(kLineErrorKey, std::to_string(line_));
  if (!found_.empty()) error.with(kFoundTextErrorKey, found_);
  return error;
}

std::string quoted(std::string_view text) { return "\"" + readable(text) + "\""; }

}  // namespace bokfolio::sie_internal
