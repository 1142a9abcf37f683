// The classes that a host's plug-ins derive from. A plug-in gets the context of the document that
// it works for, may extend the data model, and shows a view (BFViewPluginBase) or stands in a menu
// (BFMenuActionPluginBase). What the types mean, which plug-ins there are and in what order they
// come is the host's business; how one is loaded from a file is in plugin_library.hpp.
//
// Views and senders are objects of the host's toolkit; the library passes them on and never looks
// at them.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "bokfolio/export.hpp"
#include "bokfolio/store/context.hpp"
#include "bokfolio/store/model.hpp"

namespace bokfolio {

// A plug-in lacks an operation that its kind must have: a programming error, caught by nothing in
// the library. what() is the reason.
class BOKFOLIO_EXPORT PluginException : public std::logic_error {
 public:
  PluginException(std::string name, const std::string& reason);

  // "No view" or "No tag".
  const std::string& name() const noexcept { return name_; }
  std::string reason() const { return what(); }

 private:
  std::string name_;
};

class BOKFOLIO_EXPORT BFPluginBase {
 public:
  // The host keeps the context alive for the plug-in's life. It is nullptr for a plug-in that is
  // made to be asked for its model: the document is opened with the answer.
  explicit BFPluginBase(Context* managedObjectContext) noexcept;
  BFPluginBase(const BFPluginBase&) = delete;
  BFPluginBase& operator=(const BFPluginBase&) = delete;
  virtual ~BFPluginBase();

  // What the host takes the plug-in for. 0 unless overridden.
  virtual std::int32_t type() const;
  // The name that the user reads. "Untitled" unless overridden.
  virtual std::string title() const;
  // The model to use: the given one, unless overridden, or one with more entities and keys. What is
  // there already must stay as it is, see extendModel(). Documents keep what a plug-in added also
  // while they are opened without it.
  virtual Model managedObjectModelWithBaseModel(Model baseModel) const;
  Context* managedObjectContext() const noexcept { return managedObjectContext_; }

  // The name of the plug-in's class as its source has it, with its namespaces, for messages.
  std::string className() const;

 private:
  Context* managedObjectContext_;
};

class BOKFOLIO_EXPORT BFViewPluginBase : public BFPluginBase {
 public:
  using BFPluginBase::BFPluginBase;
  ~BFViewPluginBase() override;

  // The view that the host shows, owned by the plug-in. Must be overridden: throws PluginException
  // "No view".
  virtual void* view();
};

class BOKFOLIO_EXPORT BFMenuActionPluginBase : public BFPluginBase {
 public:
  using BFPluginBase::BFPluginBase;
  ~BFMenuActionPluginBase() override;

  // What the user's choice of the menu item does; `sender` is the item, or nullptr. Nothing unless
  // overridden.
  virtual void action(void* sender);
  // The tag of the menu item. Must be overridden: throws PluginException "No tag".
  virtual std::int32_t tag() const;
};

}  // namespace bokfolio
