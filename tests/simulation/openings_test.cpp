#include "tests/simulation/openings.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace bokfolio::simulation {
namespace {

// The smallest leak, one allocation an opening, comes to 32 bytes each time, whereas what is kept
// for the process, malloc's own stock of small pieces included, stops growing some time: openings
// that leak grow in every stretch of them.
TEST(Openings, LeaveNothingBehind) {
  constexpr int kRounds = 50;
  constexpr std::size_t kNoise = kRounds * 16;
  Openings openings;
  for (const Opening opening : {Opening::Read, Opening::Change, Opening::Create}) {
    openings.take(opening);
    const std::size_t descriptors = holdings().descriptors;
    std::size_t least = std::numeric_limits<std::size_t>::max();
    for (int stretch = 0; stretch < 8 && least >= kNoise; ++stretch) {
      const std::size_t before = holdings().allocated;
      for (int round = 0; round < kRounds; ++round) openings.take(opening);
      const std::size_t after = holdings().allocated;
      least = std::min(least, after > before ? after - before : 0);
    }
    EXPECT_LT(least, kNoise) << static_cast<int>(opening);
    EXPECT_EQ(holdings().descriptors, descriptors) << static_cast<int>(opening);
  }
}

}  // namespace
}  // namespace bokfolio::simulation
