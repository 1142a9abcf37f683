// The program `bokfolio`: books kept from the command line, through the library's public face.

#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "bokfolio/platform/assertion.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/store/store_error.hpp"
#include "command_line.hpp"
#include "failure.hpp"
#include "host.hpp"

namespace {

using bokfolio::cli::ExitStatus;
using bokfolio::cli::Failure;
using bokfolio::cli::Host;
using bokfolio::cli::Json;

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

int run(Host& host, const std::vector<std::string>& words) {
  bokfolio::cli::parseCommandLine(host, words);
  if (host.action) host.action(host);
  std::cout.flush();
  if (!std::cout) throw Failure(ExitStatus::Input, "the answer cannot be written", "");
  return static_cast<int>(host.exitStatus);
}

int runReporting(Host& host, const std::vector<std::string>& words) {
  try {
    return run(host, words);
  } catch (const Failure& failure) {
    return report(host, failure);
  } catch (const bokfolio::DecimalError&) {
    return report(host, Failure(ExitStatus::Refused, "an amount is too large to count with",
                                "amounts have at most 38 digits"));
  } catch (const bokfolio::LoadError& fault) {
    return report(host, Failure(ExitStatus::Document, fault.what()));
  } catch (const std::bad_alloc&) {
    return report(host, Failure(ExitStatus::Fault, "there is not enough memory"));
  } catch (const std::exception& fault) {
    return report(host, Failure(ExitStatus::Fault, std::string("internal fault: ") + fault.what(),
                                "please report it"));
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  Host host;
  return runReporting(host, std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
}
