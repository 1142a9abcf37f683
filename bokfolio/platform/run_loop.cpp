#include "bokfolio/platform/run_loop.hpp"

#include <algorithm>
#include <exception>
#include <limits>
#include <map>
#include <utility>

namespace bokfolio {

namespace {

// Calls by due time; the multimap keeps equal keys in order of insertion.
class DelayedCalls {
 public:
  void add(Date now, std::int64_t delay, std::function<void()> call) {
    calls_.emplace(saturatingSum(now.microseconds(), std::max<std::int64_t>(delay, 0)),
                   std::move(call));
  }

  bool empty() const noexcept { return calls_.empty(); }
  std::size_t size() const noexcept { return calls_.size(); }
  std::int64_t firstDue() const { return calls_.begin()->first; }

  // Takes the first call off before running it, so that the call may use the loop.
  void runFirst(std::exception_ptr& firstFailure) {
    const auto node = calls_.extract(calls_.begin());
    if (!node.mapped()) return;
    try {
      node.mapped()();
    } catch (...) {
      if (!firstFailure) firstFailure = std::current_exception();
    }
  }

  static std::int64_t saturatingSum(std::int64_t a, std::int64_t b) noexcept {
    std::int64_t sum = 0;
    if (!__builtin_add_overflow(a, b, &sum)) return sum;
    return b > 0 ? std::numeric_limits<std::int64_t>::max()
                 : std::numeric_limits<std::int64_t>::min();
  }

 private:
  std::multimap<std::int64_t, std::function<void()>> calls_;
};

void rethrow(const std::exception_ptr& failure) {
  if (failure) std::rethrow_exception(failure);
}

}  // namespace

struct QueueRunLoop::Queue : DelayedCalls {};
struct ManualRunLoop::Queue : DelayedCalls {};

RunLoop::~RunLoop() = default;

QueueRunLoop::QueueRunLoop(std::shared_ptr<const Clock> clock)
    : clock_(std::move(clock)), queue_(std::make_unique<Queue>()) {}

QueueRunLoop::~QueueRunLoop() = default;

void QueueRunLoop::performAfter(std::int64_t microseconds, std::function<void()> call) {
  queue_->add(clock_->now(), microseconds, std::move(call));
}

std::size_t QueueRunLoop::runDue() {
  std::size_t ran = 0;
  std::exception_ptr failure;
  while (!queue_->empty() && queue_->firstDue() <= clock_->now().microseconds()) {
    queue_->runFirst(failure);
    ++ran;
  }
  rethrow(failure);
  return ran;
}

std::size_t QueueRunLoop::drain() {
  std::size_t ran = 0;
  std::exception_ptr failure;
  for (; !queue_->empty(); ++ran) queue_->runFirst(failure);
  rethrow(failure);
  return ran;
}

std::size_t QueueRunLoop::pending() const noexcept { return queue_->size(); }

ManualRunLoop::ManualRunLoop(std::shared_ptr<ManualClock> clock)
    : clock_(std::move(clock)), queue_(std::make_unique<Queue>()) {}

ManualRunLoop::~ManualRunLoop() = default;

void ManualRunLoop::performAfter(std::int64_t microseconds, std::function<void()> call) {
  queue_->add(clock_->now(), microseconds, std::move(call));
}

std::size_t ManualRunLoop::advance(std::int64_t microseconds) {
  const std::int64_t end = DelayedCalls::saturatingSum(clock_->now().microseconds(), microseconds);
  std::size_t ran = 0;
  std::exception_ptr failure;
  for (; !queue_->empty() && queue_->firstDue() <= end; ++ran) {
    const std::int64_t due = std::max(queue_->firstDue(), clock_->now().microseconds());
    clock_->set(Date::fromMicroseconds(due));
    queue_->runFirst(failure);
  }
  clock_->set(Date::fromMicroseconds(end));
  rethrow(failure);
  return ran;
}

std::size_t ManualRunLoop::pending() const noexcept { return queue_->size(); }

}  // namespace bokfolio
