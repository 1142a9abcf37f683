// The program `bokfolio`: books kept from the command line, through the library's public face.

#include <iostream>
#include <string>
#include <vector>

#include "host.hpp"
#include "run.hpp"

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  bokfolio::cli::Host host;
  return bokfolio::cli::run(host, std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
}
