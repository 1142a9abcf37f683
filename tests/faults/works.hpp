// Works on a document file that processes die of or that a disk is too small for, and what may be
// found in its folder afterwards.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/faults/firm.hpp"
#include "tests/faults/operations.hpp"
#include "tests/faults/table.hpp"

namespace bokfolio::faults {

// A work under way on the document at a path.
struct Scene {
  std::string path;
  std::unique_ptr<Context> context;
};

struct Work {
  std::string name;
  std::string bytes;  // the document before
  // What goes before the moments that count: opening, making changes.
  std::function<void(Scene&)> prepare;
  // May be called again when it was refused.
  std::function<Answer(Scene&)> run;
  // Old or New; throws Broken for anything else. Heals and converts the document.
  std::function<Ending(const std::string& path)> ending;
};

// A save, the save of an import, an import with its save, a conversion, a backup, a new document.
const std::vector<Work>& works();

// Whether a journal lies beside the document that must be played back.
bool hasHotJournal(const std::string& path);

}  // namespace bokfolio::faults
