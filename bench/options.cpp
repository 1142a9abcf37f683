#include "bench/options.hpp"

#include <charconv>
#include <stdexcept>

namespace bokfolio::bench {

const char* const kHelp = R"(usage: ./dev bench [OPTION...] [FILTER...]

Measures what the library does beside a floor, at several sizes, and writes one table. A filter is
a part of a work's name; with several, any of them.

  --all         books of 10 000 000 rows too; takes many minutes and some gigabytes of disk
  --upto ROWS   no size above this one
  --markdown    the table in Markdown
  --list        the works' names
  --micro       the small measurements alone, as Google Benchmark shows them; filters are its own

Documents lie in a folder below TMPDIR while it runs. docs/performance.md explains the table.
)";

namespace {

std::size_t number(const std::string& word) {
  std::size_t value = 0;
  const auto [end, failure] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (failure != std::errc() || end != word.data() + word.size())
    throw std::invalid_argument("not a number: " + word);
  return value;
}

}  // namespace

Options readOptions(const std::vector<std::string>& words) {
  Options options;
  std::size_t at = 0;
  const auto next = [&]() -> const std::string& {
    if (at + 1 >= words.size()) throw std::invalid_argument(words[at] + " wants a value");
    return words[++at];
  };
  for (; at < words.size(); ++at) {
    const std::string& word = words[at];
    if (word == "--all") {
      options.all = true;
    } else if (word == "--upto") {
      options.upTo = number(next());
    } else if (word == "--markdown") {
      options.markdown = true;
    } else if (word == "--list") {
      options.what = Options::What::List;
    } else if (word == "--micro") {
      options.what = Options::What::Micro;
    } else if (word == "--help" || word == "-h") {
      options.what = Options::What::Help;
    } else if (word == "--run-case") {
      options.what = Options::What::RunCase;
      options.work = next();
      options.size = number(next());
      options.folder = next();
      options.book = next();
    } else if (word == "--make-book") {
      options.what = Options::What::MakeBook;
      options.book = next();
      options.size = number(next());
    } else if (word.starts_with("-")) {
      throw std::invalid_argument("there is no option " + word);
    } else {
      options.filters.push_back(word);
    }
  }
  return options;
}

}  // namespace bokfolio::bench
