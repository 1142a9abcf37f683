#include "bokfolio/plugins/plugin_base.hpp"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <typeinfo>
#include <utility>

namespace bokfolio {

PluginException::PluginException(std::string name, const std::string& reason)
    : std::logic_error(reason), name_(std::move(name)) {}

BFPluginBase::BFPluginBase(Context* managedObjectContext) noexcept
    : managedObjectContext_(managedObjectContext) {}

BFPluginBase::~BFPluginBase() = default;

std::int32_t BFPluginBase::type() const { return 0; }

std::string BFPluginBase::title() const { return "Untitled"; }

Model BFPluginBase::managedObjectModelWithBaseModel(Model baseModel) const { return baseModel; }

std::string BFPluginBase::className() const {
  const char* mangled = typeid(*this).name();
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(mangled, nullptr, nullptr, &status), &std::free);
  return status == 0 && name ? name.get() : mangled;
}

BFViewPluginBase::~BFViewPluginBase() = default;

void* BFViewPluginBase::view() {
  throw PluginException(
      "No view", "You must implement the view method for your " + className() + " view plug-in!");
}

BFMenuActionPluginBase::~BFMenuActionPluginBase() = default;

void BFMenuActionPluginBase::action(void* /*sender*/) {}

std::int32_t BFMenuActionPluginBase::tag() const {
  throw PluginException("No tag", "You must implement the tag method for your " + className() +
                                      " menu action plug-in!");
}

}  // namespace bokfolio
