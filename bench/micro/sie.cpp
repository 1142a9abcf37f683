// Reading a large SIE file, beside the least that any reader does: look at every byte and copy it.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>

#include "bokfolio/interchange/sie/sie_reader.hpp"

namespace bokfolio {
namespace {

// About 55 bytes a row, as in the files of real programs.
std::string manyRows(int rows, std::string_view letters, bool withSum) {
  std::string text = "#FLAGGA 0\r\n";
  if (withSum) text += "#KSUMMA\r\n";
  for (int row = 0; row < rows; row += 4) {
    const std::string number = std::to_string(row / 4);
    text += "#VER A " + number + " 20110131 \"Faktura " + number + "\" 20110201\r\n{\r\n";
    for (int i = 0; i < 4; ++i) {
      text += "\t#TRANS 19" + std::to_string(10 + i) + " {1 \"Nord\"} " + (i % 2 == 0 ? "" : "-") +
              number + ".50 20110131 \"";
      text += letters;
      text += "\"\r\n";
    }
    text += "}\r\n";
  }
  if (withSum) text += "#KSUMMA 0\r\n";
  return text;
}

void report(benchmark::State& state, const std::string& text) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void run(benchmark::State& state, const std::string& text) {
  SieReadOptions options;
  options.acceptWrongChecksum = true;
  for (auto _ : state) {
    const auto file = readSie(text, options);
    benchmark::DoNotOptimize(file->rows.size());
  }
  report(state, text);
}

void SieFloorScanAndCopy(benchmark::State& state) {
  const std::string text = manyRows(1'000'000, "K\x94p f\x94r kontoret", false);
  for (auto _ : state) {
    std::string copy(text);
    benchmark::DoNotOptimize(std::count(copy.begin(), copy.end(), '\n'));
  }
  report(state, text);
}

void SieReadCodePage437(benchmark::State& state) {
  run(state, manyRows(1'000'000, "K\x94p f\x94r kontoret", false));
}

void SieReadUtf8(benchmark::State& state) {
  run(state, manyRows(1'000'000, "Köp för kontoret", false));
}

void SieReadWithChecksum(benchmark::State& state) {
  run(state, manyRows(1'000'000, "K\x94p f\x94r kontoret", true));
}

BENCHMARK(SieFloorScanAndCopy)->Name("sie/floor/scan and copy")->Unit(benchmark::kMillisecond);
BENCHMARK(SieReadCodePage437)->Name("sie/read, code page 437")->Unit(benchmark::kMillisecond);
BENCHMARK(SieReadUtf8)->Name("sie/read, UTF-8")->Unit(benchmark::kMillisecond);
BENCHMARK(SieReadWithChecksum)->Name("sie/read, with checksum")->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace bokfolio
