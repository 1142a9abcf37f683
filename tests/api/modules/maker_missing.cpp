// Half a plug-in: the mark without what makes one.
#include "bokfolio/plugins/plugin_abi.hpp"

extern "C" {
extern __attribute__((visibility("default"))) const char bokfolioPluginAbi[];
const char bokfolioPluginAbi[] = BOKFOLIO_PLUGIN_ABI;
}
