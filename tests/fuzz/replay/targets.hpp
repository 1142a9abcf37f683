// The fuzz targets as functions by name, as the build finds them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace bokfolio::fuzz {

struct Target {
  const char* name;
  int (*run)(const std::uint8_t* data, std::size_t size);
};

const std::vector<Target>& targets();

}  // namespace bokfolio::fuzz
