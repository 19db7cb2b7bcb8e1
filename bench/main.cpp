#include "bench/comparison.h"
#include "bench/sides.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <exception>

/// usage: presva_bench FOLDER [options of Google Benchmark]
int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: presva_bench FOLDER [--benchmark_filter=...]\n");
        return 2;
    }
    try {
        const sides::Files files{argv[1]};
        std::filesystem::create_directories(files.folder);
        sides::prepareCsv(files);
        sides::prepareJet(files);
        sides::prepareSqlite(files);
        sides::registerJet(files);
        sides::registerSqlite(files);
        sides::registerLibmdb(files);
        sides::registerDuckdb(files);
        comparison::Reporter reporter;
        benchmark::RunSpecifiedBenchmarks(&reporter);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
