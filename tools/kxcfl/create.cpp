// create.cpp - packs files and folders into an archive.
#include "kxcfl.h"
#include "progress.h"

#include <cstdio>
#include <filesystem>
#include <map>
#include <new>

namespace fs = std::filesystem;

namespace
{

constexpr uintmax_t kLargest = 0x7FFFFFFF; // of an entry, and of an archive, in bytes

/// Entry names and the files that they are made from, sorted, so that the same files make the same archive.
class FileList
{
public:
    /// @param archive  left out when it lies among the files
    explicit FileList(fs::path archive) : m_archive(std::move(archive)) {}

    /// Adds a file, or all files below a folder. False, with the reason on stderr, when one cannot be packed.
    bool add(const fs::path& folder, const std::string& argument)
    {
        const fs::path relative = fs::path(argument).lexically_normal().relative_path();
        if (relative.empty() || *relative.begin() == "..")
            return complain(argument, "lies outside the folder that names start at; see -C"), false;
        const fs::path path =
            fs::path(argument).is_absolute() ? fs::path(argument) : (folder / argument).lexically_normal();
        std::error_code error;
        const fs::file_status status = fs::status(path, error);
        if (fs::is_regular_file(status))
            return addFile(path, relative);
        if (!fs::is_directory(status))
            return complain(argument, fs::exists(status) ? "is neither a file nor a folder" : "does not exist"), false;
        fs::recursive_directory_iterator item(path, error), end;
        for (; !error && item != end; item.increment(error))
        {
            if (item->is_directory(error) && !item->is_symlink(error))
                continue;
            error.clear();
            if (!item->is_regular_file(error)) // a link to a folder might lead round in circles
                complain(item->path().string(), "left out: not a file");
            else if (!addFile(item->path(), relative / item->path().lexically_relative(path)))
                return false;
            error.clear();
        }
        if (error)
            complain(argument, error.message());
        return !error;
    }

    const std::map<std::string, fs::path>& files() const { return m_files; }
    double bytes() const { return m_bytes; }

private:
    bool addFile(const fs::path& path, const fs::path& relative)
    {
        std::error_code error;
        if (fs::equivalent(path, m_archive, error))
            return true;
        const uintmax_t size = fs::file_size(path, error);
        const std::string name = relative.lexically_normal().generic_string();
        if (error || size > kLargest || name.size() > 0xFFFF)
            return complain(path.string(), error ? error.message() : "is too large for an archive"), false;
        if (m_files.emplace(name, path).second)
            m_bytes += static_cast<double>(size);
        return true;
    }

    fs::path m_archive;
    std::map<std::string, fs::path> m_files;
    double m_bytes = 0;
};

/// Reads a whole file. False, with the reason on stderr, when it cannot be.
bool readFile(const fs::path& path, std::unique_ptr<INT8[]>& data, INT32& size)
{
    std::error_code error;
    const uintmax_t bytes = fs::file_size(path, error);
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (error || !file || bytes > kLargest)
        return complain(path.string(), "cannot be read"), false;
    data.reset(new (std::nothrow) INT8[static_cast<size_t>(bytes)]);
    if (!data)
        return complain(path.string(), "does not fit into memory"), false;
    size = static_cast<INT32>(bytes);
    if (std::fread(data.get(), 1, static_cast<size_t>(bytes), file.get()) != bytes)
        return complain(path.string(), "cannot be read, or changed meanwhile"), false;
    return true;
}

bool writeArchive(const FileList& list, const std::string& path, UINT32 filterWord)
{
    KxcCFLMaker* maker = KxcCFLMaker::create(("//" + path).c_str());
    if (!maker)
        return complain(path, "cannot be written"), false;
    Progress progress(list.bytes());
    for (const auto& [name, file] : list.files())
    {
        std::unique_ptr<INT8[]> data;
        INT32 size;
        if (!readFile(file, data, size))
            return false;
        // A compressor would only add its header to nothing.
        if (size == 0)
            maker->store(name.c_str(), data.get(), 0, 0);
        else if (!maker->store(name.c_str(), data.get(), size, filterWord))
            return complain(name, "cannot be stored: the disk is full, memory is, or the archive would pass 2 GB"),
                   false;
        progress.advance(size);
    }
    return maker->finish(filterWord) || (complain(path, "cannot be finished: is the disk full?"), false);
}

} // namespace

int createArchive(const Request& request)
{
    FileList list(request.archive);
    for (const std::string& name : request.names)
        if (!list.add(request.folder, name))
            return EXIT_BAD;
    if (list.files().empty())
        return complain(request.archive, "there is nothing to pack");
    // An archive that is already there stays until the new one is whole.
    const std::string part = request.archive + ".part";
    std::error_code error;
    const bool written = writeArchive(list, part, request.filterWord);
    if (written)
        fs::rename(part, request.archive, error);
    if (written && !error)
        return EXIT_GOOD;
    if (error)
        complain(request.archive, error.message());
    fs::remove(part, error);
    return EXIT_BAD;
}
