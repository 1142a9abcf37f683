// Clocks, medians, memory and child processes: how a single figure is taken.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace bokfolio::bench {

struct Time {
  double wall = 0;  // seconds
  double cpu = 0;   // of user and system together
};

// Since the process's start; differences count.
Time now();
Time operator-(const Time& later, const Time& earlier);
Time operator/(const Time& time, double parts);

Time timed(const std::function<void()>& work);

// Rounds 0, 1, 2...: at least `least` of them, then until the seconds are over or `most` are done.
void repeat(std::size_t least, std::size_t most, double seconds,
            const std::function<void(std::size_t)>& round);

// Wall and CPU time each by themselves, of any number of runs in any order.
Time medianOf(const std::vector<Time>& runs);
double medianOf(std::vector<double> values);

// The most memory that the process has had resident, in bytes.
std::int64_t peakResident();
// Bytes that the heap holds.
std::int64_t heapBytes();

struct Child {
  bool done = false;  // ended by itself with status 0
  Time time;          // wall from before its start to after its end
  std::int64_t peakResident = 0;
  std::string output;  // standard output
};

// Runs a program and waits for it. Linux counts memory from the fork on, so a child that takes less
// than its parent is told the parent's: measure children from a small process.
Child run(const std::vector<std::string>& command);

// The folder of the program that runs.
std::string programFolder();

}  // namespace bokfolio::bench
