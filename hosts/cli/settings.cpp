#include "settings.hpp"

#include <algorithm>

#include "failure.hpp"

namespace bokfolio::cli {

Book* findBook(const Session& session) {
  if (Book* book = Book::currentBookInContext(session.context())) return book;
  throw Failure(ExitStatus::Refused, "the document has no book",
                "make a new one with 'bokfolio new FILE'");
}

Company* findCompany(const Session& session) {
  if (Company* company = findBook(session)->company()) return company;
  throw Failure(ExitStatus::Refused, "the book has no company",
                "make a new document with 'bokfolio new FILE'");
}

void setChecked(Record* record, std::string_view key, const Value& value) {
  std::optional<Error> error;
  if (!record->setValidated(key, value, &error)) throw failureOf(error);
}

std::optional<std::string> textUnder(const Record& record, std::string_view key) {
  const Value value = record.valueForKey(key);
  const std::string* text = value.string();
  return text != nullptr ? std::optional(*text) : std::nullopt;
}

void checkCountry(const std::string& code) {
  const bool letters = std::all_of(code.begin(), code.end(), [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
  });
  if (code.empty() || (letters && code.size() == 2)) return;
  throw Failure(ExitStatus::Usage, "\"" + code + "\" is no country",
                "name it by its two letters, such as SE");
}

Value textOrNil(const std::string& text) { return text.empty() ? Value() : Value(text); }

bool yesNoFromText(const std::string& text) {
  if (text == "yes" || text == "ja") return true;
  if (text == "no" || text == "nej") return false;
  throw Failure(ExitStatus::Usage, "\"" + text + "\" is no answer", "write yes or no");
}

std::string yesNo(Host& host, bool yes) { return yes ? host.text("yes") : host.text("no"); }

}  // namespace bokfolio::cli
