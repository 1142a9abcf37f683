// ReferenceRateSource: which server publishes the day's euro reference rates, as a host sets it in
// its Environment. The path on that server and the form of the document are fixed; whoever runs a
// mirror serves it at the same path.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace bokfolio {

struct ReferenceRateSource {
  // "https", or "http" for a mirror near by. Redirects may lead from http to https, never back.
  std::string scheme = "https";
  // A name or an address, with a port where it is not the usual one: "localhost:8080".
  std::string host = "www.ecb.europa.eu";
  // For the whole download, during which the caller waits.
  std::chrono::milliseconds timeout{10'000};
  // The document has about 1600 bytes.
  std::size_t maximumBytes = std::size_t{1} << 20;
};

}  // namespace bokfolio
