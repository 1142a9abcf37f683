#include "bokfolio/platform/log.hpp"

#include <cstdio>

#include "bokfolio/platform/internal/plain_text.hpp"

namespace bokfolio {

Log::~Log() = default;

void StandardErrorLog::write(std::string_view line) {
  const std::string text = withoutControls(line) + "\n";
  std::fwrite(text.data(), 1, text.size(), stderr);
}

void MemoryLog::write(std::string_view line) { lines_.emplace_back(line); }

}  // namespace bokfolio
