#include "bokfolio/platform/preferences.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>

#include "bokfolio/platform/internal/plain_text.hpp"
#include "bokfolio/platform/platform_error.hpp"

namespace bokfolio {

namespace {

bool isKey(std::string_view key) {
  return !key.empty() && std::none_of(key.begin(), key.end(), [](char c) {
    return static_cast<unsigned char>(c) <= 0x20 || c == 0x7F || c == '=' || c == '#';
  });
}

bool refuseKey(std::string_view key, ErrorOut error) {
  return failPlatform(error, PlatformErrorCode::FileNotWritten,
                      "\"" + withoutControls(key) + "\" cannot be the name of a preference.");
}

bool lookUp(const std::map<std::string, bool, std::less<>>& values, std::string_view key) {
  const auto found = values.find(key);
  return found != values.end() && found->second;
}

bool writeAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(file, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return fsync(file) == 0;
}

// A new file beside the old one, complete on disk before it takes the old one's name.
bool replaceFile(const std::string& path, std::string_view bytes) {
  std::string temporary = path + ".XXXXXX";
  const int file = mkstemp(temporary.data());
  if (file < 0) return false;
  bool good = writeAll(file, bytes);
  int cause = errno;
  good = close(file) == 0 && good;
  if (good && std::rename(temporary.c_str(), path.c_str()) == 0) return true;
  if (good) cause = errno;
  unlink(temporary.c_str());
  errno = cause;
  return false;
}

}  // namespace

Preferences::~Preferences() = default;

bool MemoryPreferences::boolForKey(std::string_view key) const { return lookUp(values_, key); }

bool MemoryPreferences::setBool(std::string_view key, bool value, ErrorOut error) {
  if (!isKey(key)) return refuseKey(key, error);
  values_.insert_or_assign(std::string(key), value);
  return true;
}

FilePreferences::FilePreferences(std::string path) : path_(std::move(path)) {
  std::ifstream stream(path_);
  for (std::string line; std::getline(stream, line);) {
    const std::string_view text = trimmed(line);
    const auto equals = text.find('=');
    const std::string_view key = trimmed(text.substr(0, equals));
    const std::string_view value =
        equals == std::string_view::npos ? "" : trimmed(text.substr(equals + 1));
    if (isKey(key) && (value == "true" || value == "false")) {
      values_.insert_or_assign(std::string(key), value == "true");
    } else {
      otherLines_ += line + "\n";
    }
  }
}

std::string FilePreferences::standardPath() {
  constexpr std::string_view kName = "/bokfolio/preferences";
  const char* config = std::getenv("XDG_CONFIG_HOME");
  if (config != nullptr && *config == '/') return std::string(config).append(kName);
  const char* home = std::getenv("HOME");
  if (home == nullptr || *home != '/') return "";
  return std::string(home).append("/.config").append(kName);
}

bool FilePreferences::boolForKey(std::string_view key) const { return lookUp(values_, key); }

bool FilePreferences::setBool(std::string_view key, bool value, ErrorOut error) {
  if (!isKey(key)) return refuseKey(key, error);
  values_.insert_or_assign(std::string(key), value);
  return write(error);
}

bool FilePreferences::write(ErrorOut error) const {
  std::string bytes = otherLines_;
  for (const auto& [key, value] : values_) bytes += key + (value ? "=true\n" : "=false\n");
  std::error_code failure;
  if (!path_.empty()) {
    std::filesystem::create_directories(std::filesystem::path(path_).parent_path(), failure);
    if (replaceFile(path_, bytes)) return true;
  }
  const std::string cause = path_.empty() ? "there is no home folder" : std::strerror(errno);
  return failPlatform(error, PlatformErrorCode::FileNotWritten,
                      "The preferences could not be saved in \"" + path_ + "\": " + cause + ".");
}

}  // namespace bokfolio
