// PageFile: the pages of a document that may be damaged, before an unfinished save, with what the
// head of the file must say. It reads and never writes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/store/persistence/sqlite/internal/hot_journal.hpp"

namespace bokfolio::internal {

class PageFile {
 public:
  // The descriptor must stay open. Throws Failure (NotADocument) when there is no page at all.
  PageFile(int descriptor, const std::string& path);

  enum class Page : std::uint8_t {
    Missing,
    Doubtful,  // not as its seal says
    Whole,     // or without a seal
  };
  // `page` is what stands on it, without the seal.
  Page read(std::uint32_t number, std::string& page) const;
  // Pages are numbered from 1 to this.
  std::uint32_t pages() const { return pages_; }
  std::uint32_t pageSize() const { return pageSize_; }

  // What the head says, where it can be believed.
  bool isMarked() const { return marked_; }  // as a document of ours
  std::int64_t version() const { return version_; }
  std::uint32_t firstFree() const { return firstFree_; }
  std::uint32_t freePages() const { return freePages_; }
  // Whether a save broke off that cannot be taken back: pages may be of before it or of after it.
  bool isTorn() const { return torn_; }
  // Whether all of the head was as a save leaves it.
  bool isHeadSound() const { return headSound_; }
  const std::vector<std::string>& remarks() const { return remarks_; }

 private:
  void findPageSize(const std::string& head);
  std::uint32_t sealedPageSize(std::uint32_t stated) const;
  void checkFirst();
  std::uint32_t likeliestPageSize() const;
  // How many of the first pages are, if pages are so long, as asked.
  std::uint32_t count(std::uint32_t pageSize, std::uint32_t most,
                      bool (*isOne)(std::string_view page, std::uint32_t number)) const;
  bool readRaw(std::uint32_t number, std::string& page) const;
  void readHead(const std::string& head);
  void checkLength(const std::string& head);
  void remarkHead(const std::string& sentence);

  int descriptor_;
  HotJournal journal_;
  std::int64_t size_ = 0;
  std::uint32_t pageSize_ = 0;
  bool sealed_ = false;
  bool torn_ = false;
  std::uint32_t pages_ = 0;
  bool marked_ = false;
  bool headSound_ = true;
  std::int64_t version_ = 0;
  std::uint32_t firstFree_ = 0;
  std::uint32_t freePages_ = 0;
  std::vector<std::string> remarks_;
};

}  // namespace bokfolio::internal
