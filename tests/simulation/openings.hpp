// Openings: a document opened and closed, or made, over and over, and what that leaves behind in
// the process. A host that stays open for weeks must not grow by the documents it has closed.
#pragma once

#include <cstddef>
#include <string>

namespace bokfolio::simulation {

// What the process holds at a moment.
struct Holdings {
  std::size_t allocated = 0;    // bytes in use by malloc; 0 where a sanitizer replaces that
  std::size_t resident = 0;     // bytes of memory, with what malloc keeps for later
  std::size_t descriptors = 0;  // open files
};
Holdings holdings();

enum class Opening {
  Read,    // opens for reading, asks for a balance and for records, closes
  Change,  // opens, changes a record, saves, closes
  Create,  // makes a document beside it, and removes that again
};

// A small document in a temporary folder of its own.
class Openings {
 public:
  Openings();
  ~Openings();
  Openings(const Openings&) = delete;
  Openings& operator=(const Openings&) = delete;

  // Throws Disagreement when a document does not open, or does not hold what was saved last.
  void take(Opening opening);

 private:
  void read();
  void change();
  void create();

  std::string folder_;
  int changes_ = 0;
};

}  // namespace bokfolio::simulation
