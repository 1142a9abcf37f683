// A small host for measuring what a process costs from its start to its end: it opens the document,
// does one thing and goes. It sees the shared library's public headers only.
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

#include "bench/books.hpp"

namespace bokfolio::bench {
namespace {

void run(const std::string& work, const std::string& document) {
  const auto context = open(document);
  if (work == "trial-balance") {
    std::puts(trialBalance(*context, *lastYearWithEntries(*context)).c_str());
  } else if (work == "file-an-entry") {
    fileOneEntry(*context, 1);
    save(*context);
  } else {
    throw std::invalid_argument("no such work: " + work);
  }
}

}  // namespace
}  // namespace bokfolio::bench

int main(int count, char** arguments) {
  try {
    if (count != 3) throw std::invalid_argument("usage: trial-balance|file-an-entry DOCUMENT");
    bokfolio::bench::run(arguments[1], arguments[2]);
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}
