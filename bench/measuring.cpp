#include "bench/measuring.hpp"

#include <fcntl.h>
#include <malloc.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <system_error>

extern char** environ;

namespace bokfolio::bench {

namespace {

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

double cpuOf(const rusage& usage) { return seconds(usage.ru_utime) + seconds(usage.ru_stime); }

double cpuOfThisProcess() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double wallClock() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::string readAll(int descriptor) {
  std::string text;
  std::array<char, 4096> buffer;
  for (;;) {
    const ssize_t got = ::read(descriptor, buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return text;
    text.append(buffer.data(), static_cast<std::size_t>(got));
  }
}

pid_t spawn(const std::vector<std::string>& command, int output) {
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  pid_t process = 0;
  const int failure =
      posix_spawn(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failure != 0) throw std::system_error(failure, std::generic_category(), command.front());
  return process;
}

}  // namespace

Time now() { return {wallClock(), cpuOfThisProcess()}; }

Time operator-(const Time& later, const Time& earlier) {
  return {later.wall - earlier.wall, later.cpu - earlier.cpu};
}

Time operator/(const Time& time, double parts) { return {time.wall / parts, time.cpu / parts}; }

Time timed(const std::function<void()>& work) {
  const Time begun = now();
  work();
  return now() - begun;
}

void repeat(std::size_t least, std::size_t most, double seconds,
            const std::function<void(std::size_t)>& round) {
  const double end = wallClock() + seconds;
  for (std::size_t at = 0; at < most && (at < least || wallClock() < end); ++at) round(at);
}

double medianOf(std::vector<double> values) {
  if (values.empty()) throw std::invalid_argument("nothing was measured");
  std::sort(values.begin(), values.end());
  const std::size_t half = values.size() / 2;
  return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
}

Time medianOf(const std::vector<Time>& runs) {
  std::vector<double> walls;
  std::vector<double> cpus;
  for (const Time& run : runs) {
    walls.push_back(run.wall);
    cpus.push_back(run.cpu);
  }
  return {medianOf(std::move(walls)), medianOf(std::move(cpus))};
}

std::int64_t peakResident() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return std::int64_t{usage.ru_maxrss} * 1024;
}

std::int64_t heapBytes() {
  const auto info = mallinfo2();
  return static_cast<std::int64_t>(info.uordblks + info.hblkhd);
}

Child run(const std::vector<std::string>& command) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category());
  Child child;
  const double begun = wallClock();
  const pid_t process = spawn(command, ends[1]);
  ::close(ends[1]);
  child.output = readAll(ends[0]);
  ::close(ends[0]);
  int status = 0;
  rusage usage{};
  while (::wait4(process, &status, 0, &usage) < 0) {
    if (errno != EINTR) throw std::system_error(errno, std::generic_category());
  }
  child.time = {wallClock() - begun, cpuOf(usage)};
  child.done = WIFEXITED(status) && WEXITSTATUS(status) == 0;
  child.peakResident = std::int64_t{usage.ru_maxrss} * 1024;
  return child;
}

std::string programFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

}  // namespace bokfolio::bench
