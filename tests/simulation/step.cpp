#include "tests/simulation/step.hpp"

#include <sstream>

#include "tests/simulation/operations.hpp"

namespace bokfolio::simulation {

namespace {

Step parseStep(const std::string& line) {
  std::istringstream words(line);
  std::string word;
  words >> word;
  Step step;
  const auto& all = operations();
  while (step.operation < all.size() && all[step.operation].name != word) ++step.operation;
  if (step.operation == all.size()) throw Disagreement("there is no such step: " + line);
  const auto& names = all[step.operation].arguments;
  while (words >> word) {
    const std::size_t equals = word.find('=');
    std::size_t index = 0;
    while (index < names.size() && names[index].name != word.substr(0, equals)) ++index;
    if (index == names.size() || equals == std::string::npos)
      throw Disagreement("'" + word + "' means nothing in: " + line);
    step.arguments[index] = static_cast<unsigned>(std::stoul(word.substr(equals + 1)));
  }
  return step;
}

}  // namespace

std::string textOf(const Step& step) {
  const Operation& operation = operations()[step.operation];
  std::string text(operation.name);
  for (std::size_t i = 0; i < operation.arguments.size(); ++i)
    if (step[i] != 0)
      text += ' ' + std::string(operation.arguments[i].name) + '=' + std::to_string(step[i]);
  return text;
}

std::string textOf(const Script& script) {
  std::string text = script.sqlite ? "document sqlite\n" : "document memory\n";
  for (const Step& step : script.steps) text += textOf(step) + '\n';
  return text;
}

Script parseScript(const std::string& text) {
  Script script;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line[0] == '#') continue;
    if (line.starts_with("document ")) {
      script.sqlite = line == "document sqlite";
    } else {
      script.steps.push_back(parseStep(line));
    }
  }
  return script;
}

}  // namespace bokfolio::simulation
