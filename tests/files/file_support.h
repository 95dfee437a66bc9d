// file_support.h - a disk folder, an engine whose program lies in it, and archives built byte by byte.
#pragma once

#include "support/engine.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

inline std::string u32(UINT32 value)
{
    std::string bytes;
    for (INT32 shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>(value >> shift);
    return bytes;
}

/// An archive of entries that are stored as they are, its directory in the order given.
inline std::string archiveOf(const std::vector<std::pair<std::string, std::string>>& entries)
{
    std::string payload, directory;
    for (const auto& [name, content] : entries)
    {
        directory += u32(static_cast<UINT32>(content.size())) + u32(static_cast<UINT32>(12 + payload.size())) + u32(0);
        directory += u32(static_cast<UINT32>(name.size())).substr(0, 2) + name;
        payload += u32(static_cast<UINT32>(content.size())) + content;
    }
    const UINT32 position = static_cast<UINT32>(12 + payload.size()), size = static_cast<UINT32>(directory.size());
    return "CFL3" + u32(position) + u32(size) + payload + u32(0) + u32(size) + directory + u32(position + size + 16) +
           "3CFL";
}

/// A test with a folder of its own, which the engine takes for the program's.
class Files : public testing::Test
{
protected:
    Files()
    {
        char pattern[] = "/tmp/kxc-files-XXXXXX";
        root = std::string(mkdtemp(pattern)) + "/";
        executable = root + "game";
        for (char& c : executable)
            c = c == '/' ? '\\' : c;
        kxcPlatformExecutablePathHook = executable.c_str();
        engine = std::make_unique<Engine>();
    }
    ~Files() override
    {
        engine.reset();
        kxcPlatformExecutablePathHook = nullptr;
        std::filesystem::remove_all(root);
    }

    void put(const std::string& name, const std::string& content)
    {
        std::ofstream(root + name, std::ios::binary) << content;
    }
    std::string onDisk(const std::string& name)
    {
        std::ifstream file(root + name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }
    void putArchive(const std::string& name, const std::vector<std::pair<std::string, std::string>>& entries)
    {
        put(name, archiveOf(entries));
        ASSERT_EQ(KxcCore::openCFL(name.c_str()), 1) << name;
    }

    /// The content through the engine; "-" when it cannot be opened.
    static std::string content(KxcFile* file)
    {
        if (!file)
            return "-";
        std::string text;
        for (INT32 ch; (ch = file->getChar()) >= 0;)
            text += static_cast<char>(ch);
        file->close();
        return text;
    }
    static std::string content(const char* name, UINT32 strategy)
    {
        return content(KxcFile::open(name, "rb", strategy));
    }

    std::string root, executable; // root ends with "/"
    std::unique_ptr<Engine> engine;
};
