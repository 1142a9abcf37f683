#include "bokfolio/platform/run_loop.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

namespace bokfolio {
namespace {

class RunLoopTest : public testing::Test {
 protected:
  // A call that notes its name and the time.
  std::function<void()> note(const std::string& name) {
    return [this, name] { ran_ += name + std::to_string(clock_->now().microseconds()) + " "; };
  }

  std::shared_ptr<ManualClock> clock_ = std::make_shared<ManualClock>(Date());
  std::string ran_;
};

TEST_F(RunLoopTest, AdvancingRunsByDueTimeThenByOrderOfScheduling) {
  ManualRunLoop loop(clock_);
  loop.performAfter(10, note("c"));
  loop.performAfter(1, note("a"));
  loop.performAfter(10, note("d"));
  loop.performAfter(-5, note("z"));
  loop.performAfter(1, note("b"));
  EXPECT_EQ(loop.advance(0), 1U);
  EXPECT_EQ(loop.advance(9), 2U);
  EXPECT_EQ(ran_, "z0 a1 b1 ");
  EXPECT_EQ(clock_->now().microseconds(), 9);
  EXPECT_EQ(loop.advance(1), 2U);
  EXPECT_EQ(ran_, "z0 a1 b1 c10 d10 ");
  EXPECT_EQ(loop.pending(), 0U);
}

TEST_F(RunLoopTest, CallsMayScheduleCalls) {
  ManualRunLoop loop(clock_);
  loop.performAfter(1, [&] {
    note("a")();
    loop.performAfter(3, note("late"));
    loop.performAfter(0, note("soon"));
    loop.performAfter(100, note("never"));
  });
  loop.performAfter(2, note("b"));
  EXPECT_EQ(loop.advance(50), 4U);
  EXPECT_EQ(ran_, "a1 soon1 b2 late4 ");
  EXPECT_EQ(loop.pending(), 1U);
  EXPECT_EQ(clock_->now().microseconds(), 50);
}

TEST_F(RunLoopTest, AnExceptionLosesNoOtherCall) {
  ManualRunLoop loop(clock_);
  loop.performAfter(1, [] { throw std::runtime_error("first"); });
  loop.performAfter(2, note("b"));
  loop.performAfter(3, [] { throw std::runtime_error("second"); });
  loop.performAfter(4, note("d"));
  try {
    loop.advance(10);
    FAIL() << "nothing was thrown";
  } catch (const std::runtime_error& failure) {
    EXPECT_STREQ(failure.what(), "first");
  }
  EXPECT_EQ(ran_, "b2 d4 ");
  EXPECT_EQ(clock_->now().microseconds(), 10);
  EXPECT_EQ(loop.advance(10), 0U);
}

TEST_F(RunLoopTest, AQueueRunsWhatIsDueAndDrainsTheRest) {
  QueueRunLoop loop(clock_);
  loop.performAfter(1000, note("c"));
  loop.performAfter(0, note("a"));
  loop.performAfter(10, [&] {
    note("b")();
    loop.performAfter(5, note("nested"));
  });
  EXPECT_EQ(loop.runDue(), 1U);
  clock_->advance(9);
  EXPECT_EQ(loop.runDue(), 0U);
  EXPECT_EQ(loop.drain(), 3U);
  EXPECT_EQ(ran_, "a0 b9 nested9 c9 ");
  EXPECT_EQ(loop.pending(), 0U);
}

TEST_F(RunLoopTest, ADelayBeyondTheEndOfTimeIsNeverDue) {
  ManualRunLoop loop(clock_);
  clock_->set(Date::fromSeconds(1));
  loop.performAfter(std::numeric_limits<std::int64_t>::max(), note("x"));
  EXPECT_EQ(loop.advance(1'000'000'000), 0U);
  EXPECT_EQ(loop.pending(), 1U);
}

}  // namespace
}  // namespace bokfolio
