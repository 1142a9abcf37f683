#include "tests/hosts/cli/desk.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "bokfolio/store/persistence/sqlite/internal/sealing_vfs.hpp"

namespace bokfolio::test {

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

Desk::Desk() {
  std::string name = testing::TempDir() + "bokfolio-desk-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
  folder_ = name;
}

Desk::~Desk() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

Outcome Desk::run(const std::string& words) const {
  const std::string output = folder_ + ".out";
  const std::string errors = folder_ + ".err";
  const std::string command =
      "cd '" + folder_ + "' && env -u BOKFOLIO_DOCUMENT HOME='" + folder_ +
      "' LC_ALL=en_SE BOKFOLIO_RESOURCES=" BOKFOLIO_SOURCE_DIR "/resources " + environment +
      " " BOKFOLIO_CLI " --now 2025-03-15T09:00:00 --user 'Anna Ek' " + words + " >'" + output +
      "' 2>'" + errors + "' </dev/null";
  const int raw = std::system(command.c_str());
  Outcome outcome{WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, contentOf(output), contentOf(errors)};
  std::filesystem::remove(output);
  std::filesystem::remove(errors);
  return outcome;
}

std::string Desk::ok(const std::string& words) const {
  const Outcome outcome = run(words);
  EXPECT_EQ(outcome.status, 0) << words << "\n" << outcome.err;
  EXPECT_EQ(outcome.err, "") << words;
  return outcome.out;
}

Json Desk::json(const std::string& words) const {
  const Outcome outcome = run("--json " + words);
  if (outcome.status != 0 || !outcome.err.empty()) {
    throw std::runtime_error(words + ": " + outcome.err);
  }
  return Json::parse(outcome.out);
}

void Desk::refuses(const std::string& words, const std::string& message, int status) const {
  const std::string before = read("book.bokfolio");
  const Outcome outcome = run(words);
  EXPECT_TRUE(status == 0 ? outcome.status > 0 : outcome.status == status)
      << words << ": " << outcome.status;
  EXPECT_THAT(plain(outcome.err), testing::HasSubstr(message)) << words;
  EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  EXPECT_EQ(outcome.out, "") << words;
  EXPECT_EQ(read("book.bokfolio"), before) << words;
}

void Desk::refuses(const std::vector<std::pair<std::string, std::string>>& cases) const {
  for (const auto& [words, message] : cases) refuses(words, message);
}

void Desk::write(const std::string& name, const std::string& bytes) const {
  std::ofstream(path(name), std::ios::binary) << bytes;
}

std::string Desk::read(const std::string& name) const { return contentOf(path(name)); }

void Desk::sql(const std::string& statement, const std::string& document) const {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open_v2(path(document).c_str(), &database, SQLITE_OPEN_READWRITE,
                            internal::sealingVfs()),
            SQLITE_OK);
  char* message = nullptr;
  EXPECT_EQ(sqlite3_exec(database, statement.c_str(), nullptr, nullptr, &message), SQLITE_OK)
      << statement << ": " << (message != nullptr ? message : "");
  EXPECT_GT(sqlite3_changes(database), 0) << statement;
  sqlite3_free(message);
  sqlite3_close(database);
}

std::string Desk::question(const std::string& sql, const std::string& document) const {
  sqlite3* database = nullptr;
  EXPECT_EQ(sqlite3_open_v2(path(document).c_str(), &database, SQLITE_OPEN_READONLY, nullptr),
            SQLITE_OK);
  std::string answer;
  const auto take = [](void* into, int, char** values, char**) {
    auto& text = *static_cast<std::string*>(into);
    if (text.empty() && values[0] != nullptr) text = values[0];
    return 0;
  };
  EXPECT_EQ(sqlite3_exec(database, sql.c_str(), take, &answer, nullptr), SQLITE_OK) << sql;
  sqlite3_close(database);
  return answer;
}

void Desk::furnish() const {
  ok("new book --year 2025 --chart none");
  ok("account add 1930 Bank");
  ok("account add 2440 Payables");
  ok("account add 3001 Sales");
  ok("account add 4010 Timber");
  ok("tag add 10 Kitchens");
  ok("tag add 20 Furniture");
}

void expectParts(const Json& json, const Json& parts) {
  for (const auto& [key, value] : parts.items()) {
    ASSERT_TRUE(json.contains(key)) << key;
    if (value.is_object() && json[key].is_object()) {
      expectParts(json[key], value);
    } else {
      EXPECT_EQ(json[key], value) << key;
    }
  }
}

std::vector<std::string> rowsOf(const Json& entry, const std::vector<const char*>& further) {
  std::vector<std::string> rows;
  for (const Json& row : entry["rows"]) {
    std::string text = row["account"].dump();
    for (const char* side : {"debit", "credit"}) text += " " + row[side].get<std::string>();
    for (const char* key : further) {
      if (row[key].is_null()) continue;
      text += " " + (row[key].is_string() ? row[key].get<std::string>() : row[key].dump());
    }
    rows.push_back(text);
  }
  return rows;
}

std::int64_t hundredths(const Json& amount) {
  std::string digits = amount.get<std::string>();
  const std::size_t point = digits.find('.');
  const std::size_t decimals = point == std::string::npos ? 0 : digits.size() - point - 1;
  EXPECT_LE(decimals, 2U) << amount;
  if (decimals > 0) digits.erase(point, 1);
  return std::stoll(digits + std::string(2 - decimals, '0'));
}

std::string plain(std::string text) {
  for (const auto& [from, to] : {std::pair{"\u00A0", " "}, std::pair{"\u2212", "-"}}) {
    const std::string mark = from;
    for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at)) {
      text.replace(at, mark.size(), to);
    }
  }
  return text;
}

}  // namespace bokfolio::test
