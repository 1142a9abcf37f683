#include "bokfolio/platform/assertion.hpp"

namespace bokfolio {

AssertionFailure::AssertionFailure(std::string_view message, std::string_view file, int line)
    : std::logic_error(std::string(message)), file_(file), line_(line) {}

AssertionHandler::~AssertionHandler() = default;

void ThrowingAssertionHandler::handleFailure(std::string_view message, std::string_view file,
                                             int line) {
  throw AssertionFailure(message, file, line);
}

void RecordingAssertionHandler::handleFailure(std::string_view message, std::string_view file,
                                              int line) {
  failures_.push_back({std::string(message), std::string(file), line});
}

}  // namespace bokfolio
