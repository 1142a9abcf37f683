// RunLoop: calls that are to happen a little later, on the same thread. Records use it to fill in
// defaults after the code that inserted them has set what it wants to set. The library never waits:
// the host pumps or drains a QueueRunLoop, or hands in its own event loop behind the interface.
//
// Order: by due time, calls with the same due time in the order in which they were scheduled. A
// call may schedule others. An exception from one call does not keep the others from running; the
// first one is thrown to the caller when the run is over, later ones are dropped. Not for several
// threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/clock.hpp"

namespace bokfolio {

class BOKFOLIO_EXPORT RunLoop {
 public:
  virtual ~RunLoop();
  // Schedules a call so many microseconds from now; a negative delay counts as none. The loop is
  // only noted here, never run.
  virtual void performAfter(std::int64_t microseconds, std::function<void()> call) = 0;
};

class BOKFOLIO_EXPORT QueueRunLoop final : public RunLoop {
 public:
  explicit QueueRunLoop(std::shared_ptr<const Clock> clock);
  ~QueueRunLoop() override;

  void performAfter(std::int64_t microseconds, std::function<void()> call) override;
  // Runs the calls that are due by the clock, also those that become due by being scheduled
  // meanwhile. Answers how many ran.
  std::size_t runDue();
  // Runs everything in order, waiting for none, until nothing is left: for command lines. A call
  // that always schedules another one would keep it going for ever.
  std::size_t drain();
  // Calls not yet run.
  std::size_t pending() const noexcept;

 private:
  struct Queue;
  std::shared_ptr<const Clock> clock_;
  std::unique_ptr<Queue> queue_;
};

// Moves its clock itself: for tests.
class BOKFOLIO_EXPORT ManualRunLoop final : public RunLoop {
 public:
  explicit ManualRunLoop(std::shared_ptr<ManualClock> clock);
  ~ManualRunLoop() override;

  void performAfter(std::int64_t microseconds, std::function<void()> call) override;
  // Moves the clock forward, stopping at each due time on the way to run what is due then; ends at
  // the full distance. Answers how many calls ran.
  std::size_t advance(std::int64_t microseconds);
  std::size_t pending() const noexcept;

 private:
  struct Queue;
  std::shared_ptr<ManualClock> clock_;
  std::unique_ptr<Queue> queue_;
};

}  // namespace bokfolio
