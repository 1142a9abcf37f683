#include "input.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>

#include "bokfolio/platform/date_text.hpp"
#include "failure.hpp"

namespace bokfolio::cli {

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

std::optional<int> twoDigits(std::string_view text, std::size_t at) {
  if (at + 2 > text.size()) return std::nullopt;
  const auto number = numberFromText(text.substr(at, 2));
  return number ? std::optional(static_cast<int>(*number)) : std::nullopt;
}

// "10:15" or "10:15:30".
std::optional<CivilTime> timeFromText(std::string_view text) {
  if (text.size() != 5 && text.size() != 8) return std::nullopt;
  if (text[2] != ':' || (text.size() == 8 && text[5] != ':')) return std::nullopt;
  const auto hour = twoDigits(text, 0);
  const auto minute = twoDigits(text, 3);
  const auto second = text.size() == 8 ? twoDigits(text, 6) : 0;
  if (!hour || !minute || !second) return std::nullopt;
  if (*hour > 23 || *minute > 59 || *second > 59) return std::nullopt;
  return CivilTime{*hour, *minute, *second};
}

[[noreturn]] void refuseFile(const std::string& path, const std::string& why,
                             const std::string& remedy = "") {
  throw Failure(ExitStatus::Input, why, remedy).about(path);
}

}  // namespace

CivilDate dayFromText(std::string_view text, const Locale& locale) {
  if (const auto day = parseDay(text, locale)) return *day;
  throw Failure(ExitStatus::Usage, "\"" + std::string(text) + "\" is no day of the calendar",
                "write it like 2025-03-31");
}

Date instantFromText(std::string_view text, const TimeZone& zone) {
  const std::optional<CivilDate> day = parseDay(text.substr(0, 10), Locale("C"));
  std::optional<CivilTime> time = CivilTime{12, 0, 0};
  if (text.size() > 10) {
    time = text[10] == 'T' || text[10] == ' ' ? timeFromText(text.substr(11)) : std::nullopt;
  }
  if (!day || !time) {
    throw Failure(ExitStatus::Usage, "\"" + std::string(text) + "\" is no point in time",
                  "write it like 2025-03-31T10:15:30");
  }
  return dateFromCivil(*day, *time, zone);
}

std::optional<std::int64_t> numberFromText(std::string_view text) {
  std::int64_t number = 0;
  if (text.empty() || text[0] < '0' || text[0] > '9') return std::nullopt;
  const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (fault != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

RowText rowFromText(std::string_view text, const Locale& locale) {
  const std::size_t first = text.find(':');
  const std::size_t second = first == std::string_view::npos ? first : text.find(':', first + 1);
  RowText row;
  row.account = text.substr(0, first);
  const bool surplus =
      second != std::string_view::npos && text.find(':', second + 1) != std::string_view::npos;
  if (row.account.empty() || surplus) {
    throw Failure(ExitStatus::Usage, "\"" + std::string(text) + "\" is no row",
                  "write ACCOUNT:AMOUNT or ACCOUNT:AMOUNT:TAG, such as 1930:-500");
  }
  if (first == std::string_view::npos) return row;
  const std::string_view amount =
      text.substr(first + 1, second == std::string_view::npos ? second : second - first - 1);
  if (!amount.empty()) row.amount = amountFromText(amount, locale);
  if (second != std::string_view::npos) row.tag = text.substr(second + 1);
  return row;
}

std::string currencyFromText(const std::string& text) {
  const bool letters =
      std::all_of(text.begin(), text.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
  if (letters && text.size() == 3) return text;
  throw Failure(ExitStatus::Usage, "\"" + text + "\" is no currency",
                "name one by its three capital letters, such as SEK");
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string readFile(const std::string& path, std::size_t limit) {
  const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
  if (!file) refuseFile(path, std::strerror(errno), "check the name of the file");
  struct stat facts {};
  if (fstat(fileno(file.get()), &facts) == 0 && S_ISDIR(facts.st_mode)) {
    refuseFile(path, "is a folder", "name a file in it");
  }
  std::string bytes;
  char block[1 << 16];
  while (const std::size_t got = std::fread(block, 1, sizeof block, file.get())) {
    bytes.append(block, got);
    if (bytes.size() > limit) {
      refuseFile(path, "is larger than " + std::to_string(limit >> 20U) + " MiB",
                 "split it into smaller files");
    }
  }
  if (std::ferror(file.get()) != 0) refuseFile(path, std::strerror(errno));
  return bytes;
}

void writeFile(const std::string& path, const Bytes& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) refuseFile(path, "cannot be written");
}

}  // namespace bokfolio::cli
