// failing_system.cpp - lets what the platform asks the system for fail like an allocation: pages, threads, listings of
// folders. The linker leads the library's calls here.
#include "support/failing_new.h"

#include <cerrno>
#include <pthread.h>
#include <sys/mman.h>

extern "C"
{
    void* __real_mmap(void* at, size_t size, int protection, int flags, int file, off_t offset);
    void* __wrap_mmap(void* at, size_t size, int protection, int flags, int file, off_t offset)
    {
        return allocationFails(size) ? MAP_FAILED : __real_mmap(at, size, protection, flags, file, offset);
    }

    // The same, where long has 32 bits.
    void* __real_mmap64(void* at, size_t size, int protection, int flags, int file, off64_t offset);
    void* __wrap_mmap64(void* at, size_t size, int protection, int flags, int file, off64_t offset)
    {
        return allocationFails(size) ? MAP_FAILED : __real_mmap64(at, size, protection, flags, file, offset);
    }

    void* __real_realloc(void* block, size_t size);
    void* __wrap_realloc(void* block, size_t size)
    {
        return allocationFails(size) ? nullptr : __real_realloc(block, size);
    }

    int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*function)(void*), void*);
    int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*function)(void*), void* with)
    {
        return allocationFails(0) ? EAGAIN : __real_pthread_create(thread, attributes, function, with);
    }
}
