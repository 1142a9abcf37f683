// Progress: a bar on standard error for work that takes longer than a second while a person is
// watching; nothing otherwise.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace bokfolio::cli {

class Progress {
 public:
  // `watched` is whether a person is there: see standardErrorIsTerminal.
  Progress(std::string what, bool watched);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  // Clears the bar.
  ~Progress();

  void advance(std::size_t done, std::size_t total);

 private:
  using Clock = std::chrono::steady_clock;

  std::string what_;
  bool watched_;
  bool shown_ = false;
  Clock::time_point due_;
};

bool standardErrorIsTerminal();

}  // namespace bokfolio::cli
