#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

/// What makes single measurements a comparison: the same answers from everybody, one table, goals.
namespace comparison {

/// Notes an engine's answer to a task. The first engine's answer counts; another one ends the program, because speed
/// with a wrong answer is worth nothing.
void answer(const std::string& task, const std::string& engine, double value);

/// A measurement named "task/engine".
std::string name(const std::string& task, const std::string& engine);

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
