// How the parts of the reader refuse a file: one exception, thrown where the fault is seen and
// turned into the caller's Error at the entrance. It never leaves the library.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "bokfolio/interchange/interchange_error.hpp"
#include "bokfolio/platform/error.hpp"

namespace bokfolio::sie_internal {

class Failure : public std::runtime_error {
 public:
  // `message` is a sentence or two: what is wrong and what to do. Line 0 means the whole file.
  Failure(InterchangeErrorCode code, std::uint32_t line, const std::string& message,
          std::string_view found = {});

  Error toError() const;

 private:
  InterchangeErrorCode code_;
  std::uint32_t line_;
  std::string found_;
};

// The text in quotes for a message, cut to a readable length between two letters.
std::string quoted(std::string_view text);

}  // namespace bokfolio::sie_internal
