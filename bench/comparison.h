#pragma once

#include <benchmark/benchmark.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// What makes single measurements a comparison: the same answers from everybody, one table, goals.
namespace comparison {

/// Notes an engine's answer to a task. The first engine's answer counts; another one ends the program, because speed
/// with a wrong answer is worth nothing.
void answer(const std::string& task, const std::string& engine, double value);

/// A measurement in milliseconds, named "task/engine". What can be set of it further, benchmark::internal::Benchmark
/// has.
benchmark::internal::Benchmark* measure(const std::string& task, const std::string& engine,
                                        std::function<void(benchmark::State&)> work);

/// Makes a file once: it is kept for the next run, and has its name only when it is whole.
void makeOnce(const std::filesystem::path& path,
              const std::function<void(const std::filesystem::path& unfinished)>& make);

/// Works on a copy of a file, beside it.
void onCopy(const std::filesystem::path& original, const std::function<void(const std::filesystem::path& copy)>& work);

/// A database that is opened when it is first needed, and kept.
template <class Opened> class Session {
public:
    explicit Session(std::function<std::unique_ptr<Opened>()> open) : open_(std::move(open)) {}
    Opened& operator*()
    {
        if (!opened_) opened_ = open_();
        return *opened_;
    }

private:
    std::function<std::unique_ptr<Opened>()> open_;
    std::unique_ptr<Opened> opened_;
};

/// Prints each run as it ends and, at the end, a table of tasks by engines with the goals beside it. Reading is timed
/// by the processor, which a busy machine does not falsify; appending waits for the disk and is timed by the clock.
class Reporter : public benchmark::ConsoleReporter {
public:
    Reporter() : ConsoleReporter(OO_Tabular) {}
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

private:
    std::map<std::string, std::map<std::string, double>> milliseconds_;
    std::vector<std::string> tasks_; ///< in the order of their measurement
};

} // namespace comparison
