// version.cpp - tells which library this is.
#include <kxcoreemb/version.h>

KxcINT32 kxcGetVersion() { return KXC_VERSION; }
