// A shared object that is about something else.
extern "C" __attribute__((visibility("default"))) int answer() { return 42; }
