// HotJournal: what an unfinished save left beside a document, the pages as they were before it. It
// is read and laid over the document's pages; nothing is written.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "bokfolio/store/persistence/sqlite/internal/document_file.hpp"

namespace bokfolio::internal {

class HotJournal {
 public:
  explicit HotJournal(const std::string& documentPath);
  HotJournal(const HotJournal&) = delete;
  HotJournal& operator=(const HotJournal&) = delete;
  ~HotJournal();

  // False for one that is damaged or cannot be read: there may have been more in it.
  bool isWhole() const { return whole_; }
  // Whether a save was interrupted; all below is about such a journal.
  bool isHot() const { return pageSize_ != 0; }
  std::uint32_t pageSize() const { return pageSize_; }
  // How many pages the document had.
  std::uint32_t pages() const { return pages_; }
  // Whether its pages fit the seals that they have. It reads all of them.
  bool isSealed() const;
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
  bool whole_ = true;
  int descriptor_ = -1;
  std::int64_t size_ = 0;
  std::uint32_t pageSize_ = 0;
  std::uint32_t sector_ = 0;
  std::uint32_t pages_ = 0;
  std::map<std::uint32_t, std::int64_t> places_;  // of the pages' bytes
  std::vector<std::string> remarks_;
};

// SQLite heals as far as a journal goes, takes that for all, and looks at one byte of two hundred.
// Throws Failure (Damaged) when it would leave another state than that before the save. For whoever
// is about to open the document for writing.
void checkHealing(const DocumentFile& file);

}  // namespace bokfolio::internal
