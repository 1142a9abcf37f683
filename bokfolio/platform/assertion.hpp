// Assertions: what happens when a caller breaks a rule of use. The library states the failure, the
// handler decides whether execution goes on: it continues when handleFailure returns.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"

namespace bokfolio {

// what() is the message alone.
class BOKFOLIO_EXPORT AssertionFailure : public std::logic_error {
 public:
  AssertionFailure(std::string_view message, std::string_view file, int line);
  const std::string& file() const noexcept { return file_; }
  int line() const noexcept { return line_; }

 private:
  std::string file_;
  int line_;
};

class BOKFOLIO_EXPORT AssertionHandler {
 public:
  virtual ~AssertionHandler();
  // `file` is the name of the subject that failed, `line` a place within it.
  virtual void handleFailure(std::string_view message, std::string_view file, int line) = 0;
};

// The default: throws AssertionFailure.
class BOKFOLIO_EXPORT ThrowingAssertionHandler final : public AssertionHandler {
 public:
  [[noreturn]] void handleFailure(std::string_view message, std::string_view file,
                                  int line) override;
};

// Notes the failure and lets execution go on.
class BOKFOLIO_EXPORT RecordingAssertionHandler final : public AssertionHandler {
 public:
  struct Failure {
    std::string message;
    std::string file;
    int line = 0;
  };
  void handleFailure(std::string_view message, std::string_view file, int line) override;
  const std::vector<Failure>& failures() const noexcept { return failures_; }

 private:
  std::vector<Failure> failures_;
};

}  // namespace bokfolio
