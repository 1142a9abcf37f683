#include "bokfolio/plugins/plugin_library.hpp"

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "bokfolio/plugins/internal/plugin_failure.hpp"
#include "bokfolio/plugins/plugin_abi.hpp"

namespace bokfolio {

namespace {

// A loaded object that is given back unless it turns out to be what it should.
class Loaded {
 public:
  // Everything is resolved at once: a plug-in that lacks something must not find out in the middle
  // of its work. Its symbols stay its own.
  explicit Loaded(const std::string& path) : handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {}
  Loaded(const Loaded&) = delete;
  Loaded& operator=(const Loaded&) = delete;
  ~Loaded() {
    if (handle_ != nullptr) dlclose(handle_);
  }

  explicit operator bool() const noexcept { return handle_ != nullptr; }
  void* symbol(const char* name) const { return dlsym(handle_, name); }
  void keep() noexcept { handle_ = nullptr; }

 private:
  void* handle_;
};

// Whether nobody but its owner, this user or the system's administrator, can change what is at the
// path. The owner's own group, which has the owner's number, counts as the owner. In a folder with
// the sticky bit others may add files, but change none.
bool isOurs(const std::filesystem::path& path, bool stickyWillDo) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return false;
  if (status.st_uid != 0 && status.st_uid != ::geteuid()) return false;
  if (stickyWillDo && (status.st_mode & S_ISVTX) != 0) return true;
  const bool groupWrites = (status.st_mode & S_IWGRP) != 0 && status.st_gid != status.st_uid;
  return !groupWrites && (status.st_mode & S_IWOTH) == 0;
}

// The part of the path that others can change; nothing when it is safe. Whoever can write a folder
// further up can put another one in its place.
std::optional<std::string> openToOthers(const std::filesystem::path& file) {
  const std::filesystem::path folder = file.parent_path();
  for (const auto& path : {file, folder}) {
    if (!isOurs(path, false)) return path.string();
  }
  for (auto path = folder; path != path.parent_path();) {
    path = path.parent_path();
    if (!isOurs(path, true)) return path.string();
  }
  return std::nullopt;
}

std::string systemsWords() {
  const char* words = dlerror();
  return words != nullptr ? words : "for no reason that the system tells";
}

}  // namespace

PluginLibrary::PluginLibrary(std::string path, Maker maker)
    : path_(std::move(path)), maker_(maker) {}

std::optional<PluginLibrary> PluginLibrary::load(const std::string& path, ErrorOut error) {
  const auto refuse = [&](PluginError code, const std::string& reason) {
    internal::failPlugin(error, code, "\"" + path + "\" " + reason + ".");
    return std::nullopt;
  };
  std::error_code failure;
  // A name without a folder would be looked for where the system keeps its libraries.
  const std::filesystem::path file = std::filesystem::absolute(path, failure);
  if (failure || !std::filesystem::is_regular_file(file, failure)) {
    return refuse(PluginError::NotFound, "is no file");
  }
  const std::filesystem::path resolved = std::filesystem::canonical(file, failure);
  if (failure) return refuse(PluginError::NotFound, "is no file");
  if (const auto open = openToOthers(resolved)) {
    return refuse(PluginError::OpenToOthers,
                  "is not loaded, since other users can change \"" + *open + "\"");
  }
  Loaded library(resolved.string());
  if (!library) return refuse(PluginError::NotLoadable, "cannot be loaded: " + systemsWords());
  const auto* mark = static_cast<const char*>(library.symbol("bokfolioPluginAbi"));
  if (mark == nullptr) {
    return refuse(PluginError::NotAPlugin, "is no plug-in: it has no mark of BOKFOLIO_PLUGIN");
  }
  if (std::string_view(mark) != BOKFOLIO_PLUGIN_ABI) {
    return refuse(PluginError::OtherVersion,
                  std::string("is a plug-in for ") + mark + "; this is " BOKFOLIO_PLUGIN_ABI);
  }
  const auto maker = reinterpret_cast<Maker>(library.symbol("bokfolioMakePlugin"));
  if (maker == nullptr) {
    return refuse(PluginError::NotAPlugin, "is no plug-in: it has a mark but makes none");
  }
  library.keep();
  return PluginLibrary(resolved.string(), maker);
}

std::unique_ptr<BFPluginBase> PluginLibrary::make(Context* context, ErrorOut error) const {
  try {
    std::unique_ptr<BFPluginBase> plugin(maker_(context));
    if (plugin != nullptr) return plugin;
    internal::failPlugin(error, PluginError::Failed, "\"" + path_ + "\" made no plug-in.");
  } catch (...) {
    internal::failPlugin(
        error, PluginError::Failed,
        "The plug-in of \"" + path_ + "\" could not be made: " + internal::caughtReason() + ".");
  }
  return nullptr;
}

}  // namespace bokfolio
