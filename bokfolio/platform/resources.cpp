#include "bokfolio/platform/resources.hpp"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <utility>

namespace bokfolio {

namespace {

constexpr std::uintmax_t kLargestFile = std::uintmax_t{16} << 20;

std::string fileName(std::string_view name, std::string_view type) {
  std::string file(name);
  if (!type.empty()) file.append(".").append(type);
  return file;
}

std::optional<std::string> readFile(const std::filesystem::path& path) {
  std::error_code failure;
  if (!std::filesystem::is_regular_file(path, failure) || failure) return std::nullopt;
  const std::uintmax_t size = std::filesystem::file_size(path, failure);
  if (failure || size > kLargestFile) return std::nullopt;
  std::ifstream stream(path, std::ios::binary);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!stream || stream.gcount() != static_cast<std::streamsize>(bytes.size())) return std::nullopt;
  return bytes;
}

// <prefix>/share/bokfolio for a library in <prefix>/lib or <prefix>/lib/<architecture>.
void addFoldersBesideLibrary(std::vector<std::string>& folders) {
  static const char kInside = 0;
  Dl_info library{};
  if (dladdr(&kInside, &library) == 0 || library.dli_fname == nullptr) return;
  std::error_code failure;
  const auto file = std::filesystem::weakly_canonical(library.dli_fname, failure);
  if (failure) return;
  const auto folder = file.parent_path();
  for (const auto& prefix : {folder.parent_path(), folder.parent_path().parent_path()}) {
    const auto data = prefix / "share" / "bokfolio";
    if (std::filesystem::is_directory(data, failure)) folders.push_back(data.string());
  }
}

}  // namespace

Resources::~Resources() = default;

bool Resources::isSafeName(std::string_view name, std::string_view type) {
  const std::string file = fileName(name, type);
  if (name.empty() || file.find_first_of(std::string_view("\\\0", 2)) != std::string::npos ||
      type.find('/') != std::string_view::npos) {
    return false;
  }
  std::string_view rest = file;
  while (true) {
    const auto slash = rest.find('/');
    const std::string_view part = rest.substr(0, slash);
    if (part.empty() || part == "." || part == "..") return false;
    if (slash == std::string_view::npos) return true;
    rest.remove_prefix(slash + 1);
  }
}

DirectoryResources::DirectoryResources(std::vector<std::string> folders)
    : folders_(std::move(folders)) {}

DirectoryResources DirectoryResources::standard() {
  std::vector<std::string> folders;
  if (const char* folder = std::getenv("BOKFOLIO_RESOURCES");
      folder != nullptr && *folder != '\0') {
    folders.emplace_back(folder);
  }
  addFoldersBesideLibrary(folders);
#ifdef BOKFOLIO_INSTALLED_RESOURCES
  folders.emplace_back(BOKFOLIO_INSTALLED_RESOURCES);
#endif
#ifdef BOKFOLIO_SOURCE_RESOURCES
  folders.emplace_back(BOKFOLIO_SOURCE_RESOURCES);
#endif
  return DirectoryResources(std::move(folders));
}

std::optional<std::string> DirectoryResources::load(std::string_view name,
                                                    std::string_view type) const {
  if (!isSafeName(name, type)) return std::nullopt;
  for (const std::string& folder : folders_) {
    if (auto bytes = readFile(std::filesystem::path(folder) / fileName(name, type))) return bytes;
  }
  return std::nullopt;
}

void MemoryResources::add(std::string name, std::string type, std::string bytes) {
  files_.insert_or_assign({std::move(name), std::move(type)}, std::move(bytes));
}

std::optional<std::string> MemoryResources::load(std::string_view name,
                                                 std::string_view type) const {
  const auto found = files_.find({std::string(name), std::string(type)});
  if (!isSafeName(name, type) || found == files_.end()) return std::nullopt;
  return found->second;
}

}  // namespace bokfolio
