#include "bokfolio/platform/dialog.hpp"

#include <unistd.h>

#include <iostream>

#include "bokfolio/platform/internal/plain_text.hpp"

namespace bokfolio {

namespace {

constexpr int kUnclear = 0;

bool beginsWith(std::string_view text, std::string_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

int buttonFor(std::string_view answer, const Question& question) {
  if (answer.empty()) return kUnclear;
  if (answer == "1") return kFirstButton;
  if (answer == "2") return kSecondButton;
  const bool first = beginsWith(question.firstButton, answer);
  const bool second = beginsWith(question.secondButton, answer);
  if (first == second) return kUnclear;
  return first ? kFirstButton : kSecondButton;
}

void writeParagraph(std::ostream& output, std::string_view text) {
  if (!text.empty()) output << withoutControls(text) << '\n';
}

}  // namespace

Dialog::~Dialog() = default;

TerminalDialog::TerminalDialog()
    : TerminalDialog(std::cin, std::cerr, isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0) {
}

TerminalDialog::TerminalDialog(std::istream& input, std::ostream& output, bool somebodyThere)
    : input_(&input), output_(&output), somebodyThere_(somebodyThere) {}

int TerminalDialog::ask(const Question& question) {
  writeParagraph(*output_, question.message);
  writeParagraph(*output_, question.informative);
  const std::string choices = "[1] " + withoutControls(question.firstButton) + "  [2] " +
                              withoutControls(question.secondButton);
  if (!somebodyThere_) {
    *output_ << choices << ": 1\n" << std::flush;
    return kFirstButton;
  }
  constexpr int kAttempts = 3;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    *output_ << choices << ": " << std::flush;
    std::string line;
    if (!std::getline(*input_, line)) break;
    const int button = buttonFor(trimmed(line), question);
    if (button != kUnclear) return button;
  }
  return kFirstButton;
}

void TerminalDialog::inform(std::string_view message, std::string_view informative,
                            std::string_view /*button*/) {
  writeParagraph(*output_, message);
  writeParagraph(*output_, informative);
  *output_ << std::flush;
}

int ScriptedDialog::ask(const Question& question) {
  questions_.push_back(question);
  if (answers_.empty()) return kFirstButton;
  const int answer = answers_.front();
  answers_.pop_front();
  return answer;
}

void ScriptedDialog::inform(std::string_view message, std::string_view informative,
                            std::string_view button) {
  notices_.push_back({std::string(message), std::string(informative), std::string(button)});
}

}  // namespace bokfolio
