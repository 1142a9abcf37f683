#include "bokfolio/store/persistence/sqlite/salvage/internal/tree_page.hpp"

#include <algorithm>

#include "bokfolio/store/persistence/sqlite/internal/page_bytes.hpp"

namespace bokfolio::internal {

namespace {

constexpr std::size_t kFileHead = 100;
constexpr std::size_t kSmallestCell = 4;

class Parser {
 public:
  Parser(std::string_view page, std::uint32_t number)
      : page_(page), head_(number == 1 ? kFileHead : 0) {}

  std::optional<TreePage> parse() {
    if (!readHead()) return std::nullopt;
    for (std::size_t i = 0; i < count_; ++i) {
      TreeCell cell;
      if (readCell(big16(page_, pointers() + 2 * i), cell)) result_.cells.push_back(cell);
    }
    leaveOutOverlapping();
    if (result_.isTable()) keepAscending();
    const std::size_t kept = result_.cells.size();
    if (kept * 2 < count_) return std::nullopt;
    result_.damaged = kept < count_ || !isFull();
    return std::move(result_);
  }

 private:
  std::size_t headSize() const { return result_.isLeaf() ? 8 : 12; }
  std::size_t pointers() const { return head_ + headSize(); }
  std::size_t pointersEnd() const { return pointers() + 2 * count_; }

  bool readHead() {
    const auto kind = static_cast<TreePage::Kind>(bigEndian(page_, head_, 1));
    switch (kind) {
      case TreePage::Kind::IndexInterior:
      case TreePage::Kind::TableInterior:
      case TreePage::Kind::IndexLeaf:
      case TreePage::Kind::TableLeaf:
        break;
      default:
        return false;
    }
    result_.kind = kind;
    count_ = big16(page_, head_ + 3);
    if (!result_.isLeaf()) result_.rightmost = big32(page_, head_ + 8);
    return pointersEnd() + count_ * kSmallestCell <= page_.size();
  }

  bool readCell(std::size_t offset, TreeCell& cell) const {
    if (offset < pointersEnd() || offset + kSmallestCell > page_.size()) return false;
    std::size_t at = offset;
    if (!result_.isLeaf()) {
      cell.child = big32(page_, at);
      at += 4;
    }
    std::uint64_t key = 0;
    if (result_.kind != TreePage::Kind::TableInterior && !readVarint(page_, at, cell.payload))
      return false;
    if (result_.isTable() && !readVarint(page_, at, key)) return false;
    cell.key = static_cast<std::int64_t>(key);
    if (result_.kind != TreePage::Kind::TableInterior && !placePayload(cell, at)) return false;
    cell.offset = offset;
    cell.size = std::max(at - offset, kSmallestCell);
    return offset + cell.size <= page_.size();
  }

  // How much of a record stands on its page is a rule of the file format.
  bool placePayload(TreeCell& cell, std::size_t& at) const {
    constexpr std::uint64_t kLongest = 0x7FFFFFFF;
    if (cell.payload > kLongest) return false;
    const std::size_t all = page_.size();
    const auto payload = static_cast<std::size_t>(cell.payload);
    const std::size_t most = result_.isTable() ? all - 35 : (all - 12) * 64 / 255 - 23;
    const std::size_t least = (all - 12) * 32 / 255 - 23;
    cell.local = at;
    cell.localSize = payload;
    if (payload > most) {
      const std::size_t fitting = least + (payload - least) % (all - 4);
      cell.localSize = fitting <= most ? fitting : least;
    }
    at += cell.localSize;
    if (at > all) return false;
    if (cell.localSize == payload) return true;
    if (at + 4 > all) return false;
    cell.overflow = big32(page_, at);
    at += 4;
    return cell.overflow != 0;
  }

  void leaveOutOverlapping() {
    std::vector<TreeCell*> ordered;
    for (TreeCell& cell : result_.cells) ordered.push_back(&cell);
    std::sort(ordered.begin(), ordered.end(),
              [](const TreeCell* a, const TreeCell* b) { return a->offset < b->offset; });
    std::vector<std::size_t> wrong;
    std::size_t end = 0;
    for (std::size_t i = 0; i < ordered.size(); ++i) {
      if (i > 0 && ordered[i]->offset < end) {
        wrong.push_back(ordered[i - 1]->offset);
        wrong.push_back(ordered[i]->offset);
      }
      end = std::max(end, ordered[i]->offset + ordered[i]->size);
    }
    std::sort(wrong.begin(), wrong.end());
    const auto isWrong = [&](const TreeCell& cell) {
      return std::binary_search(wrong.begin(), wrong.end(), cell.offset);
    };
    auto& cells = result_.cells;
    cells.erase(std::remove_if(cells.begin(), cells.end(), isWrong), cells.end());
  }

  // The longest stretch of cells whose keys ascend: a wrong key is one of few.
  void keepAscending() {
    const auto& cells = result_.cells;
    constexpr auto kNone = static_cast<std::size_t>(-1);
    std::vector<std::size_t> tails;  // of the stretches of each length the one with the lowest end
    std::vector<std::size_t> before(cells.size(), kNone);
    for (std::size_t i = 0; i < cells.size(); ++i) {
      const auto place = std::lower_bound(
          tails.begin(), tails.end(), cells[i].key,
          [&](std::size_t tail, std::int64_t key) { return cells[tail].key < key; });
      if (place != tails.begin()) before[i] = *(place - 1);
      if (place == tails.end()) {
        tails.push_back(i);
      } else {
        *place = i;
      }
    }
    if (tails.size() == cells.size()) return;
    std::vector<TreeCell> kept;
    for (std::size_t i = tails.back(); i != kNone; i = before[i]) kept.push_back(cells[i]);
    std::reverse(kept.begin(), kept.end());
    result_.cells = std::move(kept);
  }

  // Cells, free blocks, fragments and the gap add up to the page.
  bool isFull() const {
    std::size_t used = pointersEnd();
    for (const TreeCell& cell : result_.cells) used += cell.size;
    std::size_t content = big16(page_, head_ + 5);
    if (content == 0) content = 65536;
    if (content < pointersEnd() || content > page_.size()) return false;
    used += content - pointersEnd() + bigEndian(page_, head_ + 7, 1);
    constexpr std::size_t kSmallestBlock = 4;
    for (std::size_t block = big16(page_, head_ + 1); block != 0;) {
      const std::size_t next = big16(page_, block);
      const std::size_t size = big16(page_, block + 2);
      if (block < content || size < kSmallestBlock || block + size > page_.size() ||
          (next != 0 && next < block + size))
        return false;
      used += size;
      block = next;
    }
    return used == page_.size();
  }

  std::string_view page_;
  std::size_t head_;
  std::size_t count_ = 0;
  TreePage result_;
};

}  // namespace

std::optional<TreePage> parseTreePage(std::string_view page, std::uint32_t number) {
  return Parser(page, number).parse();
}

}  // namespace bokfolio::internal
