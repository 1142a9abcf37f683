// Resources: the read-only files that come with the library or its host (texts, status images, the
// placement of address fields). The interface knows only name and type; where they lie is the
// implementation's matter.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"

namespace bokfolio {

class BOKFOLIO_EXPORT Resources {
 public:
  virtual ~Resources();
  // The bytes of resource "<name>.<type>" ("<name>" when the type is empty). The name may have
  // folders
  // ("localization/sv/default"). nullopt when there is none, when it cannot be read, and for a name
  // that could lead out of the folder: an absolute one, or one with an empty, "." or ".." part, a
  // backslash or a NUL.
  virtual std::optional<std::string> load(std::string_view name, std::string_view type) const = 0;

 protected:
  // Whether a name is acceptable by the rule above.
  static bool isSafeName(std::string_view name, std::string_view type);
};

// Files in a list of folders; the first folder that has the resource wins. Files beyond 16 MiB are
// not loaded.
class BOKFOLIO_EXPORT DirectoryResources final : public Resources {
 public:
  explicit DirectoryResources(std::vector<std::string> folders);
  // The folders in which a running library looks: the environment variable BOKFOLIO_RESOURCES, then
  // share/bokfolio beside the installed library, then the folder it was installed to, then the
  // source tree it was built from.
  static DirectoryResources standard();

  const std::vector<std::string>& folders() const noexcept { return folders_; }
  std::optional<std::string> load(std::string_view name, std::string_view type) const override;

 private:
  std::vector<std::string> folders_;
};

// Held in memory: for tests and for hosts that carry their resources within themselves.
class BOKFOLIO_EXPORT MemoryResources final : public Resources {
 public:
  void add(std::string name, std::string type, std::string bytes);
  std::optional<std::string> load(std::string_view name, std::string_view type) const override;

 private:
  std::map<std::pair<std::string, std::string>, std::string> files_;
};

}  // namespace bokfolio
