// Dialog: the two things the library ever says to the user by itself, a question with two answers
// and a notice. Both wait until they are dealt with. Texts arrive already localised.
#pragma once

#include <deque>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"

namespace bokfolio {

// What ask answers: the first button is the safe choice.
inline constexpr int kFirstButton = 1000;
inline constexpr int kSecondButton = 1001;

struct Question {
  std::string message;
  std::string informative;
  std::string firstButton;
  std::string secondButton;
  int style = 0;  // 0 is a warning
};

class BOKFOLIO_EXPORT Dialog {
 public:
  virtual ~Dialog();
  // kFirstButton or kSecondButton.
  virtual int ask(const Question& question) = 0;
  // The message may be empty.
  virtual void inform(std::string_view message, std::string_view informative,
                      std::string_view button) = 0;
};

// At a terminal: the user types the number of a button, its text or the beginning of it. Whatever
// is unclear three times, the end of input, or nobody at the terminal means the first button.
// Notices are written and not waited for. Control characters in the texts are not passed on.
class BOKFOLIO_EXPORT TerminalDialog final : public Dialog {
 public:
  // Standard input and standard error; somebody is there when both are terminals.
  TerminalDialog();
  // The streams must outlive the dialog.
  TerminalDialog(std::istream& input, std::ostream& output, bool somebodyThere);

  int ask(const Question& question) override;
  void inform(std::string_view message, std::string_view informative,
              std::string_view button) override;

 private:
  std::istream* input_;
  std::ostream* output_;
  bool somebodyThere_;
};

// Answers from a queue, kFirstButton when it is empty, and keeps what it was asked.
class BOKFOLIO_EXPORT ScriptedDialog final : public Dialog {
 public:
  struct Notice {
    std::string message;
    std::string informative;
    std::string button;
  };

  void answerNext(int button) { answers_.push_back(button); }
  const std::vector<Question>& questions() const noexcept { return questions_; }
  const std::vector<Notice>& notices() const noexcept { return notices_; }

  int ask(const Question& question) override;
  void inform(std::string_view message, std::string_view informative,
              std::string_view button) override;

 private:
  std::deque<int> answers_;
  std::vector<Question> questions_;
  std::vector<Notice> notices_;
};

}  // namespace bokfolio
