// TreePage: one page of a tree, taken apart without trusting it. Cells that cannot be what they
// claim are left out and the page is called damaged; a page of which little is left is none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace bokfolio::internal {

struct TreeCell {
  std::size_t offset = 0;
  std::size_t size = 0;        // on this page
  std::uint32_t child = 0;     // interior pages: what comes before this cell
  std::int64_t key = 0;        // tables: the id
  std::uint64_t payload = 0;   // bytes of the record, wherever they lie
  std::size_t local = 0;       // where those on this page begin
  std::size_t localSize = 0;   // and how many they are
  std::uint32_t overflow = 0;  // first page of the others; 0 without
};

struct TreePage {
  enum class Kind : std::uint8_t {
    IndexInterior = 2,
    TableInterior = 5,
    IndexLeaf = 10,
    TableLeaf = 13,
  };

  Kind kind = Kind::TableLeaf;
  std::vector<TreeCell> cells;  // of a table: keys ascend
  std::uint32_t rightmost = 0;  // interior pages: what comes after all cells
  bool damaged = false;

  bool isLeaf() const { return kind == Kind::TableLeaf || kind == Kind::IndexLeaf; }
  bool isTable() const { return kind == Kind::TableLeaf || kind == Kind::TableInterior; }
};

// The bytes of a whole page; page 1 begins with the head of the file.
std::optional<TreePage> parseTreePage(std::string_view page, std::uint32_t number);

}  // namespace bokfolio::internal
