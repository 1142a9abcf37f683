// A process from its start to its end on a document that the system has in its file cache: a tiny
// host that links the shared library, beside a tiny program that links SQLite alone.
#include <stdexcept>

#include "bench/bare_document.hpp"
#include "bench/works.hpp"

namespace bokfolio::bench {

namespace {

constexpr std::size_t kLeast = 3;
constexpr std::size_t kMost = 15;
constexpr double kBudget = 4;

class Processes {
 public:
  void add(const std::vector<std::string>& command) {
    const Child child = run(command);
    if (!child.done) throw std::runtime_error(command.front() + " failed");
    times_.push_back(child.time);
    peaks_.push_back(static_cast<double>(child.peakResident));
    output_ = child.output;
  }
  Time time() const { return medianOf(times_); }
  std::int64_t peak() const { return static_cast<std::int64_t>(medianOf(peaks_)); }
  const std::string& output() const { return output_; }

 private:
  std::vector<Time> times_;
  std::vector<double> peaks_;
  std::string output_;
};

Outcome trialBalanceOfACold(const Case& of) {
  const std::string host = programFolder() + "/bokfolio_bench_host";
  const std::string floor = programFolder() + "/bokfolio_bench_floor";
  Processes ours;
  Processes plain;
  repeat(kLeast, kMost, kBudget, [&](std::size_t) {
    ours.add({host, "trial-balance", of.book});
    plain.add({floor, of.book});
  });
  if (ours.output() != plain.output())
    throw std::runtime_error("balances differ: " + ours.output() + plain.output());
  return {ours.time(), plain.time(), ours.peak()};
}

Outcome fileInACold(const Case& of) {
  const std::string host = programFolder() + "/bokfolio_bench_host";
  const std::string document = of.path("cold.bokfolio");
  copyDocument(of.book, document);
  Processes ours;
  repeat(kLeast, kMost, kBudget, [&](std::size_t) { ours.add({host, "file-an-entry", document}); });
  return {ours.time(), std::nullopt, ours.peak()};
}

}  // namespace

std::vector<Work> coldWorks() {
  const std::vector<std::size_t> sizes = {kThousand, kHundredThousand, kMillion, kTenMillion};
  Work balance;
  balance.name = "cold process: open, trial balance of the last year";
  balance.floor = "process of plain C over SQLite";
  balance.sizes = sizes;
  balance.goals = {{Goal::Kind::OfFloor, 0.2, kMillion},
                   {Goal::Kind::Megabytes, 30, kMillion},
                   {Goal::Kind::OfItself, 1.5, kTenMillion, kHundredThousand}};
  balance.run = trialBalanceOfACold;
  Work filing;
  filing.name = "cold process: open, file an entry, save";
  filing.sizes = sizes;
  filing.goals = {{Goal::Kind::OfItself, 1.5, kMillion, kThousand}};
  filing.run = fileInACold;
  filing.durable = true;
  return {balance, filing};
}

}  // namespace bokfolio::bench
