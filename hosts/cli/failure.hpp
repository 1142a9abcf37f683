// Failure: what stops a command, thrown from wherever it is found and turned into one line and an
// exit status at the top. The line names the file (and line) it is about, says what is wrong and,
// after a semicolon, what to do.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "bokfolio/platform/error.hpp"

namespace bokfolio::cli {

// Told to users by --help; scripts rely on them.
enum class ExitStatus : int {
  Done = 0,
  Refused = 1,   // a rule of bookkeeping said no, or `check` found faults or losses
  Usage = 2,     // the command line cannot be understood
  Document = 3,  // the document cannot be found, opened, created or written
  Input = 4,     // a file to be read cannot be read, or is malformed
  Fault = 5,     // a fault of the program itself
};

class Failure : public std::runtime_error {
 public:
  Failure(ExitStatus status, const std::string& message, std::string remedy = "");

  // The file, or file and line, that the failure is about; a caller who knows adds it.
  Failure& about(const std::string& subject);
  // What to do, unless it is said already.
  Failure& advise(const std::string& remedy);
  // The library's error behind it, for machines.
  Failure& because(Error cause);

  ExitStatus status() const noexcept { return status_; }
  const std::string& subject() const noexcept { return subject_; }
  const std::optional<Error>& cause() const noexcept { return cause_; }
  // "FILE: what is wrong; remedy", one line.
  std::string line() const;

 private:
  ExitStatus status_;
  std::string remedy_;
  std::string subject_;
  std::optional<Error> cause_;
};

// The failure that a library's error means to the user: its description without the full stop, and
// the remedy that its code has here.
Failure failureOf(const std::optional<Error>& error, ExitStatus status = ExitStatus::Refused);

}  // namespace bokfolio::cli
