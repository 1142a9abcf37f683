#include "tests/fuzz/replay/targets.hpp"

#define BOKFOLIO_FUZZ_TARGET(name) \
  extern "C" int fuzz_##name(const std::uint8_t* data, std::size_t size);
#include "fuzz_targets.inc"
#undef BOKFOLIO_FUZZ_TARGET

namespace bokfolio::fuzz {

const std::vector<Target>& targets() {
#define BOKFOLIO_FUZZ_TARGET(name) {#name, &fuzz_##name},
  static const std::vector<Target> all = {
#include "fuzz_targets.inc"
  };
#undef BOKFOLIO_FUZZ_TARGET
  return all;
}

}  // namespace bokfolio::fuzz
