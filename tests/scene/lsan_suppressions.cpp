// The software GL driver keeps a buffer it allocates for selection mode
// after its context is gone. That is the driver's, not ours: LeakSanitizer
// reads this list when the program runs in a sanitized build.
extern "C" const char* __lsan_default_suppressions() { return "leak:_dri.so\n"; }
