#include "tests/faults/damage.hpp"

#include <sqlite3.h>

#include <random>

#include "bokfolio/model/document.hpp"
#include "bokfolio/store/persistence/sqlite/salvage.hpp"
#include "bokfolio/store/store_error.hpp"
#include "tests/faults/child.hpp"
#include "tests/faults/scenarios.hpp"

namespace bokfolio::faults {

namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kHeader = 100;

std::string valueIn(const std::string& text, const std::string& key) {
  const std::size_t at = text.find(key + '=');
  return at == std::string::npos ? "" : text.substr(at, text.find("; ", at) - at);
}

// What balances are made of: the rows of filed entries that are not struck.
Dump booked(const Dump& dump) {
  Dump result;
  for (const auto& [record, text] : dump) {
    if (!record.starts_with("Row ")) continue;
    const std::string link = valueIn(text, "entry");
    const auto entry = dump.find("Entry " + link.substr(link.find('=') + 1));
    if (entry == dump.end() || valueIn(entry->second, "fiscalYear").ends_with("=nil")) continue;
    if (valueIn(text, "status").ends_with("=1")) continue;
    std::string& counted = result[record];
    for (const char* key : {"debit", "credit", "account", "tag"}) counted += valueIn(text, key);
    for (const char* key : {"date", "fiscalYear"}) counted += valueIn(entry->second, key);
  }
  return result;
}

std::string complaint(Context& context) {
  try {
    return unsoundness(context);
  } catch (const LoadError& failure) {
    return failure.what();
  } catch (const DecimalError& failure) {
    return failure.what();
  }
}

std::optional<Dump> readWhole(Context& context) {
  try {
    return dumpOf(context);
  } catch (const LoadError&) {
    return std::nullopt;
  }
}

// Of each page: what it holds.
std::vector<std::string> regions() {
  const TemporaryFolder folder;
  writeBytes(folder / "firm", sample().bytes);
  sqlite3* database = test::openByHand(folder / "firm");
  std::vector<std::string> found;
  const auto add = [](void* into, int, char** values, char**) {
    auto& all = *static_cast<std::vector<std::string>*>(into);
    const std::string name = values[1];
    const auto page = static_cast<std::size_t>(std::stoul(values[0]));
    if (all.size() < page) all.resize(page, "free pages");
    all[page - 1] = name == "sqlite_schema" || name == "sqlite_master" ? "the schema"
                    : name.starts_with("bokfolio_sum")                 ? "kept sums"
                    : name.starts_with("bokfolio_")                    ? "the document's notes"
                    : name.starts_with("sqlite_") || name.find('.') != std::string::npos
                        ? "indexes"
                        : "records";
    return 0;
  };
  sqlite3_exec(database, "SELECT pageno, name FROM dbstat", add, &found, nullptr);
  sqlite3_close(database);
  return found;
}

Sight lookInChild(const std::string& path, OpenMode mode) {
  const std::string said = inChild([&] {
                             const Sight seen = look(path, mode);
                             return std::to_string(static_cast<int>(seen.ending)) + seen.words;
                           }).value();
  return {static_cast<Ending>(said.front() - '0'), said.substr(1)};
}

// The share of the sample's records that can be salvaged; nullopt when the file is refused.
std::optional<double> salvage(const std::string& path) {
  const std::string to = path + "-salvaged";
  const std::string said = inChild([&]() -> std::string {
                             static const auto schema = standardModel().freeze();
                             SalvageReport report;
                             std::optional<Error> error;
                             if (!salvageSqliteDocument(*schema, path, to, {}, report, &error)) {
                               expect(!wordsOf(error).empty(), "salvaging failed without words");
                               return "none";
                             }
                             const auto context = opened(to);
                             const std::string wrong = unsoundness(*context);
                             expect(wrong.empty(), "salvaged, and not sound: " + wrong);
                             std::size_t kept = 0;
                             for (const auto& [record, text] : dumpOf(*context))
                               kept += sample().dump.count(record);
                             return std::to_string(kept);
                           }).value();
  if (said == "none") return std::nullopt;
  return std::stod(said) / static_cast<double>(sample().dump.size());
}

void meet(Table& table, const std::string& fault, const std::string& bytes, OpenMode mode,
          const std::string& where) {
  const TemporaryFolder folder;
  writeBytes(folder / "firm", bytes);
  try {
    const Sight seen = lookInChild(folder / "firm", mode);
    table.count(fault, seen.ending, seen.words);
    expect(seen.ending != Ending::Unseen, "another value was taken for the one that was saved");
    expect(mode != OpenMode::ReadOnly || bytesOf(folder / "firm") == bytes, "reading wrote");
    if (seen.ending != Ending::Refused) return;
    writeBytes(folder / "firm", bytes);
    table.countWayOut(fault, salvage(folder / "firm"));
    expect(bytesOf(folder / "firm") == bytes, "salvaging wrote");
  } catch (const std::exception& broken) {
    throw Broken(fault + ", " + where + ": " + broken.what());
  }
}

OpenMode modeOf(std::uint64_t number) {
  return number % 2 == 0 ? OpenMode::ReadWrite : OpenMode::ReadOnly;
}

// Every page in turn, the header as often as a fifth of them; half of the time where there is
// something, since pages are mostly empty.
std::size_t placeOfFlip(std::uint64_t number, std::mt19937_64& random) {
  const std::string& sound = sample().bytes;
  if (number % 5 == 0) return random() % kHeader;
  const std::size_t page = number % (sound.size() / kPage) * kPage;
  std::size_t at = page + random() % kPage;
  for (int attempt = 0; attempt < 200 && random() % 256 != 0 && sound[at] == 0; ++attempt)
    at = number % 2 == 0 ? page + random() % kPage : at;
  return at;
}

}  // namespace

Sight look(const std::string& path, OpenMode mode, const Dump& after) {
  beginAnew();
  std::optional<Error> error;
  const auto context = openDocument(path, mode, world().environment, &error);
  if (context == nullptr) return {Ending::Refused, wordsOf(error)};
  // Read first, so that finding the damage is not what keeps from meeting it.
  const auto seen = readWhole(*context);
  const std::string found = complaint(*context);
  if (!found.empty()) return {Ending::Refused, generalised(found)};
  expect(seen.has_value(), "found sound, and cannot be read");
  if (*seen == sample().dump) return {Ending::Old, ""};
  if (*seen == after) return {Ending::New, ""};
  const std::string wrong = difference(booked(sample().dump), booked(*seen));
  expect(wrong.empty(), "found sound with other balances: " + wrong);
  return {Ending::Unseen, ""};
}

void damage(Table& table, std::uint64_t seed, std::uint64_t flips, std::uint64_t cuts) {
  std::mt19937_64 random(seed);
  const std::string& sound = sample().bytes;
  const std::size_t pages = sound.size() / kPage;
  for (std::uint64_t number = 0; number < cuts; ++number) {
    const std::size_t size = number % 2 == 0 ? number / 2 % pages * kPage : random() % sound.size();
    meet(table, "cut short", sound.substr(0, size), modeOf(number),
         "after " + std::to_string(size) + " bytes");
  }
  const auto held = regions();
  for (std::uint64_t number = 0; number < flips; ++number) {
    const std::size_t at = placeOfFlip(number, random);
    const auto flip = static_cast<char>(1 + random() % 255);
    std::string bytes = sound;
    bytes[at] = static_cast<char>(bytes[at] ^ flip);
    const std::string where = at < kHeader ? "the header" : held.at(at / kPage);
    meet(table, "a byte changed in " + where, bytes, modeOf(number / 5),
         "seed " + std::to_string(seed) + ", byte " + std::to_string(at) + " by " +
             std::to_string(static_cast<int>(static_cast<unsigned char>(flip))));
  }
}

}  // namespace bokfolio::faults
