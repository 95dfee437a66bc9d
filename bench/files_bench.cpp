// files_bench.cpp - archives: opening, looking up, reading, listing. The files are 1000 small and 20 large real ones.
// Reading by name has two lines beside it: zlib on streams in memory, and zlib after opening a file for every stream.
#include <kxcoreemb/kxcoreemb.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>
#include <zlib.h>

namespace fs = std::filesystem;

namespace
{

constexpr char kRoot[] = "/usr/share"; // where the files are taken from
constexpr char kArchive[] = "bench_files.cfl", kArchivePlain[] = "bench_files_plain.cfl"; // beside this program
const std::string kStreams = fs::canonical("/proc/self/exe").string() + ".streams";       // the same files, bare zlib
constexpr size_t kSmall = 1000, kLarge = 20;

struct Scene
{
    std::vector<std::string> names, missing; // the small files, then the large ones
    std::vector<size_t> all, small, large;   // indices, shuffled
    INT64 smallBytes = 0, largeBytes = 0;
    struct Stream
    {
        std::string bytes;
        long offset; // in the file of streams
        uLong size;  // of what it inflates to
    };
    std::vector<Stream> streams;

    static const Scene& get()
    {
        static const Scene scene;
        return scene;
    }

private:
    Scene()
    {
        embeddedInit(
            0, 0, [] { return kxcUseDefaults(), 0L; }, nullptr, nullptr);
        std::vector<fs::path> smallFiles, largeFiles;
        collect(kRoot, smallFiles, largeFiles);
        pick(smallFiles, kSmall);
        pick(largeFiles, kLarge);
        smallFiles.insert(smallFiles.end(), largeFiles.begin(), largeFiles.end());
        // Entries are zlib streams of its level 6. The directory is stored as it is, and compressed.
        std::ofstream streamFile(kStreams, std::ios::binary);
        KxcCFLMaker* makers[] = {KxcCFLMaker::create(kArchivePlain), KxcCFLMaker::create(kArchive)};
        for (const fs::path& path : smallFiles)
        {
            std::ifstream file(path, std::ios::binary);
            const std::string bytes(std::istreambuf_iterator<char>(file), {});
            const INT32 size = static_cast<INT32>(bytes.size());
            names.push_back(path.lexically_relative(kRoot).string());
            missing.push_back(names.back() + "~");
            (names.size() <= kSmall ? smallBytes : largeBytes) += size;
            uLong length = compressBound(bytes.size());
            std::string stream(length, 0);
            compress2(reinterpret_cast<Bytef*>(&stream[0]), &length, reinterpret_cast<const Bytef*>(bytes.data()),
                      bytes.size(), 6);
            stream.resize(length);
            streams.push_back({stream, static_cast<long>(streamFile.tellp()), bytes.size()});
            streamFile << stream;
            for (KxcCFLMaker* maker : makers)
                maker->store(names.back().c_str(), reinterpret_cast<const INT8*>(bytes.data()), size, 1);
        }
        makers[0]->finish(0);
        makers[1]->finish(1);
        KxcCore::openCFL(kArchivePlain);
        all = shuffled(0, names.size());
        small = shuffled(0, kSmall);
        large = shuffled(kSmall, names.size());
    }

    static void collect(const fs::path& folder, std::vector<fs::path>& smallFiles, std::vector<fs::path>& largeFiles)
    {
        std::vector<fs::path> files, folders;
        for (const fs::directory_entry& item : fs::directory_iterator(folder))
        {
            if (item.is_symlink())
                continue;
            if (item.is_directory())
                folders.push_back(item.path());
            else if (item.is_regular_file())
                files.push_back(item.path());
        }
        std::sort(files.begin(), files.end());
        std::sort(folders.begin(), folders.end());
        for (const fs::path& file : files)
        {
            const std::string name = file.string();
            const auto odd = [](char c) { return c < 0 || c == ':' || c == '\\' || c == ' '; };
            const uintmax_t size = fs::file_size(file);
            if (std::any_of(name.begin(), name.end(), odd))
                continue;
            if (size >= 512 && size <= 16384)
                smallFiles.push_back(file);
            else if (size >= 300000 && size <= 6000000)
                largeFiles.push_back(file);
        }
        for (const fs::path& inner : folders)
            collect(inner, smallFiles, largeFiles);
    }

    static void pick(std::vector<fs::path>& files, size_t count)
    {
        for (size_t i = 0; i < count && files.size() >= count; ++i)
            files[i] = files[i * files.size() / count];
        files.resize(std::min(count, files.size()));
    }

    static std::vector<size_t> shuffled(size_t from, size_t to)
    {
        std::vector<size_t> order;
        for (size_t i = from; i < to; ++i)
            order.push_back(i);
        UINT32 seed = 5;
        for (size_t i = order.size(); i > 1; --i)
            std::swap(order[i - 1], order[((seed = seed * 1664525u + 1013904223u) >> 8) % i]);
        return order;
    }
};

void openAndMerge(benchmark::State& state, const char* archive)
{
    Scene::get();
    for (auto _ : state)
        delete KxcCFL::create(archive);
}

/// An archive of many entries with nothing in them.
void openMany(benchmark::State& state)
{
    Scene::get();
    const std::string name = "bench_many_" + std::to_string(state.range(0)) + ".cfl";
    KxcCFLMaker* maker = KxcCFLMaker::create(name.c_str());
    for (INT64 i = 0; i < state.range(0); ++i)
        maker->store(("data/level" + std::to_string(i % 97) + "/picture" + std::to_string(i) + ".tga").c_str(),
                     reinterpret_cast<const INT8*>("x"), 1, 0);
    maker->finish(0);
    for (auto _ : state)
        delete KxcCFL::create(name.c_str());
    KxcFile::remove(name.c_str());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void listMany(benchmark::State& state)
{
    Scene::get();
    KxcCore::resetCFLDirectory();
    KxcCFLMaker* maker = KxcCFLMaker::create("bench_list.cfl");
    for (INT64 i = 0; i < state.range(0); ++i)
        maker->store(("picture" + std::to_string(i) + ".tga").c_str(), reinterpret_cast<const INT8*>("x"), 1, 0);
    maker->finish(0);
    KxcCore::openCFL("bench_list.cfl");
    for (auto _ : state)
    {
        const std::unique_ptr<KxcFileFind> finder(KxcFileFind::create("*.tga", KXCFILEFIND_CFL));
        while (const char* name = finder->next())
            benchmark::DoNotOptimize(name);
    }
    KxcFile::remove("bench_list.cfl");
    KxcCore::resetCFLDirectory();
    KxcCore::openCFL(kArchivePlain);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void lookUp(benchmark::State& state, bool hit)
{
    const Scene& scene = Scene::get();
    const std::unique_ptr<KxcCFL> archive(KxcCFL::create(kArchivePlain));
    for (auto _ : state)
        for (size_t i : scene.all)
            benchmark::DoNotOptimize(archive->fileExists((hit ? scene.names : scene.missing)[i].c_str()));
    state.SetItemsProcessed(state.iterations() * static_cast<INT64>(scene.all.size()));
}

void readEntries(benchmark::State& state, bool large)
{
    const Scene& scene = Scene::get();
    for (auto _ : state)
        for (size_t i : large ? scene.large : scene.small)
            delete[] KxcFile::getFile(scene.names[i].c_str(), KXCFILE_CFL_ONLY);
    state.SetBytesProcessed(state.iterations() * (large ? scene.largeBytes : scene.smallBytes));
}

void readByZlib(benchmark::State& state, bool large, bool reopen)
{
    const Scene& scene = Scene::get();
    std::unordered_map<std::string, size_t> index;
    for (size_t i = 0; i < scene.names.size(); ++i)
        index[scene.names[i]] = i;
    std::vector<Bytef> inflated(6000000);
    for (auto _ : state)
        for (size_t i : large ? scene.large : scene.small)
        {
            const Scene::Stream& entry = scene.streams[index.find(scene.names[i])->second];
            std::vector<char> stream;
            const char* bytes = entry.bytes.data();
            if (reopen)
            {
                std::FILE* file = std::fopen(kStreams.c_str(), "rb");
                stream.resize(entry.bytes.size());
                std::fseek(file, entry.offset, SEEK_SET);
                if (std::fread(stream.data(), 1, stream.size(), file) != stream.size())
                    state.SkipWithError("the file of streams is short");
                std::fclose(file);
                bytes = stream.data();
            }
            uLong size = entry.size;
            if (uncompress(inflated.data(), &size, reinterpret_cast<const Bytef*>(bytes), entry.bytes.size()) != Z_OK)
                state.SkipWithError("a stream is broken");
        }
    state.SetBytesProcessed(state.iterations() * (large ? scene.largeBytes : scene.smallBytes));
}

} // namespace

BENCHMARK_CAPTURE(openAndMerge, plainDirectory, kArchivePlain);
BENCHMARK_CAPTURE(openAndMerge, zlibDirectory, kArchive);
BENCHMARK(openMany)->Arg(1000)->Arg(10000);
BENCHMARK_CAPTURE(lookUp, hit, true);
BENCHMARK_CAPTURE(lookUp, miss, false);
BENCHMARK_CAPTURE(readEntries, small, false);
BENCHMARK_CAPTURE(readEntries, large, true);
BENCHMARK_CAPTURE(readByZlib, small, false, false);
BENCHMARK_CAPTURE(readByZlib, large, true, false);
BENCHMARK_CAPTURE(readByZlib, smallReopened, false, true);
BENCHMARK(listMany)->Arg(1000)->Arg(10000);
