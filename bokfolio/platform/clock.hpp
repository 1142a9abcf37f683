// Clock: what time it is. Everything in the library that needs the current time asks one.
#pragma once

#include <cstdint>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/date.hpp"

namespace bokfolio {

class BOKFOLIO_EXPORT Clock {
 public:
  virtual ~Clock();
  virtual Date now() const = 0;
};

class BOKFOLIO_EXPORT SystemClock final : public Clock {
 public:
  Date now() const override;
};

// Stands still until it is moved.
class BOKFOLIO_EXPORT ManualClock final : public Clock {
 public:
  explicit ManualClock(Date start) noexcept : now_(start) {}
  Date now() const override;
  void set(Date now) noexcept { now_ = now; }
  // Microseconds; negative goes back.
  void advance(std::int64_t microseconds) noexcept { now_ = now_.addingMicroseconds(microseconds); }

 private:
  Date now_;
};

}  // namespace bokfolio
