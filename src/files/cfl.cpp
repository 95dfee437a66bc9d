// cfl.cpp - the merged directory of resource archives.
#include <kxcoreemb/cfl.h>

#include <new>

KxcCFL::KxcCFL() : libraries(nullptr), entries(nullptr) {}
KxcCFL::~KxcCFL() {}
KxcCFL* KxcCFL::create() { return new (std::nothrow) KxcCFL; }
INT32 KxcCFL::openLibrary(const char*) { return 0; }
KxcCFLDirectoryEntry* KxcCFL::findEntry(const char*) { return nullptr; }
INT32 KxcCFL::fileExists(const char* name) { return findEntry(name) != nullptr; }
INT32 KxcCFL::getFileSize(const char*) { return 0; }

INT8* KxcCFL::getFile(const char*, INT32& size)
{
    size = 0;
    return nullptr;
}

INT8* KxcCFL::getFile(const char* name)
{
    INT32 size;
    return getFile(name, size);
}
