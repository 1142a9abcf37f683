// What a plug-in's file says of itself, and the line that a plug-in writes to say it. A plug-in is
// a shared object linked with this library and holds, besides its class,
//
//   BOKFOLIO_PLUGIN(BudgetPlugin);
//
// once, outside every namespace. The mark names whatever makes two C++ objects fit or not fit one
// another: this library's version, which before 1.0 changes its binary interface with each minor
// number, and the standard library's form of its own types.
#pragma once

#include <type_traits>
#include <version>

#include "bokfolio/plugins/plugin_base.hpp"
#include "bokfolio/version.hpp"

#define BOKFOLIO_PLUGIN_TEXT_OF(number) #number
#define BOKFOLIO_PLUGIN_TEXT(number) BOKFOLIO_PLUGIN_TEXT_OF(number)

#if defined(_LIBCPP_VERSION)
#define BOKFOLIO_PLUGIN_LIBRARY "libc++"
#elif defined(_GLIBCXX_USE_CXX11_ABI) && _GLIBCXX_USE_CXX11_ABI
#define BOKFOLIO_PLUGIN_LIBRARY "libstdc++ (C++11)"
#else
#define BOKFOLIO_PLUGIN_LIBRARY "libstdc++ (old)"
#endif
#if defined(_GLIBCXX_DEBUG)
#define BOKFOLIO_PLUGIN_CHECKS " in debug mode"
#else
#define BOKFOLIO_PLUGIN_CHECKS ""
#endif

// "BokfolioSDK 0.1, libstdc++ (C++11), pointers of 8 bytes".
#define BOKFOLIO_PLUGIN_ABI                                                             \
  "BokfolioSDK " BOKFOLIO_PLUGIN_TEXT(BOKFOLIO_VERSION_MAJOR) "." BOKFOLIO_PLUGIN_TEXT( \
      BOKFOLIO_VERSION_MINOR) ", " BOKFOLIO_PLUGIN_LIBRARY BOKFOLIO_PLUGIN_CHECKS       \
                              ", pointers of " BOKFOLIO_PLUGIN_TEXT(__SIZEOF_POINTER__) " bytes"

// Makes the class the one of this shared object. It has a constructor from a Context*, as the bases
// have.
#define BOKFOLIO_PLUGIN(Class)                                                         \
  extern "C" {                                                                         \
  extern __attribute__((visibility("default"))) const char bokfolioPluginAbi[];        \
  const char bokfolioPluginAbi[] = BOKFOLIO_PLUGIN_ABI;                                \
  __attribute__((visibility("default"))) ::bokfolio::BFPluginBase* bokfolioMakePlugin( \
      ::bokfolio::Context* context) {                                                  \
    return new Class(context);                                                         \
  }                                                                                    \
  }                                                                                    \
  static_assert(::std::is_base_of_v<::bokfolio::BFPluginBase, Class>,                  \
                "a plug-in derives from BFPluginBase")
