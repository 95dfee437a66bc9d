// kxmem - replays an allocation trace against the engine's heap, to find the pool that a game needs.
#include <kxcoreemb/kxcoreemb.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace
{

constexpr char kUsage[] = R"(usage: kxmem [-p BYTES] [-n ROWS] [-w WIDTH] FILE

Replays an allocation trace against the engine's heap and prints how the pool fills and falls apart. FILE holds one
operation a line ("-" reads standard input; lines that begin with # are left out):

  a ID SIZE     allocates SIZE bytes, from now on called ID: a number, an address, any word
  t ID SIZE     the same, from the top of the pool
  r ID SIZE     reallocates
  f ID          frees

  -p BYTES      of the pool; the default is a quarter more than the trace has alive at its peak
  -n ROWS       of the table; default 20
  -w WIDTH      of the picture, in pixels; default 1024

The picture of the pool at the trace's peak is written to memmap0001.bmp (or the next free number) in the current
directory: headers cyan, used words red, free words black. Exit code 1 when the trace is wrong or does not fit.
)";

struct Operation
{
    char kind;
    UINT32 id, size;
    UINT32 line;
};

struct Options
{
    UINT32 pool = 0, rows = 20, width = 1024;
    std::string file;
};

[[noreturn]] void fail(const std::string& text)
{
    std::fprintf(stderr, "kxmem: %s\n", text.c_str());
    std::exit(1);
}

UINT32 parseNumber(const std::string& text, const std::string& what)
{
    char* end = nullptr;
    errno = 0;
    const unsigned long long value = std::strtoull(text.c_str(), &end, 10);
    if (text.empty() || *end || text[0] == '-' || errno || value > 0x7FFFFFFF)
        fail(what + ": \"" + text + "\" is not a number up to 2147483647");
    return static_cast<UINT32>(value);
}

Options parse(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i)
    {
        const std::string argument = argv[i];
        UINT32* const value = argument == "-p"   ? &options.pool
                              : argument == "-n" ? &options.rows
                              : argument == "-w" ? &options.width
                                                 : nullptr;
        if (value && i + 1 < argc)
            *value = parseNumber(argv[++i], argument);
        else if (!value && options.file.empty() && (argument == "-" || argument[0] != '-'))
            options.file = argument;
        else
        {
            const bool asked = argument == "-h" || argument == "--help";
            std::fputs(kUsage, asked ? stdout : stderr);
            std::exit(asked ? 0 : 1);
        }
    }
    if (options.file.empty() || options.rows == 0)
        fail(options.file.empty() ? "which trace? See kxmem --help" : "-n: at least one row");
    return options;
}

/// All operations, each of which makes sense after those before it.
std::vector<Operation> readTrace(const std::string& name)
{
    std::ifstream file;
    if (name != "-")
        file.open(name);
    if (!file)
        fail(name + ": " + std::strerror(errno));
    std::istream& in = name == "-" ? std::cin : file;
    std::vector<Operation> trace;
    std::map<std::string, UINT32> ids;
    std::vector<bool> alive;
    std::string text;
    for (UINT32 line = 1; std::getline(in, text); ++line)
    {
        const std::string where = name + ":" + std::to_string(line);
        std::istringstream words(text);
        std::string kind, id, size, rest;
        words >> kind >> id >> size;
        if (kind.empty() || kind[0] == '#')
            continue;
        const bool allocates = kind == "a" || kind == "t";
        if ((!allocates && kind != "r" && kind != "f") || words >> rest || size.empty() != (kind == "f"))
            fail(where + ": not an operation: " + text);
        const UINT32 known = static_cast<UINT32>(alive.size()), number = ids.emplace(id, known).first->second;
        alive.resize(ids.size());
        const Operation operation = {kind[0], number, size.empty() ? 0 : parseNumber(size, where), line};
        if (!size.empty() && operation.size == 0)
            fail(where + ": a block of no bytes");
        if (alive[number] == allocates)
            fail(where + ": block " + id + (allocates ? " is still there" : " is not there"));
        alive[number] = kind != "f";
        trace.push_back(operation);
    }
    if (trace.empty())
        fail(name + ": no operations");
    return trace;
}

/// The operation after which the most bytes are alive, and how many.
struct Peak
{
    explicit Peak(const std::vector<Operation>& trace)
    {
        std::map<UINT32, UINT32> sizes;
        UINT64 alive = 0;
        for (size_t i = 0; i < trace.size(); ++i)
        {
            UINT32& size = sizes[trace[i].id];
            alive += trace[i].size;
            alive -= size;
            size = trace[i].size;
            if (alive > bytes)
                bytes = alive, at = i;
        }
    }
    UINT64 bytes = 0;
    size_t at = 0;
};

/// The blocks of the heap in use.
class Blocks
{
public:
    explicit Blocks(UINT32 pool) : m_pool(pool)
    {
        m_start = static_cast<char*>(KxcMemoryManager::memAlloc(1, 0)) - sizeof(UINT32); // the first goes to the bottom
        KxcMemoryManager::memFree(m_start + sizeof(UINT32));
        KxcMemoryManager::coalesceMemory();
    }
    /// @return false when there is no room
    bool run(const Operation& operation)
    {
        void*& block = m_blocks[operation.id];
        remove(block);
        if (operation.kind == 'f')
        {
            KxcMemoryManager::memFree(block);
            m_blocks.erase(operation.id);
            return true;
        }
        void* made = operation.kind == 'r' ? KxcMemoryManager::memRealloc(block, operation.size)
                                           : KxcMemoryManager::memAlloc(operation.size, operation.kind == 't');
        if (!made)
            return false;
        block = made;
        const UINT32 bytes = KxcMemoryManager::memSize(block);
        m_used[static_cast<char*>(block) - sizeof(UINT32)] = bytes;
        m_usedBytes += bytes;
        return true;
    }
    UINT32 used() const { return m_usedBytes; } ///< headers included
    UINT32 count() const { return static_cast<UINT32>(m_used.size()); }
    UINT32 free() const { return m_pool - m_usedBytes; }
    UINT32 largestFree() const ///< once free neighbours are merged
    {
        const char* end = m_start;
        ptrdiff_t largest = 0;
        for (const auto& block : m_used)
        {
            largest = std::max(largest, block.first - end);
            end = block.first + block.second;
        }
        return static_cast<UINT32>(std::max(largest, m_start + m_pool - end));
    }

private:
    void remove(void* block)
    {
        const auto found = block ? m_used.find(static_cast<char*>(block) - sizeof(UINT32)) : m_used.end();
        if (found == m_used.end())
            return;
        m_usedBytes -= found->second;
        m_used.erase(found);
    }

    UINT32 m_pool, m_usedBytes = 0;
    char* m_start;
    std::map<UINT32, void*> m_blocks;
    std::map<const char*, UINT32> m_used;
};

void printRow(size_t operations, const Blocks& blocks)
{
    const UINT32 free = blocks.free(), largest = blocks.largestFree();
    std::printf("%10zu %9u %11u %11u %11u %6.1f%%\n", operations, blocks.count(), blocks.used(), free, largest,
                free ? 100.0 * (free - largest) / free : 0.0);
}

} // namespace

int main(int argc, char** argv)
{
    const Options options = parse(argc, argv);
    const std::vector<Operation> trace = readTrace(options.file);
    const Peak peak(trace);
    const UINT64 wanted = options.pool ? options.pool : peak.bytes + peak.bytes / 4 + 1024;
    if (wanted > 0x7FFFFFFC)
        fail("the trace needs more than 2 GB");
    const UINT32 pool = (static_cast<UINT32>(wanted) + 3) & ~3u;

    embeddedInit(1, 1, nullptr, nullptr, nullptr);
    kxcUseMemoryManager(pool);
    Blocks blocks(pool);
    std::printf("%zu operations, at most %" PRIu64 " bytes alive; a pool of %u bytes\n\n", trace.size(), peak.bytes,
                pool);
    std::printf("%10s %9s %11s %11s %11s %7s\n", "operations", "blocks", "used", "free", "largest", "apart");
    const size_t step = std::max<size_t>(1, trace.size() / options.rows);
    int result = 0;
    for (size_t i = 0; i < trace.size() && result == 0; ++i)
    {
        if (!blocks.run(trace[i]))
        {
            std::fflush(stdout);
            std::fprintf(stderr, "kxmem: %s:%u: %u bytes do not fit; the picture shows why\n", options.file.c_str(),
                         trace[i].line, trace[i].size);
            result = 1;
        }
        if (result == 0 && i == peak.at)
            KxcMemoryManager::saveMemoryMap(options.width);
        if (result != 0 || (i + 1) % step == 0 || i + 1 == trace.size())
            printRow(i + 1, blocks);
    }
    embeddedDeinit();
    return result;
}
