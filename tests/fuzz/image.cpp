// Pictures: what is taken can be stored, and what is stored can be taken again and is the same.
#include "bokfolio/platform/image.hpp"

#include "tests/fuzz/support/fuzz.hpp"

namespace {

using namespace bokfolio;
using fuzz::expect;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::optional<Error> error;
  const auto image = Image::decode(ByteView(data, size), &error);
  fuzz::expectExplained(image.has_value(), error);
  if (!image) return 0;
  const auto stored = image->storedBytes(&error);
  fuzz::expectExplained(stored.has_value(), error);
  if (!stored) return 0;
  const auto again = Image::decode(*stored);
  expect(again.has_value(), "what is stored can be shown");
  expect(again->storedBytes() == stored, "what is stored is stored again as it is");
  return 0;
}
