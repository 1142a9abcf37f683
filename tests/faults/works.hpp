// Works on a document file that processes die of or that a disk is too small for: each from a
// folder as it lies there before, to what may be found in it afterwards.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bokfolio/store/context.hpp"
#include "tests/faults/firm.hpp"
#include "tests/faults/operations.hpp"
#include "tests/faults/table.hpp"

namespace bokfolio::faults {

class Work {
 public:
  virtual ~Work() = default;
  virtual const char* name() const = 0;
  // The document before the work.
  virtual std::string bytes() const { return sample().bytes; }
  // What goes before the moments that count: opening, making changes.
  virtual void prepare(const std::string& path) = 0;
  virtual Answer run(const std::string& path) = 0;
  // Lets go of the document.
  void leave() { context_ = nullptr; }

  // What the folder holds after a run that was broken off or was not: throws Broken for anything
  // but old and new. The document is sound afterwards, and lies in one file.
  virtual Ending ending(const std::string& path) = 0;

 protected:
  void open(const std::string& path);
  Context& context() { return *context_; }
  std::unique_ptr<Context> context_;
};

// In the order of the table: a save, the save of an import, an import with its save, a conversion,
// a backup, a new document. Made once.
const std::vector<std::unique_ptr<Work>>& works();

// Whether a journal lies beside the document that must be played back.
bool hasHotJournal(const std::string& path);
// The sample as the first version of the format had it.
std::string bytesOfFormat1();

}  // namespace bokfolio::faults
