// Life: a firm lived step by step, in a document and in the plain book at once. Each step asks the
// document for what the plain book foresees and throws Disagreement when the answers differ.
//
// A step that changes something is one group of undo. What a step is refused, the host takes back
// as hosts do, by undo or by rollback in turn, and the plain book stays where it was.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "tests/simulation/desk.hpp"
#include "tests/simulation/operations.hpp"
#include "tests/simulation/plain_firm.hpp"
#include "tests/simulation/step.hpp"

namespace bokfolio::simulation {

enum class Outcome {
  Done,
  Nothing,   // there was nothing to do it with, and nothing was touched
  TakeBack,  // refused, as foreseen
};

class Life {
 public:
  // A new document with a book, its company, the accounts that have a part to play and the first
  // year; saved.
  explicit Life(bool sqlite);

  void take(const Step& step) {
    current_ = step.operation;
    operations()[step.operation].take(*this, step);
  }
  // Everything is compared, saved, read anew and compared again.
  void finish();

  // A step that changes both sides: `work` gets the plain book to change.
  using Work = std::function<Outcome(Desk&, PlainFirm&)>;
  void change(const Work& work);
  void undo();
  void redo();
  void rollback();
  void save(bool reopened);
  void failToSave();
  // Closes without saving.
  void abandon();
  // The document is opened and changed without the plug-in, whose records wait meanwhile.
  void changeWithoutPlugin(const Work& work);
  // The next change stays in one group of undo with the one after it.
  void join() { joining_ = true; }
  // The next change is made with undo switched off, as importers do.
  void changeUnrecorded() { unrecorded_ = true; }
  // A link that undo does not know of leads to what undo takes away: it is nil until that is back.
  void linkPastUndo(unsigned which);
  void compareDump();
  // Keeps an eye on a record until the document is closed, and reads it whenever it changes.
  void observe(unsigned kind, unsigned which);

  Desk& desk() { return desk_; }
  const PlainFirm& plain() const { return now_; }
  // How often each operation that changes something was done, found nothing, and was taken back.
  using Tally = std::map<std::size_t, std::array<int, 3>>;
  const Tally& tally() const { return tally_; }

 private:
  void takeBack(bool wasOpen, bool unrecorded);
  void forgetSteps();
  void compareState();
  void reopen(Desk::Plugin plugin = Desk::Plugin::There);

  Desk desk_;
  std::vector<ObservationToken> watched_;
  PlainFirm now_;
  PlainFirm saved_;
  std::vector<PlainFirm> undo_;
  // Empty where a refused step was taken back: what it had changed is nowhere written down.
  std::vector<std::optional<PlainFirm>> redo_;
  Tally tally_;
  std::size_t current_ = 0;
  std::int64_t marks_ = 0;
  std::size_t takenBack_ = 0;
  bool open_ = false;  // the latest group waits for the next change
  bool joining_ = false;
  bool unrecorded_ = false;
};

// --- Comparisons
std::string inWords(Amount amount);
inline std::string inWords(std::int64_t number) { return std::to_string(number); }

// Throws when the library's answer is not the plain book's.
template <class T>
void expectSame(const char* what, Id of, const T& library, const T& plain) {
  if (library == plain) return;
  throw Disagreement(std::string(what) + " (record " + std::to_string(of) + ") is " +
                     inWords(library) + ", the plain book has " + inWords(plain));
}
inline void expectSame(const char* what, Id of, const Decimal& library, Amount plain) {
  expectSame(what, of, amount(library), plain);
}
inline void expectTrue(const char* what, bool holds) {
  if (!holds) throw Disagreement(std::string("it does not hold that ") + what);
}
inline std::int64_t signedCount(std::size_t count) { return static_cast<std::int64_t>(count); }
inline Id idOf(const Record* record) { return record == nullptr ? 0 : record->id(); }
inline void expectSameId(const char* what, Id of, const Record* library, Id plain) {
  expectSame(what, of, static_cast<std::int64_t>(idOf(library)), static_cast<std::int64_t>(plain));
}

// What the plain book foresees of one balance, of one of many small questions, of everything.
void askBalance(Desk& desk, const PlainFirm& plain, const Step& step);
void askQuestion(Desk& desk, const PlainFirm& plain, const Step& step);
void askWhileUnreadable(Desk& desk, const PlainFirm& plain, const Step& step);
void auditLedger(Desk& desk, const PlainFirm& plain);
void auditInvoicing(Desk& desk, const PlainFirm& plain);
void auditInverses(Desk& desk);

}  // namespace bokfolio::simulation
