// Command lines of the host: each line of an input is one, its words parted by blanks, or in
// quotes. They run one after another on a document of their own in a folder of their own, which no
// word can leave. Whatever they say, the program has no fault, a refused command leaves the
// document as it was, and the document stays sound.
#include <filesystem>
#include <iostream>
#include <sstream>
#include <vector>

#include "bokfolio/model/document.hpp"
#include "hosts/cli/failure.hpp"
#include "hosts/cli/run.hpp"
#include "tests/fuzz/support/fuzz.hpp"
#include "tests/world/world.hpp"

namespace {

using namespace bokfolio;
using fuzz::expect;

constexpr std::size_t kMostCommands = 6;
constexpr std::size_t kMostWords = 40;

// Everything written to the program's streams while it lives, for nobody to see.
class Hush {
 public:
  Hush() : out_(std::cout.rdbuf(text_.rdbuf())), err_(std::cerr.rdbuf(text_.rdbuf())) {}
  Hush(const Hush&) = delete;
  Hush& operator=(const Hush&) = delete;
  ~Hush() {
    std::cout.rdbuf(out_);
    std::cerr.rdbuf(err_);
    std::cout.clear();
    std::cerr.clear();
  }
  std::string text() const { return text_.str(); }

 private:
  std::ostringstream text_;
  std::streambuf* out_;
  std::streambuf* err_;
};

// What the program sets for the whole process and for its folder, put back at the end.
class Place {
 public:
  Place() : folder_(std::filesystem::current_path()), environment_(Environment::process()) {
    std::filesystem::current_path(fuzz::scratchFolder());
  }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;
  ~Place() {
    std::filesystem::current_path(folder_);
    Environment::process() = environment_;
  }

 private:
  std::filesystem::path folder_;
  Environment environment_;
};

std::vector<std::string> wordsOf(std::string_view line) {
  std::vector<std::string> words;
  bool inWord = false;
  bool inQuotes = false;
  for (const char c : line) {
    if (c == '"') {
      inQuotes = !inQuotes;
      if (inQuotes && !inWord) words.emplace_back();
      inWord = true;
    } else if (c == ' ' && !inQuotes) {
      inWord = false;
    } else {
      if (!inWord) words.emplace_back();
      inWord = true;
      // Without it no word leads out of the folder, or to a server.
      if (c != '/' && c != '\0') words.back() += c;
    }
    if (words.size() > kMostWords) break;
  }
  return words;
}

int perform(const std::vector<std::string>& words, std::string& said) {
  const test::TestWorld world("en_US");
  cli::Host host(world.environment);
  const Hush hush;
  const int status = cli::run(host, words);
  said = hush.text();
  return status;
}

const std::string& soundDocument() {
  static const std::string bytes = [] {
    std::string said;
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"new", "book.bokfolio", "--year", "2009"},
             {"entry", "add", "--date", "2009-02-03", "--text", "Sale", "1910:100", "3001"},
             {"article", "add", "Table", "--price", "100", "--vat", "25", "--sales", "3001",
              "--vat-account", "2611"},
             {"invoice", "new", "Firm"}}) {
      const int status = perform(words, said);
      expect(status == 0, "the book is made", said);
    }
    return fuzz::readBytes("book.bokfolio");
  }();
  return bytes;
}

void checkDocument(const std::string& line) {
  std::optional<Error> error;
  const auto document =
      openDocument("book.bokfolio", OpenMode::ReadOnly, test::TestWorld().environment, &error);
  expect(document != nullptr, "the document is there", line);
  expect(document->persistence().verify(&error), "the document is sound", line);
  const auto faults = document->verify();
  expect(faults.empty(), "the book agrees with itself", line);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Place place;
  const std::string& sound = soundDocument();
  for (const auto& file : std::filesystem::directory_iterator(".")) {
    std::filesystem::remove_all(file);
  }
  fuzz::writeBytes("book.bokfolio", sound);
  std::string_view rest = fuzz::textOf(data, size);
  for (std::size_t count = 0; count < kMostCommands && !rest.empty(); ++count) {
    const std::string line(fuzz::takeLine(rest));
    const std::string before = fuzz::readBytes("book.bokfolio");
    std::string said;
    const int status = perform(wordsOf(line), said);
    expect(status != static_cast<int>(cli::ExitStatus::Fault), "the program has no fault",
           line + " -> " + said);
    expect(status >= 0 && status < static_cast<int>(cli::ExitStatus::Fault),
           "the exit status has a meaning", line);
    expect(status == 0 || fuzz::readBytes("book.bokfolio") == before,
           "a refused command changes nothing", line);
    checkDocument(line);
  }
  return 0;
}
