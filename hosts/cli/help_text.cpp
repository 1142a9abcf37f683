#include "help_text.hpp"

#include <algorithm>
#include <string>

namespace bokfolio::cli {

namespace {

std::string translated(Host& host, const std::string& text) {
  return text.empty() ? text : host.text(text);
}

std::string translatedLines(Host& host, const std::string& text) {
  std::string all;
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    const std::size_t word = std::min(text.find_first_not_of(' ', at), end);
    if (at > 0) all += '\n';
    all += text.substr(at, word - at) + translated(host, text.substr(word, end - word));
    at = end + 1;
  }
  return all;
}

void translateOptions(CLI::App& app, Host& host) {
  for (CLI::Option* option : app.get_options([](const CLI::Option*) { return true; })) {
    option->description(translated(host, option->get_description()));
    option->group(translated(host, option->get_group()));
    app.get_formatter()->label(option->get_type_name(), host.text(option->get_type_name()));
  }
}

}  // namespace

void translateHelp(CLI::App& app, Host& host) {
  app.description(translated(host, app.get_description()));
  app.footer(translatedLines(host, app.get_footer()));
  app.group(translated(host, app.get_group()));
  for (const char* label : {"Usage", "Positionals", "OPTIONS", "SUBCOMMAND", "REQUIRED", "Env"}) {
    app.get_formatter()->label(label, host.text(label));
  }
  translateOptions(app, host);
  for (CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    translateHelp(*command, host);
  }
}

}  // namespace bokfolio::cli
