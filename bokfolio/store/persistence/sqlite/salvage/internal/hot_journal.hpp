// HotJournal: what an unfinished save left beside a document, the pages as they were before it. It
// is read and laid over the document's pages; nothing is written.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace bokfolio::internal {

class HotJournal {
 public:
  explicit HotJournal(const std::string& documentPath);
  HotJournal(const HotJournal&) = delete;
  HotJournal& operator=(const HotJournal&) = delete;
  ~HotJournal();

  // Whether a save was interrupted; all below is about such a journal.
  bool isHot() const { return pageSize_ != 0; }
  std::uint32_t pageSize() const { return pageSize_; }
  // How many pages the document had.
  std::uint32_t pages() const { return pages_; }
  // The highest page that the journal has.
  std::uint32_t lastPage() const { return places_.empty() ? 0 : places_.rbegin()->first; }
  // The page as it was; false when the save had not touched it.
  bool read(std::uint32_t number, std::string& page) const;
  const std::vector<std::string>& remarks() const { return remarks_; }

 private:
  void readAll();
  bool readHead(std::int64_t at);
  bool takePage(std::int64_t at, std::uint32_t seed);

  std::string path_;
  int descriptor_ = -1;
  std::int64_t size_ = 0;
  std::uint32_t pageSize_ = 0;
  std::uint32_t sector_ = 0;
  std::uint32_t pages_ = 0;
  std::map<std::uint32_t, std::int64_t> places_;  // of the pages' bytes
  std::vector<std::string> remarks_;
};

}  // namespace bokfolio::internal
