// extract.cpp - writes entries as files, below one folder and nowhere else.
//
// An archive may be anybody's: its names are checked before they become paths, and no symbolic link is followed.
#include "kxcfl.h"
#include "progress.h"

#include <cstdio>
#include <filesystem>

namespace fs = std::filesystem;

namespace
{

/// The path of an entry below the target folder. False when the name leads anywhere else, on any system.
bool pathOf(const std::string& name, fs::path& relative)
{
    const fs::path path(name);
    if (name.empty() || path.has_root_path() || name[0] == '/' || name[0] == '\\')
        return false;
    for (size_t begin = 0; begin <= name.size();)
    {
        const size_t end = std::min(name.find_first_of("/\\", begin), name.size());
        if (name.compare(begin, end - begin, "..") == 0)
            return false;
        begin = end + 1;
    }
    relative = path.lexically_normal();
    return relative.has_filename() && relative != ".";
}

/// Makes the folders between the target folder and a file. Null, or why not.
const char* makeFolders(const fs::path& target, const fs::path& relative)
{
    fs::path folder = target;
    std::error_code error;
    for (const fs::path& part : relative)
    {
        folder /= part;
        const fs::file_status status = fs::symlink_status(folder, error);
        if (fs::is_symlink(status))
            return "refused: a symbolic link lies on the way";
        if (!fs::is_directory(status) && !fs::create_directory(folder, error))
            return fs::exists(status) ? "a file lies where its folder must be" : "its folder cannot be made";
    }
    return nullptr;
}

/// Null, or why not.
const char* writeFile(const fs::path& path, const INT8* data, size_t size)
{
    std::error_code error;
    if (fs::is_symlink(fs::symlink_status(path, error)))
        return "refused: a symbolic link lies in its place";
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        return "cannot be written";
    const bool written = size == 0 || std::fwrite(data, 1, size, file) == size;
    return std::fclose(file) == 0 && written ? nullptr : "cannot be written whole: is the disk full?";
}

} // namespace

int extractArchive(const Request& request)
{
    Archive archive;
    std::vector<const KxcCFLDirectoryEntry*> entries;
    if (!archive.open(request.archive) || !archive.select(request.names, entries))
        return EXIT_BAD;
    std::error_code error;
    fs::create_directories(request.folder, error);
    if (!fs::is_directory(request.folder, error))
        return complain(request.folder, "is no folder and cannot be made one");

    double bytes = 0;
    for (const KxcCFLDirectoryEntry* entry : entries)
        bytes += entry->getSize();
    Progress progress(bytes);
    int result = EXIT_GOOD;
    fs::path folderMade;
    for (const KxcCFLDirectoryEntry* entry : entries)
    {
        fs::path relative;
        std::unique_ptr<INT8[]> data;
        const char* trouble = nullptr;
        if (!pathOf(entry->getName(), relative))
            trouble = "refused: the name leads out of the folder";
        else if (!archive.read(entry, data))
            trouble = "damaged, or stored with a filter that is not known here";
        else if (relative.parent_path() != folderMade)
            trouble = makeFolders(request.folder, relative.parent_path());
        if (!trouble)
        {
            folderMade = relative.parent_path();
            trouble = writeFile(request.folder / relative, data.get(), static_cast<size_t>(entry->getSize()));
        }
        if (trouble)
            result = complain(entry->getName(), trouble);
        progress.advance(entry->getSize());
    }
    return result;
}
