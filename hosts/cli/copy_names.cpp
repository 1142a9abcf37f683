#include "copy_names.hpp"

#include <filesystem>
#include <regex>

#include "bokfolio/platform/date_text.hpp"

namespace bokfolio::cli {

namespace {

using std::filesystem::path;

path withoutExtension(const std::string& document) {
  return path(document).parent_path() / path(document).stem();
}

bool isTaken(const std::string& name) {
  std::error_code error;
  return std::filesystem::symlink_status(name, error).type() !=
         std::filesystem::file_type::not_found;
}

}  // namespace

std::string freeName(const std::string& begin, const std::string& end) {
  std::string name = begin + end;
  for (int number = 2; isTaken(name); ++number) name = begin + "-" + std::to_string(number) + end;
  return name;
}

std::string backupName(Host& host, const std::string& document, const std::string& folder) {
  const path stem =
      path(folder.empty() ? path(document).parent_path() : path(folder)) / path(document).stem();
  return freeName(stem.string() + "-" + isoDay(host.today()), path(document).extension().string());
}

std::string beforeRepairName(Host& host, const std::string& document) {
  return freeName(document + ".before-repair-" + isoDay(host.today()), ".bak");
}

std::string repairedName(const std::string& document) {
  return freeName(withoutExtension(document).string() + "-repaired",
                  path(document).extension().string());
}

bool isBackupOf(const std::string& name, const std::string& document) {
  static const std::regex dated(R"(-\d{4}-\d{2}-\d{2}(-\d+)?)");
  const std::string stem = withoutExtension(document).string();
  const std::string whole = withoutExtension(name).string();
  return path(name).extension() == path(document).extension() && whole.size() > stem.size() &&
         whole.compare(0, stem.size(), stem) == 0 &&
         std::regex_match(whole.substr(stem.size()), dated);
}

}  // namespace bokfolio::cli
