// OrderedWalk: the records of a stretch of an index in the order that a query asks for, group by
// group of equal values, up to the limit. Where the index in memory covers only what changed, the
// engine's answers are merged with it. It stops after the group that fills the limit, or within it
// where the group is in its final order already, and gives up when that takes too long.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "bokfolio/store/internal/planner.hpp"

namespace bokfolio::internal {

// The saved records of a question that have not changed since, with one value of the key that
// orders them after the other. Within a value they come in ascending id, whatever the direction.
class SavedGroups {
 public:
  SavedGroups(StoreParts& store, SavedQuestion question);

  // The code of the next value; nullopt at the end.
  std::optional<IndexCode> code();
  // The next record of that value; nullptr behind the last, and then code() tells the next value.
  Record* next();

 private:
  // A question read in stretches.
  class Stream {
   public:
    Stream(StoreParts& store, SavedQuestion question);
    // The record that comes next; nullptr at the end.
    Record* head();
    void advance() { ++at_; }

   private:
    StoreParts* store_;
    SavedQuestion question_;
    std::vector<Record*> stretch_;
    std::size_t at_ = 0;
    bool ended_ = false;
  };

  // Descending, each value is a question of its own, and so are its records.
  void descend();
  SavedQuestion with(SavedCondition condition) const;

  StoreParts* store_;
  SavedQuestion question_;
  const Property* key_;
  Stream ascending_;
  std::optional<IndexCode> code_;
  // Descending only: what is still to come, nil last.
  enum class Rest : std::uint8_t { All, UpTo, Nil, None };
  Rest rest_ = Rest::All;
  std::int64_t upTo_ = 0;
  std::optional<Stream> group_;
};

class OrderedWalk {
 public:
  // `tied`: records with equal codes are equal in the order asked for, so that their ids decide.
  // `patience` is asked once, when the walk turns out not to be short: how many records it may look
  // at in all.
  OrderedWalk(StoreParts& store, const OrderedSource& source, std::size_t limit, bool tied,
              std::function<bool(const Record&)> accepts, std::function<double()> patience);

  // Every match up to where it stopped; nullopt when it gave up.
  std::optional<std::vector<Record*>> matches();

 private:
  // A group of equal codes in the index in memory, ascending id; it may end before `end`.
  struct Group {
    Index::Position at;
    Index::Position end;
  };

  std::optional<IndexCode> indexCode() const;
  IndexCode codeAt(Index::Position at) const;
  Group takeGroup(IndexCode code);
  Index::Position groupBegin(Index::Position edge, IndexCode code) const;
  Record* nextOf(Group& group, IndexCode code);
  bool isPatient();

  const OrderedSource& source_;
  std::size_t limit_;
  bool groupsAreInOrder_;
  std::function<bool(const Record&)> accepts_;
  std::function<double()> askPatience_;
  double looked_ = 0;
  std::optional<double> patience_;
  Index::Position from_;
  Index::Position to_;
  std::optional<SavedGroups> saved_;
  Record* savedHead_ = nullptr;
  std::vector<Record*> found_;
};

}  // namespace bokfolio::internal
