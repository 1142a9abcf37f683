#include "bokfolio/store/persistence/sqlite/salvage/internal/tree_reader.hpp"

#include <algorithm>

#include "bokfolio/store/persistence/sqlite/internal/page_bytes.hpp"

namespace bokfolio::internal {

namespace {

// SQLite's own bound.
constexpr int kDeepest = 20;

}  // namespace

bool PageClaims::claim(std::uint32_t page, Owner owner) {
  if (page == 0 || page >= owners_.size()) return false;
  if (owners_[page] == 0) owners_[page] = owner;
  return owners_[page] == owner;
}

bool TreeReader::readTable(std::uint32_t root, PageClaims::Owner owner, const Sink& sink) {
  return read(root, owner, true, sink);
}

bool TreeReader::readIndex(std::uint32_t root, PageClaims::Owner owner, const Sink& sink) {
  return read(root, owner, false, sink);
}

bool TreeReader::read(std::uint32_t root, PageClaims::Owner owner, bool table, const Sink& sink) {
  owner_ = owner;
  sink_ = &sink;
  table_ = table;
  whole_ = true;
  ++walks_;
  walk(root, {}, 0);
  return whole_;
}

bool TreeReader::readLeaf(std::uint32_t page, PageClaims::Owner owner, const Sink& sink) {
  return read(page, owner, true, sink);
}

// A page met twice in a tree is where it should not be.
bool TreeReader::enter(std::uint32_t number) {
  if (number >= entered_.size() || entered_[number] == walks_) return false;
  if (!claims_.claim(number, owner_)) return false;
  entered_[number] = walks_;
  return true;
}

std::optional<TreePage> TreeReader::parse(std::uint32_t number, std::string& bytes) const {
  const PageFile::Page found = file_.read(number, bytes);
  if (found == PageFile::Page::Missing) return std::nullopt;
  auto page = parseTreePage(bytes, number);
  if (page && found == PageFile::Page::Doubtful) page->damaged = true;
  return page;
}

void TreeReader::walk(std::uint32_t number, Bounds bounds, int depth) {
  std::string bytes;
  const auto page = parse(number, bytes);
  const auto fits = [&] {
    if (!page || page->isTable() != table_ || depth > kDeepest) return false;
    if (page->cells.empty()) return depth == 0 || !page->isLeaf();
    // A leaf of other ids has another parent, which may yet claim it.
    return !table_ || !page->isLeaf() ||
           (page->cells.front().key > bounds.above && page->cells.back().key <= bounds.upTo);
  };
  if (!fits() || !enter(number)) {
    whole_ = false;
    return;
  }
  if (page->damaged) whole_ = false;
  walkCells(*page, bytes, bounds, depth);
}

void TreeReader::walkCells(const TreePage& page, std::string_view bytes, Bounds bounds, int depth) {
  for (const TreeCell& cell : page.cells) {
    if (!page.isLeaf()) {
      walk(cell.child, {bounds.above, table_ ? std::min(cell.key, bounds.upTo) : bounds.upTo},
           depth + 1);
      if (table_) bounds.above = std::max(bounds.above, cell.key);
    }
    if (!table_ || page.isLeaf()) give(cell, bytes, page.damaged);
  }
  if (!page.isLeaf()) walk(page.rightmost, bounds, depth + 1);
}

void TreeReader::give(const TreeCell& cell, std::string_view bytes, bool doubtful) {
  const bool sound = gather(cell, bytes);
  (*sink_)({cell.key, record_, cell.payload, doubtful || !sound});
}

// Whether all pages that the record continues on are as their seals say. One that leads astray is
// not trusted with its content either.
bool TreeReader::gather(const TreeCell& cell, std::string_view bytes) {
  record_.assign(bytes.substr(cell.local, cell.localSize));
  std::string page;
  std::uint32_t next = cell.overflow;
  std::size_t sure = record_.size();
  bool sound = true;
  while (record_.size() < cell.payload && enter(next)) {
    const PageFile::Page found = file_.read(next, page);
    if (found == PageFile::Page::Missing) break;
    sound = sound && found == PageFile::Page::Whole;
    sure = record_.size();
    const std::uint64_t left = cell.payload - record_.size();
    record_.append(page, 4,
                   static_cast<std::size_t>(std::min<std::uint64_t>(left, page.size() - 4)));
    next = big32(page, 0);
  }
  if (next != 0) record_.resize(sure);
  return sound;
}

}  // namespace bokfolio::internal
