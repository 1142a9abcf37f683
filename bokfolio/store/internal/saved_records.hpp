// SavedRecords: the way of saved records into memory: whole entities, single records, and the
// answers to questions that the engine's indexes serve. What is in memory already keeps its values;
// laying unsaved changes over an answer is the asker's business.
//
// Answers of few records are remembered until the saved state changes, so that what is asked again
// and again while an entry is composed costs no visit to the document.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "bokfolio/store/persistence/saved_question.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {
struct EntityRecords;
struct StoreParts;
}  // namespace bokfolio

namespace bokfolio::internal {

class SavedRecords {
 public:
  explicit SavedRecords(StoreParts& store) : store_(&store) {}

  // All of the entity. Answers how many there are saved. Each of these throws LoadError.
  std::size_t load(const Entity& entity);
  // Brings a record's values into memory, and those of the next ones when records are wanted one
  // after the other.
  void fault(const Record& record);
  // The saved records that satisfy the question, in its order, as their places in memory. Their
  // values of now may not.
  std::vector<Record*> find(const SavedQuestion& question);
  // The same, not from memory, so that the values are there afterwards.
  std::vector<Record*> read(const SavedQuestion& question);
  // At most the question's limit.
  std::size_t count(const SavedQuestion& question);
  // The saved state has changed.
  void forget();

 private:
  struct Answer {
    std::vector<Record*> records;
    std::size_t count = 0;
  };

  void writeKey(char purpose, const SavedQuestion& question);
  void remember(Answer answer);

  StoreParts* store_;
  std::unordered_map<std::string, Answer> answers_;
  std::string key_;  // of the question being asked
};

}  // namespace bokfolio::internal
