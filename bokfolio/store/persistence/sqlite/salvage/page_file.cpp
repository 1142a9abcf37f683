#include "bokfolio/store/persistence/sqlite/salvage/internal/page_file.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <limits>
#include <string_view>

#include "bokfolio/store/persistence/internal/failure.hpp"
#include "bokfolio/store/persistence/sqlite/internal/document_file.hpp"
#include "bokfolio/store/persistence/sqlite/internal/document_format.hpp"
#include "bokfolio/store/persistence/sqlite/internal/file_bytes.hpp"
#include "bokfolio/store/persistence/sqlite/internal/page_bytes.hpp"
#include "bokfolio/store/persistence/sqlite/internal/page_seal.hpp"
#include "bokfolio/store/persistence/sqlite/salvage/internal/tree_page.hpp"

namespace bokfolio::internal {

namespace {

constexpr std::uint32_t kShortestPage = 512;
constexpr std::uint32_t kUsualPageSize = 4096;
constexpr std::uint32_t kLongestPage = 65536;
// So much of a file tells how long its pages are.
constexpr std::int64_t kSample = 8 * 1024 * 1024;

std::int64_t sizeOf(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 ? status.st_size : 0;
}

std::uint32_t statedPageSize(std::string_view head) {
  const std::uint32_t stated = big16(head, 16);
  return stated == 1 ? 65536 : stated;
}

Seal sealOfPage(std::string_view page, std::uint32_t number) {
  return sealOf({reinterpret_cast<const unsigned char*>(page.data()), page.size()}, number);
}

bool bearsSeal(std::string_view page, std::uint32_t number) {
  const Seal found = sealOfPage(page, number);
  return found == Seal::Whole || found == Seal::Open;
}

bool isOfTree(std::string_view page, std::uint32_t number) {
  const auto parsed = parseTreePage(page, number);
  return parsed && !parsed->damaged;
}

}  // namespace

PageFile::PageFile(int descriptor, const std::string& path)
    : descriptor_(descriptor),
      journal_(path),
      size_(sizeOf(descriptor)),
      remarks_(journal_.remarks()) {
  std::string head;
  if (!readBytes(descriptor_, 0, static_cast<std::size_t>(std::min<std::int64_t>(size_, kHeadSize)),
                 head)) {
    head.clear();  // the disk refuses it
  }
  head.resize(kHeadSize);
  findPageSize(head);
  pages_ = static_cast<std::uint32_t>(
      std::min<std::int64_t>(size_ / pageSize_, std::numeric_limits<std::int32_t>::max()));
  // What the journal says of the document before, as far as file and journal have pages of it.
  if (journal_.isHot()) pages_ = std::min(std::max(pages_, journal_.lastPage()), journal_.pages());
  if (pages_ == 0) {
    throw Failure{PersistenceError::NotADocument,
                  "\"" + path + "\" is not a document of this program."};
  }
  std::string first;
  if (readRaw(1, first)) head = first.substr(0, kHeadSize);
  readHead(head);
  checkFirst();
  checkLength(head);
  if (fileSize(path + "-wal") > 0) {
    remarks_.push_back("\"" + path +
                       "-wal\" was not used; what another program left there is lost.");
  }
}

PageFile::Page PageFile::read(std::uint32_t number, std::string& page) const {
  if (!readRaw(number, page)) return Page::Missing;
  if (!sealed_) return Page::Whole;
  const bool isBelieved = bearsSeal(page, number);
  page.resize(page.size() - kSealSize);
  return isBelieved ? Page::Whole : Page::Doubtful;
}

void PageFile::checkFirst() {
  std::string first;
  const Seal found = sealed_ && readRaw(1, first) ? sealOfPage(first, 1) : Seal::Whole;
  if (found == Seal::Broken) remarkHead("The first page is not as it was saved.");
  torn_ = !journal_.isWhole();
  if (found != Seal::Open || journal_.isHot() || torn_) return;
  torn_ = true;
  remarks_.emplace_back(
      "A save broke off and its journal is gone: records may be of before it or of after it.");
}

bool PageFile::readRaw(std::uint32_t number, std::string& page) const {
  if (number == 0 || number > pages_) return false;
  return journal_.read(number, page) ||
         readBytes(descriptor_, std::int64_t{pageSize_} * (number - std::int64_t{1}), pageSize_,
                   page);
}

void PageFile::findPageSize(const std::string& head) {
  const std::uint32_t stated = statedPageSize(head);
  const std::uint32_t sealed = sealedPageSize(journal_.isHot() ? journal_.pageSize() : stated);
  sealed_ = sealed != 0;
  if (journal_.isHot()) {
    pageSize_ = journal_.pageSize();
    return;
  }
  if (sealed_) {
    pageSize_ = sealed;
    if (pageSize_ != stated)
      remarkHead("The length of a page at the head of the file was damaged.");
    return;
  }
  std::string first;
  if (isPageSize(stated) && readBytes(descriptor_, 0, stated, first)) {
    // Another program has written all pages, and no seals.
    if (head[20] == kSealSize) first.resize(stated - kSealSize);
    if (isOfTree(first, 1)) {
      sealed_ = head[20] == kSealSize;
      pageSize_ = stated;
      return;
    }
  }
  const std::uint32_t likeliest = likeliestPageSize();
  if (likeliest != 0) {
    pageSize_ = likeliest;
  } else {
    pageSize_ = isPageSize(stated) ? stated : kUsualPageSize;
  }
  if (pageSize_ != stated) remarkHead("The length of a page at the head of the file was damaged.");
}

// One page that bears a seal tells it: no other bytes would. 0 when there is none.
std::uint32_t PageFile::sealedPageSize(std::uint32_t stated) const {
  if (isPageSize(stated) && count(stated, 1, bearsSeal) > 0) return stated;
  for (std::uint32_t size = kShortestPage; size <= kLongestPage; size *= 2)
    if (count(size, 1, bearsSeal) > 0) return size;
  return 0;
}

// 0 when nothing looks like a page.
std::uint32_t PageFile::likeliestPageSize() const {
  std::uint32_t best = 0;
  std::uint32_t most = 0;
  for (std::uint32_t size = kShortestPage; size <= kLongestPage; size *= 2) {
    const std::uint32_t found = count(size, std::numeric_limits<std::uint32_t>::max(), isOfTree);
    if (found <= most) continue;
    most = found;
    best = size;
  }
  return best;
}

std::uint32_t PageFile::count(std::uint32_t pageSize, std::uint32_t most,
                              bool (*isOne)(std::string_view page, std::uint32_t number)) const {
  std::uint32_t found = 0;
  std::string page;
  const std::int64_t end = std::min(size_, kSample);
  std::uint32_t number = 1;
  for (std::int64_t at = 0; at + pageSize <= end && found < most; at += pageSize, ++number) {
    if (readBytes(descriptor_, at, pageSize, page) && isOne(page, number)) ++found;
  }
  return found;
}

void PageFile::readHead(const std::string& head) {
  const std::string_view bytes(head);
  if (bytes.substr(0, 16) != std::string_view("SQLite format 3\0", 16)) {
    remarkHead("The mark at the head of the file was damaged.");
  }
  const auto isMode = [](char mode) { return mode == 1 || mode == 2; };
  const bool fixed = isMode(bytes[18]) && isMode(bytes[19]) &&
                     bytes[20] == (sealed_ ? static_cast<char>(kSealSize) : '\0') &&
                     bytes.substr(21, 3) == "\x40\x20\x20" && big32(bytes, 56) == 1 &&
                     big32(bytes, 52) == 0;
  if (!fixed) remarkHead("Fixed numbers at the head of the file were damaged.");
  marked_ = big32(bytes, 68) == static_cast<std::uint32_t>(kApplicationId);
  if (!marked_) remarkHead("The mark of our documents was damaged.");
  version_ = big32(bytes, 60);
  firstFree_ = big32(bytes, 32);
  freePages_ = big32(bytes, 36);
}

void PageFile::checkLength(const std::string& head) {
  const std::uint32_t stated = big32(head, 28);
  const std::int64_t there = size_ / pageSize_;
  if (journal_.isHot()) {
    if (pages_ < journal_.pages()) remarks_.push_back("The file is cut short.");
    return;
  }
  if (stated > there) {
    remarks_.push_back("The file is cut short: of " + std::to_string(stated) + " pages " +
                       std::to_string(there) + " are there.");
  } else if (stated < there && big32(head, 24) == big32(head, 92)) {
    remarkHead("The number of pages at the head of the file was damaged.");
  } else if (size_ % pageSize_ != 0) {
    remarks_.push_back("The file ends within a page.");
  }
}

void PageFile::remarkHead(const std::string& sentence) {
  headSound_ = false;
  remarks_.push_back(sentence);
}

}  // namespace bokfolio::internal
