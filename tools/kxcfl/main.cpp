// main.cpp - kxcfl: packs game data into resource archives, lists, tests and unpacks them.
#include "kxcfl.h"
#include "progress.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>

namespace
{

constexpr char kUsage[] =
    "usage: kxcfl create [--filter none|zlib|best] [-C FOLDER] ARCHIVE PATH...\n"
    "       kxcfl list ARCHIVE [PATTERN...]\n"
    "       kxcfl test ARCHIVE [PATTERN...]\n"
    "       kxcfl extract [-C FOLDER] ARCHIVE [PATTERN...]\n"
    "       kxcfl cat ARCHIVE PATTERN...\n"
    "\n"
    "Packs files and folders into a resource archive, and unpacks them. Names in the archive are the\n"
    "paths as given, with \"/\" between folders; patterns match whole names, with * and ?.\n"
    "  --filter KIND  how files are stored: best (default) takes what is smallest, file by file\n"
    "  -C FOLDER      take the paths from there; extract: write there (default: the current folder)\n"
    "Exit status: 0 done, 1 something is missing, damaged or refused, 2 wrong command line.\n";

int list(const Request& request)
{
    Archive archive;
    std::vector<const KxcCFLDirectoryEntry*> entries;
    if (!archive.open(request.archive) || !archive.select(request.names, entries))
        return EXIT_BAD;
    const auto line = [](double size, double stored, const std::string& filter, const std::string& name)
    {
        const double ratio = size > 0 ? stored / size * 100 : 100;
        std::printf("%10.0f %10.0f %4.0f%%  %-12s  %s\n", size, stored, ratio, filter.c_str(), name.c_str());
    };
    std::printf("%10s %10s %5s  %-12s  %s\n", "size", "stored", "ratio", "filter", "name");
    double size = 0, stored = 0;
    for (const KxcCFLDirectoryEntry* entry : entries)
    {
        const UINT32 word = entry->getFilterWord();
        char filter[64];
        std::snprintf(filter, sizeof(filter), word >> 16 ? "%s+%08X" : "%s",
                      KxcCFLResourceFilter::handlerShortName(word & 0xFFFF), word & 0xFFFF0000);
        const double bytes = archive.storedSize(entry);
        line(entry->getSize(), bytes, filter, printable(entry->getName()));
        size += entry->getSize();
        stored += bytes;
    }
    line(size, stored, "", std::to_string(entries.size()) + (entries.size() == 1 ? " entry" : " entries"));
    return std::fflush(stdout) == 0 ? EXIT_GOOD : complain("standard output", "cannot be written");
}

int test(const Request& request)
{
    Archive archive;
    std::vector<const KxcCFLDirectoryEntry*> entries;
    if (!archive.open(request.archive) || !archive.select(request.names, entries))
        return EXIT_BAD;
    double bytes = 0;
    for (const KxcCFLDirectoryEntry* entry : entries)
        bytes += entry->getSize();
    Progress progress(bytes);
    size_t bad = 0;
    for (const KxcCFLDirectoryEntry* entry : entries)
    {
        std::unique_ptr<INT8[]> data;
        if (!archive.read(entry, data))
        {
            complain(entry->getName(), "damaged, or stored with a filter that is not known here");
            ++bad;
        }
        progress.advance(entry->getSize());
    }
    Progress::hide();
    if (bad == 0)
        std::printf("%s: %zu entries, all good\n", request.archive.c_str(), entries.size());
    else
        std::printf("%s: %zu of %zu entries are bad\n", request.archive.c_str(), bad, entries.size());
    return bad == 0 ? EXIT_GOOD : EXIT_BAD;
}

int cat(const Request& request)
{
    Archive archive;
    std::vector<const KxcCFLDirectoryEntry*> entries;
    if (!archive.open(request.archive) || !archive.select(request.names, entries))
        return EXIT_BAD;
    int result = EXIT_GOOD;
    for (const KxcCFLDirectoryEntry* entry : entries)
    {
        const size_t size = static_cast<size_t>(entry->getSize());
        std::unique_ptr<INT8[]> data;
        if (!archive.read(entry, data))
            result = complain(entry->getName(), "damaged, or stored with a filter that is not known here");
        else if (size > 0 && std::fwrite(data.get(), 1, size, stdout) != size)
            return complain("standard output", "cannot be written");
    }
    return std::fflush(stdout) == 0 ? result : complain("standard output", "cannot be written");
}

struct Command
{
    const char* name;
    int (*run)(const Request&);
    size_t leastNames;
    bool filters, folder; // whether it takes --filter and -C
};
constexpr Command kCommands[] = {{"create", createArchive, 1, true, true},
                                 {"list", list, 0, false, false},
                                 {"test", test, 0, false, false},
                                 {"extract", extractArchive, 0, false, true},
                                 {"cat", cat, 1, false, false}};

/// Reads the command line; null, with the trouble on stderr, when it makes no sense.
const Command* parse(int argc, char** argv, Request& request)
{
    const Command* command = nullptr;
    for (const Command& known : kCommands)
        if (argc > 1 && std::strcmp(argv[1], known.name) == 0)
            command = &known;
    if (!command)
    {
        if (argc > 1)
            std::fprintf(stderr, "kxcfl: there is no command %s\n", argv[1]);
        return nullptr;
    }
    const std::map<std::string, UINT32> filters = {{"none", 0}, {"zlib", 1}, {"best", 0xFFFF}};
    std::vector<std::string> words;
    bool optionsEnd = false;
    for (int i = 2; i < argc; ++i)
    {
        const std::string word = argv[i];
        const bool isOption = !optionsEnd && word.size() > 1 && word[0] == '-';
        if (!isOption)
            words.push_back(word);
        else if (word == "--")
            optionsEnd = true;
        else if (!((word == "--filter" && command->filters) || (word == "-C" && command->folder)) || i + 1 == argc)
        {
            std::fprintf(stderr, "kxcfl: %s: %s\n", word.c_str(),
                         i + 1 == argc ? "no such option, or without its value" : "not an option of this command");
            return nullptr;
        }
        else if (word == "-C")
            request.folder = argv[++i];
        else if (filters.count(argv[++i]))
            request.filterWord = filters.at(argv[i]);
        else
        {
            std::fprintf(stderr, "kxcfl: %s: not a filter; there are none, zlib and best\n", argv[i]);
            return nullptr;
        }
    }
    if (words.size() < 1 + command->leastNames)
    {
        std::fprintf(stderr, "kxcfl: %s: a path is missing\n", command->name);
        return nullptr;
    }
    request.archive = words[0];
    request.names.assign(words.begin() + 1, words.end());
    return command;
}

long useFilters()
{
    kxcUseCFLFilterZlib();
    return 0;
}

} // namespace

std::string printable(const std::string& name)
{
    std::string text = name;
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 32 || c == 127)
            c = '?';
    return text;
}

int complain(const std::string& subject, const std::string& text)
{
    Progress::hide();
    std::fprintf(stderr, "kxcfl: %s: %s\n", printable(subject).c_str(), text.c_str());
    return EXIT_BAD;
}

bool Archive::open(const std::string& path)
{
    KxcFile* file = KxcFile::openDiskFile(("//" + path).c_str(), "rb");
    if (!file)
        return complain(path, "cannot be read"), false;
    m_directory.reset(KxcCFL::create(file));
    return m_directory || (complain(path, "not an archive with entries, or cut or damaged"), false);
}

bool Archive::select(const std::vector<std::string>& patterns, std::vector<const KxcCFLDirectoryEntry*>& entries) const
{
    std::vector<bool> used(patterns.size());
    for (const KxcCFLDirectoryEntry* entry = m_directory->getFirstEntry(); entry; entry = entry->getNext())
    {
        bool wanted = patterns.empty();
        for (size_t i = 0; i < patterns.size(); ++i)
            if (patterns[i] == entry->getName() ||
                KxcStringToolkit::matchWildcard(patterns[i].c_str(), entry->getName()))
                wanted = used[i] = true;
        if (wanted)
            entries.push_back(entry);
    }
    bool allUsed = true;
    for (size_t i = 0; i < patterns.size(); ++i)
        if (!used[i])
            allUsed = complain(patterns[i], "no entry has such a name") == EXIT_GOOD;
    return allUsed;
}

bool Archive::read(const KxcCFLDirectoryEntry* entry, std::unique_ptr<INT8[]>& data)
{
    INT32 size;
    data.reset(m_directory->getFile(entry->getName(), size));
    return data || size == 0;
}

UINT32 Archive::storedSize(const KxcCFLDirectoryEntry* entry)
{
    KxcFile* file = m_directory->getFilePtr(entry->getName());
    const UINT32 size = file && file->seek(-4, 1) == 0 ? file->readUINT32() : 0;
    m_directory->dropFilePtr(file);
    return size;
}

int main(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i)
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0)
            return std::fputs(kUsage, stdout), EXIT_GOOD;
    Request request;
    const Command* command = parse(argc, argv, request);
    if (!command)
        return std::fputs(kUsage, stderr), EXIT_USAGE;
    embeddedInit(0, 0, useFilters, nullptr, nullptr);
    const int result = command->run(request);
    embeddedDeinit();
    return result;
}
