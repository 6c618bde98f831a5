// Micro-benchmarks of the pieces every large operation repeats, with Google Benchmark:
//
//   build/bench/micro_bench
//
// They have no targets of their own; they show where the time of the larger benchmarks goes.
#include "board/FilesList.h"
#include "platform/CodePage.h"
#include "platform/ShortNames.h"

#include <benchmark/benchmark.h>

using namespace Kelvane;

namespace {

std::vector<Entry> entries(int count)
{
    std::vector<Entry> list;
    for (int i = 0; i < count; ++i) {
        list.push_back({ "F" + std::to_string(1000000 + i) + ".ZIP", " 123456", "05-17-96",
                         "A description of the archive that runs on past forty-five columns\r\nUploaded By: Sam\r\n" });
    }
    return list;
}

void formatEntries(benchmark::State& state)
{
    const std::vector<Entry> list = entries(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        std::size_t bytes = 0;
        FilesListFormat::format(list, {}, [&](std::string_view piece) { bytes += piece.size(); });
        benchmark::DoNotOptimize(bytes);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(formatEntries)->Arg(10000);

void parseEntries(benchmark::State& state)
{
    std::string data;
    FilesListFormat::format(entries(static_cast<int>(state.range(0))), {},
                            [&](std::string_view piece) { data.append(piece); });
    for (auto _ : state)
        benchmark::DoNotOptimize(FilesListFormat::parse(data, {}).entries.size());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(parseEntries)->Arg(10000);

void aliasDirectory(benchmark::State& state)
{
    std::vector<QString> names;
    for (int i = 0; i < state.range(0); ++i)
        names.push_back(QStringLiteral("A long file name number %1.zip").arg(i));
    for (auto _ : state)
        benchmark::DoNotOptimize(DirectoryAliases(names, CodePage::windows1252()).aliasOf(names.front()));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(aliasDirectory)->Arg(10000);

void decodeText(benchmark::State& state)
{
    const std::string text(static_cast<std::size_t>(state.range(0)), '\xE9');
    for (auto _ : state)
        benchmark::DoNotOptimize(CodePage::windows1252().toUnicode(text));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(decodeText)->Arg(1 << 20);

} // namespace

BENCHMARK_MAIN();
