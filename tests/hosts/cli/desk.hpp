// Desk: a folder of its own, and the program run in it as from a shell. Clock, user, locale and
// home are fixed, so that every answer repeats.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace bokfolio::test {

using Json = nlohmann::json;

struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
};

class Desk {
 public:
  Desk();
  Desk(const Desk&) = delete;
  Desk& operator=(const Desk&) = delete;
  ~Desk();

  // Words as a shell reads them. Clock at 2025-03-15 09:00, user Anna Ek, locale en_SE.
  Outcome run(const std::string& words) const;
  // Runs and expects success.
  std::string ok(const std::string& words) const;
  Json json(const std::string& words) const;

  // Each command is refused with the message, in one line and with nothing else said, and leaves
  // the document as it is. `status`: 0 for any but success.
  void refuses(const std::string& words, const std::string& message, int status = 0) const;
  void refuses(const std::vector<std::pair<std::string, std::string>>& cases) const;

  std::string path(const std::string& name) const { return folder_ + "/" + name; }
  void write(const std::string& name, const std::string& bytes) const;
  std::string read(const std::string& name) const;
  // Does something behind the program's back to the document's file.
  void sql(const std::string& statement, const std::string& document = "book.bokfolio") const;

  // The first value that a question put to the file itself is answered with.
  std::string question(const std::string& sql, const std::string& document = "book.bokfolio") const;

  // A document book.bokfolio of 2025 with accounts 1930 Bank, 2440 Payables, 3001 Sales, 4010
  // Timber and tags 10 Kitchens, 20 Furniture.
  void furnish() const;

  // What the shell sets for every run; "LC_ALL=C" and the like may be added.
  std::string environment;

 private:
  std::string folder_;
};

// Expects what `parts` names, objects within objects likewise; what it does not name may be there.
void expectParts(const Json& json, const Json& parts);
// What each has under the key.
template <class T>
std::vector<T> eachOf(const Json& all, const char* key) {
  std::vector<T> values;
  for (const Json& each : all) values.push_back(each[key].get<T>());
  return values;
}
// "account debit credit" of each row, then what stands under the further keys, nil left out.
std::vector<std::string> rowsOf(const Json& entry, const std::vector<const char*>& further = {});
// An amount in hundredths; it must have no more decimals than these.
std::int64_t hundredths(const Json& amount);

// The bytes of a file; "" when there is none.
std::string contentOf(const std::string& path);

// A text with plain blanks and minus signs: no-break spaces and U+2212 are hard to tell in a test.
std::string plain(std::string text);

}  // namespace bokfolio::test
