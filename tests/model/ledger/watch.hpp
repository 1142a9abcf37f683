// Watch: hears which derived keys a change announces, and how often.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "bokfolio/store/context.hpp"

namespace bokfolio::test {

// How often each key was announced, seen from the records that one asks to be watched.
class Watch {
 public:
  explicit Watch(Context& context) : context_(context) {}

  void add(Record& record, const std::vector<std::string>& keys) {
    for (const std::string& key : keys)
      tokens_.push_back(context_.observe(record, key, [this](const Change& change) {
        if (change.phase == Change::Phase::Did) ++counts_[*change.key];
      }));
  }
  // Since the last asking.
  std::map<std::string, int> counts() { return std::exchange(counts_, {}); }

 private:
  Context& context_;
  std::map<std::string, int> counts_;
  std::vector<ObservationToken> tokens_;
};

using Counts = std::map<std::string, int>;

}  // namespace bokfolio::test
