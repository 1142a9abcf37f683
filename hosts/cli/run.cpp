#include "run.hpp"

#include <exception>
#include <iostream>
#include <new>

#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/store/store_error.hpp"
#include "command_line.hpp"
#include "failure.hpp"

namespace bokfolio::cli {

namespace {

int report(const Host& host, const Failure& failure) {
  std::cout.flush();
  std::cerr << "bokfolio: " << failure.line() << '\n';
  if (host.json()) {
    Json error = {{"message", failure.line()}, {"exit", static_cast<int>(failure.status())}};
    if (failure.cause()) {
      error["domain"] = failure.cause()->domain();
      error["code"] = failure.cause()->code();
    }
    host.print(Json{{"error", error}});
  }
  return static_cast<int>(failure.status());
}

int perform(Host& host, const std::vector<std::string>& words) {
  parseCommandLine(host, words);
  if (host.action) host.action(host);
  std::cout.flush();
  if (!std::cout) throw Failure(ExitStatus::Input, "the answer cannot be written", "");
  return static_cast<int>(host.exitStatus);
}

}  // namespace

int run(Host& host, const std::vector<std::string>& words) {
  try {
    return perform(host, words);
  } catch (const Failure& failure) {
    return report(host, failure);
  } catch (const DecimalError&) {
    return report(host, Failure(ExitStatus::Refused, "an amount is too large to count with",
                                "amounts have at most 38 digits"));
  } catch (const LoadError& fault) {
    return report(host, Failure(ExitStatus::Document, fault.what()));
  } catch (const std::bad_alloc&) {
    return report(host, Failure(ExitStatus::Fault, "there is not enough memory"));
  } catch (const std::exception& fault) {
    return report(host, Failure(ExitStatus::Fault, std::string("internal fault: ") + fault.what(),
                                "please report it"));
  }
}

}  // namespace bokfolio::cli
