// leaks_of_others.cpp - what LeakSanitizer passes over: memory that SDL's own libraries keep to the end.

extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() { return "leak:libdbus-1\n"; }
