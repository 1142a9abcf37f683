// Log: plain lines for whoever looks into a running program. Nothing the user must read goes here.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"

namespace bokfolio {

class BOKFOLIO_EXPORT Log {
 public:
  virtual ~Log();
  // One line, without its line end. Never fails towards the caller.
  virtual void write(std::string_view line) = 0;
};

// Standard error. Control characters, line ends included, are written as "?": what a document holds
// cannot steer the terminal or forge a line.
class BOKFOLIO_EXPORT StandardErrorLog final : public Log {
 public:
  void write(std::string_view line) override;
};

class BOKFOLIO_EXPORT MemoryLog final : public Log {
 public:
  void write(std::string_view line) override;
  const std::vector<std::string>& lines() const noexcept { return lines_; }
  void clear() noexcept { lines_.clear(); }

 private:
  std::vector<std::string> lines_;
};

}  // namespace bokfolio
