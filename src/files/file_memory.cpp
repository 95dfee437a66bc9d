// file_memory.cpp - a read-only file over a buffer.
#include <kxcoreemb/file.h>

#include <cstring>
#include <new>

KxcFileMemory::KxcFileMemory() : data(nullptr), position(0), size(0) {}
KxcFileMemory::~KxcFileMemory() {}

KxcFile* KxcFileMemory::open(const char* name, const INT8* data, UINT32 size)
{
    if (!name || (!data && size > 0) || size > 0x7FFFFFFFu)
        return nullptr;
    KxcFileMemory* file = new (std::nothrow) KxcFileMemory;
    if (!file)
        return nullptr;
    if (!file->init(name))
    {
        delete file;
        return nullptr;
    }
    file->data = data;
    file->size = static_cast<INT32>(size);
    return file;
}

INT32 KxcFileMemory::seek(INT32 offset, INT32 whence)
{
    INT64 target = position;
    if (whence == 0)
        target = offset;
    else if (whence == 1)
        target += offset;
    else if (whence == 2)
        target = static_cast<INT64>(size) + offset;
    position = target < 0 ? 0 : target > size ? size : static_cast<INT32>(target);
    return 0;
}

INT32 KxcFileMemory::tell() { return position; }
INT32 KxcFileMemory::getChar() { return position < size ? static_cast<UINT8>(data[position++]) : -1; }
INT32 KxcFileMemory::putChar(INT32) { return -1; }

INT32 KxcFileMemory::read(void* buffer, INT32 elementSize, INT32 count)
{
    if (!buffer || elementSize <= 0 || count <= 0)
        return 0;
    const INT64 asked = static_cast<INT64>(elementSize) * count;
    const INT32 left = size - position;
    const INT32 bytes = asked < left ? static_cast<INT32>(asked) : left;
    if (bytes > 0)
        memcpy(buffer, data + position, static_cast<size_t>(bytes));
    position += bytes;
    return bytes / elementSize;
}

INT32 KxcFileMemory::write(const void*, INT32, INT32) { return -1; }

INT32 KxcFileMemory::close()
{
    delete[] data;
    delete this;
    return 0;
}

INT32 KxcFileMemory::endOfFile() { return position >= size; }
