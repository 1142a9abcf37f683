// The floor of a cold trial balance: a process of its own that asks SQLite and nothing else.
#include <cstdio>
#include <exception>

#include "bench/plain_trial_balance.hpp"

int main(int count, char** arguments) {
  try {
    if (count != 2) return 2;
    std::puts(bokfolio::bench::PlainTrialBalance(arguments[1]).absoluteSum().c_str());
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}
