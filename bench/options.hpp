// The words on the benchmark program's command line.
#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

namespace bokfolio::bench {

struct Options {
  enum class What {
    Table,    // measure and write the table
    List,     // name the works
    Micro,    // Google Benchmark's own list and output
    Help,     // say which words there are
    RunCase,  // one work at one size, for the process that writes the table
    MakeBook  // one book, for the same
  };
  What what = What::Table;
  bool all = false;  // ten million rows too
  bool markdown = false;
  std::size_t upTo = std::numeric_limits<std::size_t>::max();  // the largest size
  std::vector<std::string> filters;  // a work is measured when its name contains one of them
  // Of RunCase and MakeBook.
  std::string work;
  std::string folder;
  std::string book;
  std::size_t size = 0;
};

// Throws std::invalid_argument for what makes no sense.
Options readOptions(const std::vector<std::string>& words);

extern const char* const kHelp;

}  // namespace bokfolio::bench
