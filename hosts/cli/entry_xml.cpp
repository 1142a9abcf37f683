#include "entry_xml.hpp"

#include "failure.hpp"
#include "input.hpp"
#include "lookup.hpp"

namespace bokfolio::cli {

namespace {

// One child of a row, as text; "" when it is not there.
std::string textOf(const XmlElement& row, std::string_view name) {
  const XmlElement* child = row.firstChild(name);
  return child != nullptr ? std::string(trimmed(child->stringValue())) : "";
}

[[noreturn]] void refuse(const std::string& what, const std::string& remedy) {
  throw Failure(ExitStatus::Input, what, remedy);
}

// Accounts and tags go by number there, never by name.
template <class T>
void checkNumber(const std::string& text, const std::string& what, const std::string& remedy,
                 T* (*find)(std::optional<std::int64_t>, Context&), const Session& session) {
  const auto number = numberFromText(text);
  if (!number) refuse("\"" + text + "\" is no number of " + what, "write a number such as 1930");
  if (find(*number, session.context()) != nullptr) return;
  throw Failure(ExitStatus::Refused, "there is no " + what.substr(what.find(' ') + 1) + " " + text,
                remedy);
}

void checkRow(const Session& session, const XmlElement& row) {
  for (const char* needed : {"account", "amount"}) {
    if (textOf(row, needed).empty()) {
      refuse("the row has no " + std::string(needed), "each row needs an account and an amount");
    }
  }
  checkNumber<Account>(textOf(row, "account"), "an account", "'bokfolio account add' adds accounts",
                       &Account::accountWithNumber, session);
  const std::string amount = textOf(row, "amount");
  if (!Decimal::parse(amount)) {
    refuse("\"" + amount + "\" is no amount", "write it like 1234.50, credit with a minus");
  }
  if (row.firstChild("tag") != nullptr) {
    checkNumber<Tag>(textOf(row, "tag"), "a tag", "'bokfolio tag add' adds tags",
                     &Tag::tagWithNumber, session);
  }
}

}  // namespace

XmlDocument readDescription(const std::string& path) {
  const XmlLimits limits;
  const std::string bytes = readFile(path, limits.bytes);
  std::optional<Error> error;
  std::optional<XmlDocument> document = XmlDocument::parse(bytes, limits, &error);
  if (document) return std::move(*document);
  Failure failure = failureOf(error, ExitStatus::Input);
  throw failure.about(path);
}

void defineFromDescription(const Session& session, Entry* entry, const XmlElement& description,
                           const std::string& path) {
  std::size_t number = 0;
  for (const XmlElement* row : description.children("row")) {
    ++number;
    try {
      checkRow(session, *row);
    } catch (Failure& failure) {
      throw failure.about(path + ": row " + std::to_string(number));
    }
  }
  if (number == 0) {
    throw Failure(ExitStatus::Input, "describes no rows", "name another file").about(path);
  }
  for (Row* row : entry->defineRowsFromXml(description)) row->setEntry(entry);
  const XmlElement* date = description.firstChild("date");
  if (date != nullptr && !entry->date()) {
    const std::string text(trimmed(date->stringValue()));
    throw Failure(ExitStatus::Input, "\"" + text + "\" is no day of the calendar",
                  "write it like 2025-03-31")
        .about(path);
  }
}

}  // namespace bokfolio::cli
