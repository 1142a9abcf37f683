#include "tests/faults/child.hpp"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <ctime>

#include "tests/faults/firm.hpp"

namespace bokfolio::faults {

namespace {

constexpr rlim_t kSeconds = 120;  // of the processor; nothing here takes a tenth of it

[[noreturn]] void live(int pipe, const std::function<std::string()>& work) {
  const rlimit limit{kSeconds, kSeconds};
  ::setrlimit(RLIMIT_CPU, &limit);
  std::string said;
  try {
    said = '+' + work();
  } catch (const std::exception& failed) {
    said = std::string("-") + failed.what();
  }
  // A pipe takes so much at once.
  const auto size = std::min<std::size_t>(said.size(), 65'536);
  ::_exit(::write(pipe, said.data(), size) == static_cast<ssize_t>(size) ? 0 : 1);
}

}  // namespace

std::optional<std::string> inChild(const std::function<std::string()>& work) {
  int ends[2];
  expect(::pipe(ends) == 0, "no pipe");
  const pid_t child = ::fork();
  expect(child >= 0, "no process");
  if (child == 0) live(ends[1], work);
  ::close(ends[1]);
  int status = 0;
  expect(::waitpid(child, &status, 0) == child, "a process got lost");
  std::string heard(65'536, ' ');
  heard.resize(
      static_cast<std::size_t>(std::max<ssize_t>(::read(ends[0], heard.data(), heard.size()), 0)));
  ::close(ends[0]);
  if (WIFSIGNALED(status) && WTERMSIG(status) != SIGKILL)
    throw Broken("the process ended with signal " + std::to_string(WTERMSIG(status)));
  expect(WIFSIGNALED(status) || WEXITSTATUS(status) == 0, "the process ended with an error");
  if (heard.starts_with('-')) throw Broken(heard.substr(1));
  return heard.empty() ? std::nullopt : std::optional(heard.substr(1));
}

void killMeAfter(long microseconds) {
  sigevent event{};
  event.sigev_notify = SIGEV_SIGNAL;
  event.sigev_signo = SIGKILL;
  timer_t timer{};
  expect(::timer_create(CLOCK_MONOTONIC, &event, &timer) == 0, "no timer");
  itimerspec due{};
  due.it_value.tv_sec = microseconds / 1'000'000;
  due.it_value.tv_nsec = microseconds % 1'000'000 * 1000 + 1;
  expect(::timer_settime(timer, 0, &due, nullptr) == 0, "no timer");
}

void limitFiles(std::optional<std::size_t> bytes) {
  ::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{bytes ? static_cast<rlim_t>(*bytes) : RLIM_INFINITY, RLIM_INFINITY};
  expect(::setrlimit(RLIMIT_FSIZE, &limit) == 0, "no limit for files");
}

bool becomeNobody() {
  constexpr uid_t kNobody = 65534;
  if (::geteuid() != 0) return true;
  return ::setresgid(kNobody, kNobody, kNobody) == 0 && ::setresuid(kNobody, kNobody, kNobody) == 0;
}

long microsecondsOf(const std::function<void()>& work) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  work();
  return static_cast<long>(
      std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count());
}

}  // namespace bokfolio::faults
