// leaks_of_others.cpp - what LeakSanitizer is to pass over: memory that SDL's own libraries keep until the process ends.

extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() { return "leak:libdbus-1\n"; }
