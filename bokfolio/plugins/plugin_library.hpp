// PluginLibrary: the shared object that holds a plug-in, loaded for the rest of the process's life:
// records of a plug-in's classes live in documents, and their code must not go before them.
//
// A plug-in is code and does what it likes; whoever loads one trusts it. What is checked here is
// who could have put it there, and that it fits. A file is loaded only when it, its folder and
// every folder above belong to this user or the administrator, and nobody else can write them
// (above its own folder the sticky bit will do). Then the mark that BOKFOLIO_PLUGIN left is
// compared before anything of the plug-in is called. (Initialisers of the shared object's own
// variables have run by then: the system runs them as it loads.) A host that works for several
// documents loads once and makes a plug-in for each:
//
//   auto budget = PluginLibrary::load("plugins/budget.so", &error);
//   Model model = standardModel();
//   if (!extendModel(model, *budget->make(nullptr), &error)) ...
//   auto context = openDocument(path, OpenMode::ReadWrite, environment, model, &error);
//   auto plugin = budget->make(context.get());
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/error.hpp"
#include "bokfolio/plugins/plugin_base.hpp"
#include "bokfolio/plugins/plugin_model.hpp"

namespace bokfolio {

class BOKFOLIO_EXPORT PluginLibrary {
 public:
  // Loads a file, or finds it loaded. nullopt and an error of kPluginErrorDomain (NotFound,
  // OpenToOthers, NotLoadable, NotAPlugin, OtherVersion), whose description names the file and says
  // what does not fit; it is then not kept. Nothing is searched for: the path names the file.
  static std::optional<PluginLibrary> load(const std::string& path, ErrorOut error = nullptr);

  // Absolute, without symbolic links.
  const std::string& path() const noexcept { return path_; }
  // A new plug-in for the context; nullptr for one that is only asked for its model. nullptr and
  // Failed when its constructor throws. It ends before its context does.
  std::unique_ptr<BFPluginBase> make(Context* context, ErrorOut error = nullptr) const;

 private:
  using Maker = BFPluginBase* (*)(Context*);
  PluginLibrary(std::string path, Maker maker);

  std::string path_;
  Maker maker_;
};

}  // namespace bokfolio
