#include "bench/comparison.h"
#include "bench/mill.h"
#include "bench/sides.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace sides {
namespace {

constexpr const char* them = "duckdb";

void prepareCsv(const std::filesystem::path& path)
{
    if (std::filesystem::exists(path)) return;
    std::vector<std::string> names;
    for (const long_mill::Customer& customer : long_mill::customers()) names.push_back(long_mill::utf8(customer.name));
    const std::filesystem::path unfinished = path.string() + ".part";
    {
        std::ofstream csv(unfinished);
        csv.precision(17);
        csv << "Tarih,Zeytin,Yağ,Yuzde,HakTut,Nakit,CariHar\n";
        long_mill::pressings([&](const long_mill::Pressing& each) {
            csv << each.moment << ',' << each.olives << ',' << each.oil << ',' << static_cast<double>(each.share) << ','
                << each.entitlement << ',' << each.fee << ',' << names[each.customer] << '\n';
        });
    }
    std::filesystem::rename(unfinished, path);
}

/// In single quotes for the shell.
std::string quoted(const std::string& text)
{
    std::string result = "'";
    for (const char each : text) result += each == '\'' ? std::string("'\\''") : std::string(1, each);
    return result + "'";
}

std::string outputOf(const std::string& command)
{
    std::string output;
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
    char piece[4096];
    while (pipe && std::fgets(piece, sizeof piece, pipe.get()) != nullptr) output += piece;
    return output;
}

struct Task {
    double milliseconds = 0;
    std::vector<double> answers;
};

/// What they are called among the answers of the others.
std::string answerName(const std::string& task, std::size_t number)
{
    if (task == "four sums") return "sum " + std::to_string(number);
    const bool month = task == "one month";
    return number == 0 ? (month ? "month rows" : "shares") : (month ? "month olives" : "olives of shares");
}

} // namespace

void registerDuckdb(const Files& files)
{
    const char* const modules = std::getenv("PRESVA_DUCKDB");
    if (modules == nullptr || !std::filesystem::exists(std::filesystem::path(modules) / "node_modules")) {
        std::fprintf(stderr, "DuckDB is not there (scripts/bench installs it where npm is): it is left out.\n");
        return;
    }
    const std::filesystem::path pressings = files.folder / "hareket.csv";
    prepareCsv(pressings);
    char from[40], to[40];
    std::snprintf(from, sizeof from, "%.17g", long_mill::monthBegin);
    std::snprintf(to, sizeof to, "%.17g", long_mill::monthEnd);
    std::istringstream lines(outputOf("node " + quoted(PRESVA_DUCKDB_ASK) + " " + quoted(modules) + " " +
                                      quoted((files.folder / "plain.duckdb").string()) + " " +
                                      quoted(pressings.string()) + " " + from + " " + to));
    int found = 0;
    for (std::string line; std::getline(lines, line); ++found) {
        std::istringstream fields(line);
        std::string task;
        Task measured;
        std::getline(fields, task, '\t');
        fields >> measured.milliseconds;
        for (double value = 0; fields >> value;) measured.answers.push_back(value);
        if (task == "four sums") measured.answers.back() /= 1e4;
        // It has measured itself, in a process of its own: the time is only reported here.
        comparison::measure(task, them,
                            [=](benchmark::State& state) {
                                for ([[maybe_unused]] auto _ : state)
                                    state.SetIterationTime(measured.milliseconds / 1000);
                                for (std::size_t i = 0; i < measured.answers.size(); ++i)
                                    comparison::answer(answerName(task, i), them, measured.answers[i]);
                            })
            ->UseManualTime()
            ->Iterations(1);
    }
    if (found == 0) std::fprintf(stderr, "DuckDB gave no answer: it is left out.\n");
}

} // namespace sides
