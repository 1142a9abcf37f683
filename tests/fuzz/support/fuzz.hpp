// What the fuzz targets share. A target is a file of its own with libFuzzer's entry point; linked
// into a fuzzing program it runs for as long as one likes, linked into the test program it runs
// over its corpus. What it expects, it says with expect(): the exception ends the fuzzing program,
// and fails the test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "bokfolio/platform/error.hpp"
#include "bokfolio/platform/xml.hpp"
#include "bokfolio/store/context.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace bokfolio::fuzz {

// A broken expectation: a fault that was found.
class Broken : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

// `what` completes "it was expected that ...".
void expect(bool holds, std::string_view what, std::string_view detail = "");

// A reader either answers or explains itself in one sentence of sensible length, never both.
void expectExplained(bool answered, const std::optional<Error>& error);

// The first line of an input, for targets that take a choice besides a text; `rest` becomes what
// follows.
std::string_view takeLine(std::string_view& rest);

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// The document as XML text, nothing changed that a reader may see.
std::string writeXml(const XmlElement& element);

// A book in memory, made once: accounts 1910, 1930 and 3010, tag 1, the year 2009, an invoice, the
// new entry. All is saved, so that rollback() leads back to it.
Context& book();
// Rolls the book back and lets it check itself.
void restoreBook();

// A folder of its own in memory where the system has one, gone at the end of the process.
const std::string& scratchFolder();
void writeBytes(const std::string& path, std::string_view bytes);
std::string readBytes(const std::string& path);

}  // namespace bokfolio::fuzz
