// `backup`: a complete copy of the document, proved to be one.

#include <filesystem>
#include <memory>

#include "bokfolio/model/document.hpp"
#include "commands.hpp"
#include "copy_names.hpp"
#include "failure.hpp"
#include "session.hpp"

namespace bokfolio::cli {

namespace {

std::string placeOf(Host& host, const std::string& document, const std::string& wanted) {
  std::error_code ignored;
  const bool folder = wanted.empty() || std::filesystem::is_directory(wanted, ignored);
  return folder ? backupName(host, document, wanted) : wanted;
}

// A copy that cannot be relied on is worse than none.
void verifyOrRemove(Host& host, const std::string& document, const std::string& copy) {
  std::optional<Error> error;
  const auto context = openDocument(copy, OpenMode::ReadOnly, host.environment(), &error);
  if (context && context->persistence().verify(&error)) return;
  std::error_code ignored;
  std::filesystem::remove(copy, ignored);
  Failure failure(ExitStatus::Document, "no sound copy can be made, since the document is damaged",
                  "see 'bokfolio check --repair'");
  if (error) failure.because(*error);
  throw failure.about(document);
}

void backUp(Host& host, const std::string& wanted) {
  const Session session = Session::reading(host);
  const std::string copy = placeOf(host, session.path(), wanted);
  std::optional<Error> error;
  if (!session.context().persistence().backup(copy, &error)) {
    throw documentFailure(error, session.path());
  }
  verifyOrRemove(host, session.path(), copy);
  const auto bytes = std::filesystem::file_size(copy);
  const auto kilobytes = (bytes + 1023) / 1024;
  host.confirm(copy + ": a complete copy of " + session.path() + ", " + std::to_string(kilobytes) +
                   " kB, verified",
               {{"document", session.path()}, {"backup", copy}, {"bytes", bytes}});
}

}  // namespace

void addBackupCommand(CLI::App& app, Host& host) {
  const auto wanted = std::make_shared<std::string>();
  CLI::App* command = app.add_subcommand("backup", "Copy the document");
  command
      ->add_option("path", *wanted,
                   "Where to: a new file, or a folder (default: NAME-DATE beside the document)")
      ->type_name("PATH");
  command->footer(
      "The copy is complete, also while another program has the document open, and is verified\n"
      "before the command ends. Nothing is ever replaced: a second copy of a day ends in -2.\n"
      "To go back to a copy, open it with -d, or give it the document's name.");
  onRun(command, host, [wanted](Host& h) { backUp(h, *wanted); });
}

}  // namespace bokfolio::cli
