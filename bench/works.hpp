// What is measured. A work is one line of the table at each of its sizes: what the library does,
// the floor done in the same process beside it, and what is to be reached. Each size of each work
// runs in a process of its own, so that no measurement leaves memory or caches to another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "bench/measuring.hpp"

namespace bokfolio::bench {

inline constexpr std::size_t kThousand = 1'000;
inline constexpr std::size_t kTenThousand = 10'000;
inline constexpr std::size_t kHundredThousand = 100'000;
inline constexpr std::size_t kMillion = 1'000'000;
inline constexpr std::size_t kTenMillion = 10'000'000;

// What a run finds: seconds, or bytes where the work measures bytes, of one unit of work.
struct Outcome {
  Time work;
  std::optional<Time> floor;
  std::int64_t peakResident = 0;
};

struct Case {
  std::size_t size = 0;
  std::string folder;  // of the run's own; what is left there goes with it
  std::string book;    // a saved document of `size` rows, to be copied before it is changed

  std::string path(const std::string& name) const { return folder + '/' + name; }
};

struct Goal {
  enum class Kind : std::uint8_t {
    OfFloor,    // time or bytes, in those of the floor
    OfItself,   // time, in that of the same work at the size `from`
    Megabytes,  // peak of resident memory
  };
  Kind kind = Kind::OfFloor;
  double atMost = 0;
  std::size_t at = 0;  // the size at which it is asked
  std::size_t from = 0;
};

struct Work {
  std::string name;
  std::string floor;  // what it is compared with, in words; "" for nothing
  std::vector<std::size_t> sizes;
  std::vector<Goal> goals;
  std::function<Outcome(const Case&)> run;
  std::string sizeUnit = "rows";
  std::size_t bookRows = 0;  // of Case::book, where it is not `size`
  bool needsBook = true;
  bool inBytes = false;
  // Waits for the disk: compared by wall time. All else is compared by CPU time, which neighbours
  // on the machine disturb less, and which no second thread could make look smaller.
  bool durable = false;

  double deciding(const Time& time) const { return durable || inBytes ? time.wall : time.cpu; }
};

// By subject; all of them in the order of the table.
std::vector<Work> coldWorks();
std::vector<Work> filingWorks();
std::vector<Work> questionWorks();
std::vector<Work> bulkWorks();
std::vector<Work> smallWorks();
std::vector<Work> allWorks();

}  // namespace bokfolio::bench
