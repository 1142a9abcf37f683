// History: random saves of folders and papers, good and bad, beside plain maps of what they leave.
#pragma once

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "tests/conformance/draft.hpp"

namespace bokfolio::test {

// Any history of saves, good and bad, with reopening between, gives what plain maps give.
class History {
 public:
  History(std::uint32_t seed, std::shared_ptr<const Schema> schema)
      : random_(seed), schema_(std::move(schema)) {}

  Content content() const { return {{"Folder", folders_}, {"Paper", papers_}}; }

  // Commits one random change set and does the same to the maps, if the engine should take it.
  void step(Persistence& engine) {
    const auto folders = folders_;
    const auto papers = papers_;
    const RecordId nextFolder = nextFolder_;
    const RecordId nextPaper = nextPaper_;
    Draft draft(schema_);
    bool stale = false;
    std::map<RecordId, bool> touched;
    for (std::uint32_t count = pick(12); count > 0; --count) change(draft, touched, stale);
    const bool dangling = !consistent();
    const auto answer = commit(engine, draft);
    if (!stale && !dangling) {
      EXPECT_EQ(answer, std::nullopt);
      return;
    }
    EXPECT_TRUE(answer == PersistenceError::Stale || answer == PersistenceError::Refused);
    folders_ = folders;
    papers_ = papers;
    nextFolder_ = nextFolder;
    nextPaper_ = nextPaper;
  }

  std::uint32_t pick(std::uint32_t below) { return static_cast<std::uint32_t>(random_() % below); }

  // What is likely to be there.
  std::int64_t number() {
    using Ends = std::numeric_limits<std::int64_t>;
    return std::vector<std::int64_t>{Ends::min(), -2, -1, 0, 1, 2, Ends::max()}[pick(7)];
  }
  std::string text() {
    return std::vector<std::string>{"", "a", std::string("a\0", 2), "A", "ä"}[pick(5)];
  }

 private:
  Cells cells() {
    Cells cells;
    if (pick(3) != 0) cells["count"] = number();
    if (pick(3) != 0) cells["date"] = Date::fromMicroseconds(number());
    if (pick(2) != 0) cells["amount"] = Decimal::fromParts(random_(), -2, pick(2) != 0);
    if (pick(3) != 0) cells["order by"] = text();
    if (pick(2) != 0 && !folders_.empty()) cells["folder"] = reference(folders_);
    if (pick(4) == 0 && !papers_.empty()) cells["next"] = reference(papers_);
    return cells;
  }

  // Seldom to a record that is not there.
  Reference reference(const std::map<RecordId, Saved>& records) {
    const auto found =
        records.lower_bound(1 + pick(1 + static_cast<std::uint32_t>(records.rbegin()->first)));
    return {pick(80) == 0 ? 1000 : found == records.end() ? records.begin()->first : found->first};
  }

  void change(Draft& draft, std::map<RecordId, bool>& touched, bool& stale) {
    const std::uint32_t what = pick(10);
    if (what < 2) {
      draft.insert("Folder", nextFolder_, {});
      folders_[nextFolder_++] = {1, {}};
    } else if (what < 6) {
      Cells values = cells();
      draft.insert("Paper", nextPaper_, values);
      papers_[nextPaper_++] = {1, std::move(values)};
    } else if (!papers_.empty()) {
      auto paper = papers_.lower_bound(1 + pick(static_cast<std::uint32_t>(nextPaper_)));
      if (paper == papers_.end()) paper = papers_.begin();
      if (!touched.emplace(paper->first, true).second) return;
      std::uint32_t version = paper->second.version;
      if (pick(40) == 0) {
        ++version;
        stale = true;
      }
      if (what < 9) {
        paper->second = {version + 1, cells()};
        draft.update("Paper", paper->first, version, paper->second.cells,
                     {"count", "date", "amount", "order by", "folder", "next"});
      } else {
        draft.remove("Paper", paper->first, version);
        papers_.erase(paper);
      }
    }
  }

  bool consistent() const {
    for (const auto& [id, paper] : papers_) {
      const auto folder = paper.cells.find("folder");
      if (folder != paper.cells.end() &&
          folders_.count(std::get<Reference>(folder->second).id) == 0)
        return false;
      const auto next = paper.cells.find("next");
      if (next != paper.cells.end() && papers_.count(std::get<Reference>(next->second).id) == 0)
        return false;
    }
    return true;
  }

  std::mt19937_64 random_;
  std::shared_ptr<const Schema> schema_;
  std::map<RecordId, Saved> folders_;
  std::map<RecordId, Saved> papers_;
  RecordId nextFolder_ = 1;
  RecordId nextPaper_ = 1;
};

}  // namespace bokfolio::test
