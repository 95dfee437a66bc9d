// kxcfl.h - what the commands of kxcfl share.
#pragma once

#include <kxcoreemb/kxcoreemb.h>

#include <memory>
#include <string>
#include <vector>

enum : int
{
    EXIT_GOOD = 0,
    EXIT_BAD = 1,  // a file or an archive is not as it must be
    EXIT_USAGE = 2 // the command line is
};

/// What a command line asks for.
struct Request
{
    UINT32 filterWord = 0xFFFF;     // of --filter
    std::string folder = ".";       // of -C
    std::string archive;            // its path
    std::vector<std::string> names; // paths or patterns, as the command has it
};

int createArchive(const Request& request);
int extractArchive(const Request& request);

/// Prints "kxcfl: subject: text" to stderr, the subject made printable. @return EXIT_BAD
int complain(const std::string& subject, const std::string& text);
/// A name as a terminal may see it: names in an archive are anybody's.
std::string printable(const std::string& name);

/// An open archive; its file stays open.
class Archive
{
public:
    /// False, with the reason on stderr, when the file cannot be read or is no archive.
    bool open(const std::string& path);
    /// The entries that match any of the patterns, in stored order; all of them without patterns.
    /// False, with the reason on stderr, when a pattern matches nothing.
    bool select(const std::vector<std::string>& patterns, std::vector<const KxcCFLDirectoryEntry*>& entries) const;
    /// Decodes an entry. False when it cannot be read.
    bool read(const KxcCFLDirectoryEntry* entry, std::unique_ptr<INT8[]>& data);
    /// How many bytes are stored of an entry; 0 when the file ends before it.
    UINT32 storedSize(const KxcCFLDirectoryEntry* entry);

private:
    std::unique_ptr<KxcCFL> m_directory;
};
