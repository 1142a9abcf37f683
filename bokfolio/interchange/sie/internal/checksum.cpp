#include "bokfolio/interchange/sie/internal/checksum.hpp"

#include <array>
#include <charconv>
#include <string>

#include "bokfolio/interchange/sie/sie_text.hpp"

namespace bokfolio::sie_internal {
namespace {

constexpr std::string_view kLabel = "#KSUMMA";

constexpr std::array<std::uint32_t, 256> crcTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t i = 0; i < table.size(); ++i) {
    std::uint32_t value = i;
    for (int bit = 0; bit < 8; ++bit) {
      value = (value & 1U) != 0 ? 0xEDB88320U ^ (value >> 1U) : value >> 1U;
    }
    table[i] = value;
  }
  return table;
}

constexpr std::array<std::uint32_t, 256> kTable = crcTable();

std::uint32_t addField(const SieField& field, std::uint32_t crc) {
  if (!field.escaped) return crc32(field.text, crc);
  std::string plain(field.text);
  plain.resize(unescapeSieField(plain.data(), plain.size()));
  return crc32(plain, crc);
}

}  // namespace

std::uint32_t crc32(std::string_view bytes, std::uint32_t crc) noexcept {
  crc = ~crc;
  for (const char c : bytes)
    crc = kTable[(crc ^ static_cast<unsigned char>(c)) & 0xFFU] ^ (crc >> 8U);
  return ~crc;
}

bool ChecksumResult::agrees() const {
  if (!stated) return false;
  std::uint32_t value = 0;
  const char* end = stated->data() + stated->size();
  const auto [stop, fault] = std::from_chars(stated->data(), end, value);
  return fault == std::errc() && stop == end && value == computed;
}

std::optional<ChecksumResult> checksumOf(std::string_view bytes) {
  std::optional<ChecksumResult> result;
  SieFields fields;
  for (SieLines lines(bytes); lines.next();) {
    if (!result && lines.line().find(kLabel) == std::string_view::npos) continue;
    fields.split(lines.line());
    const bool marks = fields[0].text == kLabel;
    if (!result && marks) {
      result = ChecksumResult{0, std::nullopt, lines.number()};
    } else if (marks) {
      result->stated = fields[1].text;
      result->line = lines.number();
      break;
    } else if (result) {
      for (const SieField& field : fields.all())
        result->computed = addField(field, result->computed);
    }
  }
  return result;
}

}  // namespace bokfolio::sie_internal
