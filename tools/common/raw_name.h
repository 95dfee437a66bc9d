// raw_name.h - a path of the shell's as a name that KxcFile takes as it is.
#pragma once

#include <cstdlib>
#include <memory>
#include <string>

/// The library's own names start at the folder of the program; "//" before a path makes it raw.
inline std::string rawName(const std::string& path)
{
    const std::unique_ptr<char, void (*)(void*)> full(realpath(path.c_str(), nullptr), std::free);
    return full ? std::string("//") + full.get() : "//" + path;
}
