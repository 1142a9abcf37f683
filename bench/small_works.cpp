// Work of nanoseconds, measured by Google Benchmark: each line of the table is one of its
// measurements beside the one that is its floor (bench/micro), the two interleaved.
#include <benchmark/benchmark.h>

#include <map>
#include <stdexcept>

#include "bench/works.hpp"

namespace bokfolio::bench {

namespace {

class Collector final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) throw std::runtime_error(run.error_message);
      if (run.run_type != Run::RT_Iteration) continue;
      const auto times = static_cast<double>(run.iterations);
      times_[run.run_name.function_name].push_back(
          {run.real_accumulated_time / times, run.cpu_accumulated_time / times});
    }
  }
  Time time(const std::string& name) const {
    const auto found = times_.find(name);
    if (found == times_.end()) throw std::runtime_error("no measurement \"" + name + "\"");
    return medianOf(found->second);
  }

 private:
  std::map<std::string, std::vector<Time>> times_;
};

Outcome measure(const std::string& ours, const std::string& floor) {
  std::string words[] = {"bokfolio_bench", "--benchmark_repetitions=9", "--benchmark_min_time=0.03",
                         "--benchmark_enable_random_interleaving=true"};
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector, "^(" + ours + "|" + floor + ")$");
  return {collector.time(ours), collector.time(floor), peakResident()};
}

Work pair(const std::string& name, const std::string& subject, const std::string& what,
          const std::string& floor, double atMost) {
  Work made;
  made.name = name;
  made.floor = floor;
  made.sizes = {1};
  made.sizeUnit = "";
  made.needsBook = false;
  made.goals = {{Goal::Kind::OfFloor, atMost, 1}};
  made.run = [subject, what](const Case&) {
    return measure(subject + "/" + what, subject + "/floor/" + what);
  };
  return made;
}

}  // namespace

std::vector<Work> smallWorks() {
  std::vector<Work> works = {pair("invoice of 20 lines: total, VAT, rounding", "invoice",
                                  "total, VAT and rounding", "plain structs, same decimal", 4)};
  for (const char* what : {"add", "multiply", "divide", "from text", "to text"})
    works.push_back(
        pair(std::string("decimal: ") + what, "decimal", what, "128-bit code by hand", 1.5));
  return works;
}

}  // namespace bokfolio::bench
