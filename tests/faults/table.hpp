// What became of each fault, counted: one line a fault.
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "bokfolio/platform/error.hpp"

namespace bokfolio::faults {

enum class Ending {
  Old,      // the state before
  New,      // the state after, whole
  Refused,  // the document is not opened, not read or found damaged, with words
  Unseen,   // read with another value that is as good as the right one to whoever looks
};

class Table {
 public:
  // Counts one attempt. `words`, where there are any, are what the library said.
  void count(const std::string& fault, Ending ending, const std::string& words = "");
  // What came of salvaging a document that was refused: the share of its records that the new one
  // has; nullopt when none could be made.
  void countWayOut(const std::string& fault, std::optional<double> share);
  // A remark for the last column.
  void remark(const std::string& fault, const std::string& text);

  std::size_t counted(const std::string& fault, Ending ending) const;
  // How many documents were salvaged.
  std::size_t waysOut(const std::string& fault) const;
  std::string text(bool markdown) const;

 private:
  struct Line {
    std::string fault;
    std::array<std::size_t, 4> endings{};
    std::map<std::string, std::size_t> words;
    std::string remark;
    std::size_t tried = 0;     // to salvage
    std::size_t salvaged = 0;  // and done
    double kept = 0;           // the sum of the shares
  };
  Line& line(const std::string& fault);
  static std::string wordsOf(const Line& line);
  static std::string wayOutOf(const Line& line);

  std::vector<Line> lines_;
};

// The sentence of an error, with paths and numbers taken out. Throws Broken for an error without
// domain, code or sentence.
std::string wordsOf(const std::optional<Error>& error);
std::string generalised(const std::string& sentence);

}  // namespace bokfolio::faults
