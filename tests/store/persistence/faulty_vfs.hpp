// The file layer below SQLite, with a trap at the k-th operation that changes something on the
// disk: writing, flushing, cutting or deleting a file.
#pragma once

#include <functional>

namespace bokfolio::test {

class FaultyVfs {
 public:
  enum class Trap {
    None,
    Die,       // the process ends at once, before the operation
    FailOnce,  // the operation fails
    FailOn,    // it fails, and so do all that follow
  };

  // In force until its end, for files opened meanwhile. One at a time.
  FaultyVfs();
  FaultyVfs(const FaultyVfs&) = delete;
  FaultyVfs& operator=(const FaultyVfs&) = delete;
  ~FaultyVfs();

  // `operation` counts from 1. `code` is what SQLite's file layer would answer.
  void set(Trap trap, int operation, int code = 0);
  // Whether the trap was reached.
  bool sprung() const;
  // Operations until then.
  int left() const;
};

// Whether a process of its own comes to the end of the work.
bool survives(const std::function<void(FaultyVfs&)>& work);

}  // namespace bokfolio::test
