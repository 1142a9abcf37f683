// The benchmark program. It measures nothing itself: every case and every book is a process of its
// own, so that it stays small and no case leaves anything to the next.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "bench/books.hpp"
#include "bench/options.hpp"
#include "bench/result_table.hpp"
#include "bench/works.hpp"

namespace bokfolio::bench {

std::vector<Work> allWorks() {
  std::vector<Work> works;
  for (const auto& subject : {coldWorks, filingWorks, questionWorks, bulkWorks, smallWorks}) {
    for (Work& work : subject()) works.push_back(std::move(work));
  }
  return works;
}

namespace {

// Set by an interrupt, which also ends the process that is being waited for.
volatile std::sig_atomic_t interrupted = 0;

void say(const std::string& text) { std::cerr << "bench: " << text << std::endl; }

// --- In the processes that measure

void printTime(const char* name, const Time& time) {
  std::printf("%s %.17g %.17g\n", name, time.wall, time.cpu);
}

void runCase(const Options& options) {
  for (const Work& work : allWorks()) {
    if (work.name != options.work) continue;
    const Outcome outcome = work.run({options.size, options.folder, options.book});
    printTime("work", outcome.work);
    if (outcome.floor) printTime("floor", *outcome.floor);
    std::printf("peak %lld\n", static_cast<long long>(outcome.peakResident));
    return;
  }
  throw std::invalid_argument("no such work: " + options.work);
}

Outcome readOutcome(const std::string& text) {
  Outcome outcome;
  std::istringstream lines(text);
  for (std::string name; lines >> name;) {
    if (name == "peak") {
      lines >> outcome.peakResident;
    } else {
      Time time;
      lines >> time.wall >> time.cpu;
      if (name == "work") outcome.work = time;
      if (name == "floor") outcome.floor = time;
    }
  }
  return outcome;
}

// --- In the process that writes the table

class Folder {
 public:
  Folder() {
    std::string name = (std::filesystem::temp_directory_path() / "bokfolio-bench-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    path_ = name;
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

class Driver {
 public:
  explicit Driver(const Options& options) : options_(options) {}

  // Whether everything could be measured.
  bool measureAll() {
    if (std::none_of(works_.begin(), works_.end(), [&](const auto& work) { return wanted(work); }))
      throw std::invalid_argument("no work's name contains that; --list names them");
    for (const Work& work : works_) {
      if (wanted(work)) measureSizes(work);
    }
    describeMachine();
    table_.print(std::cout, options_.markdown);
    if (interrupted != 0) say("interrupted, the rest was not measured");
    return !failed_ && interrupted == 0;
  }
  void list() const {
    for (const Work& work : works_) {
      if (wanted(work)) std::cout << work.name << '\n';
    }
  }

 private:
  bool wanted(const Work& work) const {
    return options_.filters.empty() ||
           std::any_of(options_.filters.begin(), options_.filters.end(),
                       [&](const auto& part) { return work.name.find(part) != std::string::npos; });
  }

  void measureSizes(const Work& work) {
    for (const std::size_t size : work.sizes) {
      if (size > options_.upTo || (size > kMillion && !options_.all)) continue;
      if (interrupted != 0) return;
      say(work.name + (work.sizeUnit.empty() ? "" : ", " + grouped(size) + " " + work.sizeUnit));
      const auto outcome = measure(work, size);
      if (!outcome) failed_ = true;
      table_.add(work, size, outcome);
    }
  }

  std::optional<Outcome> measure(const Work& work, std::size_t size) {
    const std::string book =
        work.needsBook ? bookOf(work.bookRows == 0 ? size : work.bookRows) : "none";
    if (book.empty()) return std::nullopt;
    const std::string folder = folder_.path() + "/case";
    std::filesystem::create_directory(folder);
    const Child child =
        run({program(), "--run-case", work.name, std::to_string(size), folder, book});
    std::filesystem::remove_all(folder);
    if (!child.done) return std::nullopt;
    return readOutcome(child.output);
  }

  // Made when it is first wanted; "" when it cannot be.
  std::string bookOf(std::size_t rows) {
    const std::string path = folder_.path() + "/" + std::to_string(rows) + ".bokfolio";
    if (std::filesystem::exists(path)) return path;
    const Child child = run({program(), "--make-book", path, std::to_string(rows)});
    if (!child.done) {
      std::filesystem::remove(path);
      return "";
    }
    char text[96];
    std::snprintf(text, sizeof text, " rows made in %.1f s with %.0f MB; it takes %.0f MB",
                  child.time.wall, static_cast<double>(child.peakResident) * 1e-6,
                  static_cast<double>(std::filesystem::file_size(path)) * 1e-6);
    say("a book of " + grouped(rows) + text);
    return path;
  }

  void describeMachine() const {
    std::string processor = "unknown processor";
    std::ifstream lines("/proc/cpuinfo");
    for (std::string line; std::getline(lines, line);) {
      if (!line.starts_with("model name")) continue;
      processor = line.substr(line.find(':') + 2);
      break;
    }
    std::cout << "Measured on " << processor << ", " << std::thread::hardware_concurrency()
              << " cores; documents in " << std::filesystem::temp_directory_path().string()
              << ".\n\n";
  }

  static std::string program() { return programFolder() + "/bokfolio_bench"; }

  const Options options_;
  const std::vector<Work> works_ = allWorks();
  const Folder folder_;
  ResultTable table_;
  bool failed_ = false;
};

void runMicro(const Options& options) {
  std::string filter = options.filters.empty() ? "." : options.filters.front();
  for (std::size_t at = 1; at < options.filters.size(); ++at) filter += "|" + options.filters[at];
  benchmark::RunSpecifiedBenchmarks(filter);
}

int perform(const Options& options) {
  switch (options.what) {
    case Options::What::Help:
      std::cout << kHelp;
      return 0;
    case Options::What::List:
      Driver(options).list();
      return 0;
    case Options::What::Micro:
      runMicro(options);
      return 0;
    case Options::What::RunCase:
      runCase(options);
      return 0;
    case Options::What::MakeBook:
      makeBook(options.book, options.size);
      return 0;
    case Options::What::Table:
      break;
  }
  std::signal(SIGINT, [](int) { interrupted = 1; });
  std::signal(SIGTERM, [](int) { interrupted = 1; });
  return Driver(options).measureAll() ? 0 : 1;
}

}  // namespace
}  // namespace bokfolio::bench

int main(int count, char** arguments) {
  try {
    return bokfolio::bench::perform(
        bokfolio::bench::readOptions(std::vector<std::string>(arguments + 1, arguments + count)));
  } catch (const std::exception& failure) {
    std::cerr << "bench: " << failure.what() << '\n';
    return 1;
  }
}
