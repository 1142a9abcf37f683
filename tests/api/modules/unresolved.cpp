// Needs a function that nobody has.
extern "C" int bokfolioNobodyHasThis();
extern "C" __attribute__((visibility("default"))) int ask() { return bokfolioNobodyHasThis(); }
