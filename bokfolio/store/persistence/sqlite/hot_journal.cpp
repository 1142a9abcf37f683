#include "bokfolio/store/persistence/sqlite/internal/hot_journal.hpp"

#include <fcntl.h>

#include <algorithm>
#include <string_view>

#include "bokfolio/store/persistence/internal/failure.hpp"
#include "bokfolio/store/persistence/sqlite/internal/document_file.hpp"
#include "bokfolio/store/persistence/sqlite/internal/file_bytes.hpp"
#include "bokfolio/store/persistence/sqlite/internal/page_bytes.hpp"
#include "bokfolio/store/persistence/sqlite/internal/page_seal.hpp"

namespace bokfolio::internal {

namespace {

constexpr std::string_view kMagic("\xD9\xD5\x05\xF9\x20\xA1\x63\xD7", 8);
constexpr std::size_t kJournalHead = 28;
constexpr std::uint32_t kToTheEnd = 0xFFFFFFFF;

// SQLite looks at one byte of two hundred.
std::uint32_t checksum(std::string_view page, std::uint32_t seed) {
  for (std::size_t at = page.size() - 200; at > 0 && at < page.size(); at -= 200) {
    seed += static_cast<unsigned char>(page[at]);
  }
  return seed;
}

}  // namespace

HotJournal::HotJournal(const std::string& documentPath) : path_(documentPath + "-journal") {
  size_ = fileSize(path_);
  if (size_ == 0) return;
  descriptor_ = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor_ < 0) {
    whole_ = false;
    remarks_.push_back("\"" + path_ + "\" cannot be read; a save may be half done.");
    return;
  }
  readAll();
}

HotJournal::~HotJournal() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

void HotJournal::readAll() {
  std::string head;
  if (!readBytes(descriptor_, 0, 1, head) || head[0] == '\0')
    return;  // of a save that was finished
  if (!readHead(0)) {
    whole_ = false;
    remarks_.push_back("\"" + path_ + "\" is damaged and was not used; a save may be half done.");
    return;
  }
  std::int64_t at = 0;
  const std::int64_t step = std::int64_t{pageSize_} + 8;
  while (whole_ && readBytes(descriptor_, at, kJournalHead, head) &&
         std::string_view(head).substr(0, kMagic.size()) == kMagic) {
    std::uint32_t count = big32(head, 8);
    std::int64_t place = at + sector_;
    if (count == kToTheEnd) count = static_cast<std::uint32_t>((size_ - place) / step);
    for (std::uint32_t i = 0; i < count && whole_; ++i, place += step) {
      whole_ = takePage(place, big32(head, 12));
    }
    at = (place + sector_ - 1) / sector_ * sector_;
  }
  remarks_.push_back("A save was interrupted; " + std::to_string(places_.size()) +
                     " pages were taken as they were before it.");
  if (!whole_) {
    remarks_.push_back("\"" + path_ + "\" is damaged; a part of that save may have stayed.");
  }
}

bool HotJournal::readHead(std::int64_t at) {
  std::string head;
  if (!readBytes(descriptor_, at, kJournalHead, head)) return false;
  if (std::string_view(head).substr(0, kMagic.size()) != kMagic) return false;
  const std::uint32_t sector = big32(head, 20);
  const std::uint32_t page = big32(head, 24);
  if (!isPageSize(page) || sector < 32 || sector > 65536) return false;
  pages_ = big32(head, 16);
  sector_ = sector;
  pageSize_ = page;
  return true;
}

bool HotJournal::takePage(std::int64_t at, std::uint32_t seed) {
  std::string bytes;
  if (!readBytes(descriptor_, at, pageSize_ + std::size_t{8}, bytes)) return false;
  const std::string_view page = std::string_view(bytes).substr(4, pageSize_);
  const std::uint32_t number = big32(bytes, 0);
  if (number == 0 || checksum(page, seed) != big32(bytes, pageSize_ + std::size_t{4})) return false;
  if (number <= pages_) places_.emplace(number, at + 4);
  return true;
}

bool HotJournal::isSealed() const {
  std::string page;
  return std::all_of(places_.begin(), places_.end(), [&](const auto& place) {
    if (!readBytes(descriptor_, place.second, pageSize_, page)) return false;
    return sealOf({reinterpret_cast<const unsigned char*>(page.data()), page.size()},
                  place.first) != Seal::Broken;
  });
}

void checkHealing(const DocumentFile& file) {
  const HotJournal journal(file.path());
  std::string head;
  const bool sealed =
      readBytes(file.descriptor(), 0, kHeadSize, head) &&
      saysSealed({reinterpret_cast<const unsigned char*>(head.data()), head.size()});
  if (journal.isWhole() && (!sealed || journal.isSealed())) return;
  throw Failure{PersistenceError::Damaged, "\"" + file.path() +
                                               "\" is damaged (a save broke off and its journal "
                                               "is damaged)."};
}

bool HotJournal::read(std::uint32_t number, std::string& page) const {
  const auto found = places_.find(number);
  return found != places_.end() && readBytes(descriptor_, found->second, pageSize_, page);
}

}  // namespace bokfolio::internal
