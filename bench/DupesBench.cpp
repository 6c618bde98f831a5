// Duplicates over a board of 100 areas of 10,000 entries each, every entry with its file:
// "kelvane dupes --all --by name", and "--by content" a second time with the hash cache warm,
// which must read no file. First, the hashes the finder could use, each over one large file,
// in MB/s: what chose libcrypto's SHA-256.

#include "BenchSupport.h"

#include "boardwide/Dupes.h"
#include "cli/CommandLine.h"

#include <QCryptographicHash>
#include <QTemporaryDir>

#include <openssl/evp.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include <dirent.h>
#include <sys/stat.h>

using namespace Kelvane;
namespace fs = std::filesystem;

namespace {

constexpr int AreaCount = 100;
constexpr int EntriesPerArea = 10000;
constexpr int LargeFileMegabytes = 128;

// Every hundredth file is the same file in every area (D0000100.ZIP and so on): 100 groups of
// 100 copies by name and by content. The others are unique, of 48 sizes, so nearly every file
// shares its size and is read for its hash on the first run.
fs::path buildBoard(const fs::path& root)
{
    return Bench::buildBoard(root, AreaCount, EntriesPerArea, [&](int area, int i) {
        char name[16];
        std::string bytes;
        if (i % 100 == 0) {
            std::snprintf(name, sizeof name, "D%07d.ZIP", i);
            bytes = "the same file, number " + std::to_string(i);
        } else {
            std::snprintf(name, sizeof name, "F%03d%04d.ZIP", area, i);
            bytes = std::string(name) + std::string(static_cast<std::size_t>(i % 48), '.');
        }
        std::ofstream(root / "areas" / ("A" + std::to_string(area)) / name, std::ios::binary) << bytes;
        return Entry { name, " " + std::to_string(bytes.size()), "05-17-96",
                       "A file of the bench board, number " + std::to_string(i) + "\r\n" };
    });
}

// MB/s of hashing the file through update(chunk).
template <typename Update> double throughput(const fs::path& file, Update update)
{
    std::vector<char> buffer(1 << 20);
    const double seconds = Bench::medianSeconds(3, [&] {
        std::ifstream in(file, std::ios::binary);
        while (in.read(buffer.data(), static_cast<std::streamsize>(buffer.size())) || in.gcount() > 0)
            update(buffer.data(), static_cast<std::size_t>(in.gcount()));
    });
    return LargeFileMegabytes / seconds;
}

void measureHashes(const fs::path& root)
{
    const fs::path file = root / "large.bin";
    {
        std::ofstream out(file, std::ios::binary);
        std::string chunk(1 << 20, '\0');
        for (int megabyte = 0; megabyte < LargeFileMegabytes; ++megabyte) {
            for (std::size_t i = 0; i < chunk.size(); ++i)
                chunk[i] = static_cast<char>((i * 131 + static_cast<std::size_t>(megabyte)) & 0xFF);
            out << chunk;
        }
    }
    std::printf("Hashing a %d MB file (read from the page cache):\n", LargeFileMegabytes);
    for (const auto& [name, algorithm] :
         { std::pair { "Qt QCryptographicHash SHA-256", QCryptographicHash::Sha256 },
           std::pair { "Qt QCryptographicHash BLAKE2b-256", QCryptographicHash::Blake2b_256 } }) {
        QCryptographicHash hash(algorithm);
        const double rate = throughput(file, [&](const char* data, std::size_t size) {
            hash.addData(QByteArrayView(data, static_cast<qsizetype>(size)));
        });
        std::printf("  %-40s %8.0f MB/s\n", name, rate);
    }
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    EVP_DigestInit_ex(context, EVP_sha256(), nullptr);
    const double rate
        = throughput(file, [&](const char* data, std::size_t size) { EVP_DigestUpdate(context, data, size); });
    EVP_MD_CTX_free(context);
    std::printf("  %-40s %8.0f MB/s\n\n", "OpenSSL libcrypto SHA-256", rate);
    fs::remove(file);
}

// The floor under every run that needs each file's size: the directories read and every file
// stat'ed once, by name within its open directory, on one thread, and nothing else.
double statFloor(const fs::path& root)
{
    return Bench::medianSeconds(3, [&] {
        std::uintmax_t bytes = 0;
        for (int area = 1; area <= AreaCount; ++area) {
            const std::string directory = (root / "areas" / ("A" + std::to_string(area))).string();
            DIR* stream = ::opendir(directory.c_str());
            if (!stream)
                continue;
            while (const dirent* entry = ::readdir(stream)) {
                struct stat info
                {
                };
                if (entry->d_name[0] != '.' && ::fstatat(::dirfd(stream), entry->d_name, &info, 0) == 0)
                    bytes += static_cast<std::uintmax_t>(info.st_size);
            }
            ::closedir(stream);
        }
        if (bytes == 0)
            std::printf("the floor found no files\n");
    });
}

double runDupes(const std::string& node, const char* by, std::string& output)
{
    return Bench::medianSeconds(1, [&] {
        std::ostringstream out;
        std::ostringstream err;
        std::istringstream in;
        CommandContext context { out, err, in, false };
        const char* argv[] = { "kelvane", "dupes", "--all", "--by", by, "--main-node", node.c_str() };
        if (runCommandLine(7, argv, context) != 0)
            std::printf("kelvane dupes --by %s failed: %s\n", by, err.str().c_str());
        output = out.str();
    });
}

} // namespace

// dupes_bench [DIRECTORY]: with a directory, the board is kept there (built on the first run
// only), so that a profiler can run the finder again without waiting for a million files.
int main(int argc, char** argv)
{
    QTemporaryDir temporary;
    const fs::path root = argc > 1 ? fs::path(argv[1]) : fs::path(temporary.path().toStdString());
    // The settings and the hash cache stay in the bench's own directory.
    setenv("KELVANE_SETTINGS", (root / "settings.ini").c_str(), 1);
    setenv("KELVANE_HOME", (root / "program").c_str(), 1);
    measureHashes(root);

    std::string node = (root / "board").string();
    if (argc < 2 || !fs::exists(root / "board")) {
        std::printf("Building a board of %d areas x %d entries with their files...\n", AreaCount, EntriesPerArea);
        node = buildBoard(root).string();
    }
    std::string output;
    const auto summary = [&] { return output.substr(output.rfind('\n', output.size() - 2) + 1); };
    bool pass = true;

    pass &= Bench::report("dupes --by name", runDupes(node, "name", output) * 1000, 2000, "ms");
    std::printf("  %s", summary().c_str());
    const double cold = runDupes(node, "content", output);
    std::printf("%-48s %9.1f ms (no target: every file sharing its size is read)\n  %s",
                "dupes --by content, first run", cold * 1000, summary().c_str());
    pass &= Bench::report("dupes --by content, second run (cache warm)", runDupes(node, "content", output) * 1000, 2000,
                          "ms");
    std::printf("  %s", summary().c_str());
    std::printf("%-48s %9.1f ms (the floor of any run that takes every file's size)\n",
                "  readdir and stat of every file, one thread", statFloor(root) * 1000);

    // The same run through the finder, counting the files it reads.
    const Board board = Board::open(node, CodePage::windows1252());
    std::vector<int> all;
    for (int number = 1; number <= AreaCount; ++number)
        all.push_back(number);
    DupesHashCache cache;
    QString problem;
    cache.load(DupesHashCache::defaultPath(), problem);
    const DupesReport report = findDuplicates(board, all, { .by = DupesBy::Content, .cache = &cache });
    pass &= Bench::report("files read by the second run", static_cast<double>(report.filesRead), 1, "");
    return Bench::finish(pass);
}
