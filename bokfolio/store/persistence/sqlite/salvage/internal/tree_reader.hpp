// TreeReader: walks the trees of a damaged file and hands out the records that can be read. A page
// that cannot be read is passed over, with what lies behind it; whether it was so is answered.
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/store/persistence/sqlite/salvage/internal/page_file.hpp"
#include "bokfolio/store/persistence/sqlite/salvage/internal/tree_page.hpp"

namespace bokfolio::internal {

// Whose each page is: in a sound file a page belongs to one tree or to the free ones, so that a
// second claim is damage.
class PageClaims {
 public:
  using Owner = std::uint32_t;

  explicit PageClaims(std::uint32_t pages) : owners_(pages + std::size_t{1}) {}

  Owner newOwner() { return ++last_; }
  bool isClaimed(std::uint32_t page) const { return page < owners_.size() && owners_[page] != 0; }
  // False for a page of somebody else, and for one that is not there.
  bool claim(std::uint32_t page, Owner owner);

 private:
  std::vector<Owner> owners_;
  Owner last_ = 0;
};

struct TreeRecord {
  std::int64_t key = 0;     // of a table: the id
  std::string_view record;  // what can be read from its beginning; valid during the call
  std::uint64_t size = 0;   // of the whole record
  bool doubtful = false;    // a page of it is damaged
};

class TreeReader {
 public:
  using Sink = std::function<void(const TreeRecord&)>;

  // Both must outlive the reader.
  TreeReader(const PageFile& file, PageClaims& claims)
      : file_(file), claims_(claims), entered_(file.pages() + std::size_t{1}) {}

  // All records of a table, ids ascending, or of an index. False when some of the tree could not be
  // read.
  bool readTable(std::uint32_t root, PageClaims::Owner owner, const Sink& sink);
  bool readIndex(std::uint32_t root, PageClaims::Owner owner, const Sink& sink);
  // The records of one leaf of a table.
  bool readLeaf(std::uint32_t page, PageClaims::Owner owner, const Sink& sink);

 private:
  struct Bounds {
    std::int64_t above = std::numeric_limits<std::int64_t>::min();
    std::int64_t upTo = std::numeric_limits<std::int64_t>::max();
  };

  bool read(std::uint32_t root, PageClaims::Owner owner, bool table, const Sink& sink);
  void walk(std::uint32_t number, Bounds bounds, int depth);
  std::optional<TreePage> parse(std::uint32_t number, std::string& bytes) const;
  void walkCells(const TreePage& page, std::string_view bytes, Bounds bounds, int depth);
  void give(const TreeCell& cell, std::string_view bytes, bool doubtful);
  bool gather(const TreeCell& cell, std::string_view bytes);
  bool enter(std::uint32_t number);

  const PageFile& file_;
  PageClaims& claims_;
  PageClaims::Owner owner_ = 0;
  const Sink* sink_ = nullptr;
  bool table_ = true;
  bool whole_ = true;
  std::vector<std::uint32_t> entered_;  // the last walk that came to each page
  std::uint32_t walks_ = 0;
  std::string record_;
};

}  // namespace bokfolio::internal
