#include "progress.hpp"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <utility>

namespace bokfolio::cli {

namespace {

constexpr std::chrono::milliseconds kBeforeFirst{1000};
constexpr std::chrono::milliseconds kBetween{100};
constexpr std::size_t kWidth = 40;

}  // namespace

Progress::Progress(std::string what, bool watched)
    : what_(std::move(what)), watched_(watched), due_(Clock::now() + kBeforeFirst) {}

Progress::~Progress() {
  if (shown_) std::cerr << "\r\x1b[K" << std::flush;
}

void Progress::advance(std::size_t done, std::size_t total) {
  if (!watched_ || total == 0) return;
  const Clock::time_point now = Clock::now();
  if (now < due_) return;
  due_ = now + kBetween;
  shown_ = true;
  const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
  const auto filled = static_cast<std::size_t>(part * static_cast<double>(kWidth));
  std::string bar;
  for (std::size_t at = 0; at < kWidth; ++at) bar += at < filled ? "\u2588" : "\u2591";
  std::cerr << '\r' << what_ << ' ' << bar << ' ' << static_cast<int>(part * 100) << " %\x1b[K"
            << std::flush;
}

bool standardErrorIsTerminal() { return isatty(STDERR_FILENO) != 0; }

}  // namespace bokfolio::cli
