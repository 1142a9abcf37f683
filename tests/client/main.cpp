// A program that knows the library only by its installed headers.
#include <cstdio>
#include <string_view>

#include "bokfolio/platform/error.hpp"
#include "bokfolio/version.hpp"

int main(int count, char** arguments) {
  if (count != 2 || arguments[1] != bokfolio::kVersion) {
    std::fputs("The headers are of another version than the package.\n", stderr);
    return 1;
  }
  const bokfolio::Error error(bokfolio::kBokfolioErrorDomain, 7, "Out of ink");
  if (error.localizedDescription() != "Out of ink" || !error.detailedErrors().empty()) {
    std::fputs("The library does not keep an error's description.\n", stderr);
    return 1;
  }
  return 0;
}
