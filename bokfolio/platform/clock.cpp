#include "bokfolio/platform/clock.hpp"

#include <chrono>

namespace bokfolio {

Clock::~Clock() = default;

Date SystemClock::now() const {
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  return Date::fromMicroseconds(
      std::chrono::duration_cast<std::chrono::microseconds>(sinceEpoch).count());
}

Date ManualClock::now() const { return now_; }

}  // namespace bokfolio
