#include "tests/simulation/openings.hpp"

#include <gtest/gtest.h>

namespace bokfolio::simulation {
namespace {

// The smallest leak, one allocation an opening, comes to 32 bytes each time.
TEST(Openings, LeaveNothingBehind) {
  constexpr int kWarm = 20;
  constexpr int kRounds = 200;
  Openings openings;
  for (const Opening opening : {Opening::Read, Opening::Change, Opening::Create}) {
    for (int round = 0; round < kWarm; ++round) openings.take(opening);
    const Holdings before = holdings();
    for (int round = 0; round < kRounds; ++round) openings.take(opening);
    const Holdings after = holdings();
    EXPECT_LT(after.allocated, before.allocated + kRounds * 16) << static_cast<int>(opening);
    EXPECT_EQ(after.descriptors, before.descriptors) << static_cast<int>(opening);
  }
}

}  // namespace
}  // namespace bokfolio::simulation
