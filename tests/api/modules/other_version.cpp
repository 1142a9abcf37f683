// Made for a version of the library that never was.
extern "C" {
extern __attribute__((visibility("default"))) const char bokfolioPluginAbi[];
const char bokfolioPluginAbi[] = "BokfolioSDK 0.0, libstdc++ (C++11), pointers of 8 bytes";
__attribute__((visibility("default"))) void* bokfolioMakePlugin(void*) {
  // Whoever gets here did not look at the mark.
  __builtin_trap();
}
}
