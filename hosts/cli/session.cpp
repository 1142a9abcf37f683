#include "session.hpp"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <iterator>
#include <system_error>
#include <utility>
#include <vector>

#include "bokfolio/model/document.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "copy_names.hpp"
#include "failure.hpp"

namespace bokfolio::cli {

namespace {

constexpr const char* kExtension = ".bokfolio";

std::vector<std::string> documentsHere() {
  std::vector<std::string> found;
  std::error_code ignored;
  for (const auto& file : std::filesystem::directory_iterator(".", ignored)) {
    const bool whole = file.path().stem() != "" && file.path().filename() != kExtension;
    if (whole && file.path().extension() == kExtension) {
      found.push_back(file.path().filename().string());
    }
  }
  // A document and its backups are one document.
  const auto isBackup = [&](const std::string& name) {
    return std::any_of(found.begin(), found.end(),
                       [&](const std::string& document) { return isBackupOf(name, document); });
  };
  std::vector<std::string> documents;
  std::copy_if(found.begin(), found.end(), std::back_inserter(documents), std::not_fn(isBackup));
  return documents;
}

std::unique_ptr<Context> openOrFail(Host& host, const std::string& path, OpenMode mode) {
  std::optional<Error> error;
  auto context = openDocument(path, mode, host.environment(), &error);
  if (context) return context;
  throw documentFailure(error, path)
      .advise("name another with -d FILE, or make one with 'bokfolio new FILE'");
}

}  // namespace

// The engine begins its sentences with the file, which our lines do in another form.
Failure documentFailure(std::optional<Error> error, const std::string& path) {
  if (error) {
    const std::string& text = error->localizedDescription();
    const std::size_t end = text.find("\" ", 1);
    const std::string file = std::filesystem::path(path).filename().string() + "\" ";
    const std::size_t at = text.find(file);
    if (text[0] == '"' && at != std::string::npos && at + file.size() == end + 2) {
      error->with(kLocalizedDescriptionKey, text.substr(end + 2));
    }
  }
  Failure failure = failureOf(error, ExitStatus::Document);
  failure.about(path);
  return failure;
}

std::string Session::documentMeant(Host& host) {
  const Options& options = host.options;
  if (!options.document.empty()) return options.document;
  const std::vector<std::string> found = documentsHere();
  if (found.size() == 1) return found.front();
  throw Failure(ExitStatus::Document,
                found.empty() ? "there is no document in this folder"
                              : "there are several documents in this folder",
                found.empty() ? "name one with -d FILE, or make one with 'bokfolio new FILE'"
                              : "name one with -d FILE");
}

Session::Session(Host& host, std::string path, std::unique_ptr<Context> context)
    : host_(&host), path_(std::move(path)), context_(std::move(context)) {}

Session Session::reading(Host& host) {
  std::string path = documentMeant(host);
  auto context = openOrFail(host, path, OpenMode::ReadOnly);
  return {host, std::move(path), std::move(context)};
}

Session Session::writing(Host& host) {
  std::string path = documentMeant(host);
  auto context = openOrFail(host, path, OpenMode::ReadWrite);
  return {host, std::move(path), std::move(context)};
}

Session Session::creating(Host& host, const std::string& path) {
  std::optional<Error> error;
  auto context = createDocument(path, host.environment(), &error);
  if (context) return {host, path, std::move(context)};
  throw documentFailure(error, path).advise("choose a folder that exists");
}

void Session::read(const std::function<void()>& work) const {
  try {
    work();
  } catch (Failure& failure) {
    failure.about(path_);
    throw;
  }
}

void Session::change(const std::function<void()>& work) {
  try {
    work();
    save();
  } catch (Failure& failure) {
    context_->rollback();
    failure.about(path_);
    throw;
  } catch (...) {
    context_->rollback();
    throw;
  }
}

void Session::save() {
  host_->drainRunLoop();
  Entry::removeBadRowsInNewEntryInContext(*context_);
  std::optional<Error> error;
  if (context_->save(&error)) return;
  const bool ours =
      error && (error->domain() == kBokfolioErrorDomain || error->domain() == kStoreErrorDomain);
  if (!ours) throw documentFailure(error, path_);
  throw failureOf(error);
}

}  // namespace bokfolio::cli
