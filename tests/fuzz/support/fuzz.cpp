#include "tests/fuzz/support/fuzz.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "bokfolio/model/document.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "tests/world/world.hpp"

namespace bokfolio::fuzz {

namespace {

constexpr std::size_t kLongestSentence = 2000;

void appendEscaped(std::string& out, std::string_view text) {
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\t':
      case '\n':
      case '\r':
        out += "&#" + std::to_string(c) + ";";
        break;
      default:
        out += c;
    }
  }
}

void append(std::string& out, const XmlElement& element) {
  out += '<';
  out += element.name();
  for (const XmlAttribute& attribute : element.attributes()) {
    out += ' ' + attribute.name + "=\"";
    appendEscaped(out, attribute.value);
    out += '"';
  }
  out += '>';
  // The texts of the children are parts of the element's own.
  const std::string_view whole = element.stringValue();
  const char* at = whole.data();
  for (const XmlElement* child : element.children()) {
    const std::string_view inner = child->stringValue();
    appendEscaped(out, {at, static_cast<std::size_t>(inner.data() - at)});
    append(out, *child);
    at = inner.data() + inner.size();
  }
  appendEscaped(out, {at, static_cast<std::size_t>(whole.data() + whole.size() - at)});
  out += "</" + std::string(element.name()) + '>';
}

std::unique_ptr<Context> makeBook() {
  test::TestWorld world("sv_SE");
  auto context = openInMemory(world.environment);
  FiscalYear::createFiscalYearWithDate(context->environment().now(), *context);
  for (const auto& [number, type] :
       {std::pair{1910, AccountType::Asset}, std::pair{1930, AccountType::Asset},
        std::pair{3010, AccountType::Income}}) {
    auto* account = context->insert<Account>();
    account->setNumber(number);
    account->setName("Account " + std::to_string(number));
    account->setType(type);
  }
  auto* tag = context->insert<Tag>();
  tag->setNumber(1);
  context->insert<Entry>();
  context->insert<Invoice>();
  world.runLoop->advance(1'000'000);
  std::optional<Error> error;
  expect(context->save(&error), "the book can be saved",
         error ? error->localizedDescription() : "");
  return context;
}

class Scratch {
 public:
  Scratch() {
    const char* memory = "/dev/shm";
    std::error_code failure;
    const auto base = std::filesystem::is_directory(memory, failure)
                          ? std::filesystem::path(memory)
                          : std::filesystem::temp_directory_path();
    path_ = (base / "bokfolio-fuzz-XXXXXX").string();
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no folder to work in");
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() {
    std::error_code failure;
    std::filesystem::remove_all(path_, failure);
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace

void expect(bool holds, std::string_view what, std::string_view detail) {
  if (holds) return;
  throw Broken("it was expected that " + std::string(what) +
               (detail.empty() ? "" : ": " + std::string(detail)));
}

void expectExplained(bool answered, const std::optional<Error>& error) {
  expect(answered != error.has_value(), "a refusal has an error, and an answer has none");
  if (!error) return;
  const std::string& sentence = error->localizedDescription();
  expect(!sentence.empty() && !error->domain().empty(), "an error says what is wrong");
  expect(sentence.size() <= kLongestSentence, "an error is a sentence, not a book", sentence);
}

std::string_view takeLine(std::string_view& rest) {
  const auto end = rest.find('\n');
  const std::string_view line = rest.substr(0, end);
  rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  return line;
}

std::string writeXml(const XmlElement& element) {
  std::string text;
  append(text, element);
  return text;
}

Context& book() {
  static const std::unique_ptr<Context> context = makeBook();
  return *context;
}

void restoreBook() {
  book().rollback();
  expect(!book().hasChanges(), "a rollback leaves nothing behind");
  const std::vector<std::string> faults = book().verify();
  expect(faults.empty(), "the book is in order", faults.empty() ? "" : faults.front());
}

const std::string& scratchFolder() {
  static const Scratch scratch;
  return scratch.path();
}

void writeBytes(const std::string& path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string readBytes(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace bokfolio::fuzz
