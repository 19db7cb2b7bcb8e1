#include "bench/comparison.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <utility>

namespace comparison {
namespace {

/// What the program wants to be: our time in a task against a share of another engine's, or against a fixed time.
struct Goal {
    const char* task;
    const char* engine; ///< null: a fixed time
    double limit;       ///< share of that engine's time, or milliseconds
    const char* text;
};
constexpr Goal goals[] = {
    {"search, two letters", nullptr, 5, "at most 5 ms"},
    {"search, six letters", nullptr, 5, "at most 5 ms"},
    {"search after append", nullptr, 5, "at most 5 ms"},
    {"four sums", "sqlite", 0.5, "at most half of SQLite"},
    {"export", "libmdb", 0.1, "ten times as fast as libmdb"},
    {"append", "sqlite", 1, "no slower than SQLite"},
    {"append, indexed", "sqlite", 1, "no slower than SQLite"},
    {"open, first row", nullptr, 0.5, "at most 0.5 ms"},
    {"first write", nullptr, 60, "at most 60 ms"},
};

struct Answer {
    std::string engine;
    double value = 0;
};
std::map<std::string, Answer>& answers()
{
    static std::map<std::string, Answer> all;
    return all;
}

constexpr const char* engines[] = {"presva", "sqlite", "libmdb", "duckdb"};

bool waitsForDisk(const std::string& task) { return task.starts_with("append"); }

} // namespace

void answer(const std::string& task, const std::string& engine, double value)
{
    const auto [first, isFirst] = answers().try_emplace(task, Answer{engine, value});
    const double expected = first->second.value;
    if (std::fabs(value - expected) <= std::fabs(expected) * 1e-9) return;
    std::fprintf(stderr, "%s: %s answers %.17g, %s answers %.17g\n", task.c_str(), first->second.engine.c_str(),
                 expected, engine.c_str(), value);
    std::exit(1);
}

benchmark::internal::Benchmark* measure(const std::string& task, const std::string& engine,
                                        std::function<void(benchmark::State&)> work)
{
    return benchmark::RegisterBenchmark((task + '/' + engine).c_str(), std::move(work))->Unit(benchmark::kMillisecond);
}

void makeOnce(const std::filesystem::path& path, const std::function<void(const std::filesystem::path&)>& make)
{
    if (std::filesystem::exists(path)) return;
    std::fprintf(stderr, "making %s ...\n", path.c_str());
    const std::filesystem::path unfinished = path.string() + ".part";
    std::filesystem::remove(unfinished);
    make(unfinished);
    std::filesystem::rename(unfinished, path);
}

void onCopy(const std::filesystem::path& original, const std::function<void(const std::filesystem::path&)>& work)
{
    std::filesystem::path copy = original;
    copy.replace_filename("append" + original.extension().string());
    std::filesystem::copy_file(original, copy, std::filesystem::copy_options::overwrite_existing);
    work(copy);
    std::filesystem::remove(copy);
}

void Reporter::ReportRuns(const std::vector<Run>& runs)
{
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
        // Of repeated runs only the median counts.
        if (run.error_occurred || (run.run_type == Run::RT_Aggregate) != (run.repetitions > 1)) continue;
        if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
        const std::string& full = run.run_name.function_name;
        const std::string task = full.substr(0, full.find('/')), engine = full.substr(full.find('/') + 1);
        if (!milliseconds_.contains(task)) tasks_.push_back(task);
        const bool byClock = waitsForDisk(task) || engine == "duckdb"; // which measures itself, by the processor
        const double time = byClock ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime();
        milliseconds_[task][engine] = time / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1000;
    }
}

void Reporter::Finalize()
{
    std::printf("\n%-24s", "ms (appends: real time)");
    for (const char* engine : engines) std::printf("%12s", engine);
    std::printf("   goal\n");
    for (const std::string& task : tasks_) {
        const auto& times = milliseconds_[task];
        std::printf("%-24s", task.c_str());
        for (const char* engine : engines) {
            const auto time = times.find(engine);
            if (time == times.end())
                std::printf("%12s", "-");
            else
                std::printf("%12.3f", time->second);
        }
        const auto ours = times.find("presva");
        for (const Goal& goal : goals) {
            if (goal.task != task || ours == times.end()) continue;
            std::optional<double> limit;
            if (goal.engine == nullptr)
                limit = goal.limit;
            else if (const auto other = times.find(goal.engine); other != times.end())
                limit = other->second * goal.limit;
            if (limit) std::printf("   %s: %s", goal.text, ours->second <= *limit ? "reached" : "MISSED");
        }
        std::printf("\n");
    }
}

} // namespace comparison
