#include "bokfolio/plugins/plugin_library.hpp"

#include <dlfcn.h>

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
  Loaded library(file.string());
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
  return PluginLibrary(file.string(), maker);
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
