#include "bench/comparison.h"
#include "bench/mill.h"
#include "bench/sides.h"

#include <mdbtools.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <vector>

namespace sides {
namespace {

using comparison::answer, comparison::measure;

constexpr const char* them = "libmdb";
constexpr std::size_t fieldBytes = 256;

struct Close {
    void operator()(MdbHandle* handle) const { mdb_close(handle); }
    void operator()(MdbTableDef* table) const { mdb_free_tabledef(table); }
};
using Handle = std::unique_ptr<MdbHandle, Close>;

Handle open(const std::filesystem::path& path)
{
    Handle handle(mdb_open(path.c_str(), MDB_NOFLAGS));
    if (!handle) throw std::runtime_error("libmdb cannot open " + path.string());
    mdb_set_date_fmt(handle.get(), "%Y-%m-%d %H:%M:%S");
    if (mdb_read_catalog(handle.get(), MDB_TABLE) == nullptr) throw std::runtime_error("libmdb reads no catalogue");
    return handle;
}

/// A scan with some columns bound to texts, which is how libmdb hands fields out.
class Scan {
public:
    Scan(MdbHandle* handle, const char* table)
    {
        std::string name = table;
        table_.reset(mdb_read_table_by_name(handle, name.data(), MDB_TABLE));
        if (!table_) throw std::runtime_error(std::string("libmdb finds no table ") + table);
        mdb_read_columns(table_.get());
        mdb_rewind_table(table_.get());
        fields_.resize(table_->num_cols);
        lengths_.resize(table_->num_cols);
    }
    std::size_t columns() const { return fields_.size(); }
    const char* bind(std::size_t column)
    {
        mdb_bind_column(table_.get(), static_cast<int>(column + 1), fields_[column].data(), &lengths_[column]);
        return fields_[column].data();
    }
    bool next() { return mdb_fetch_row(table_.get()) != 0; }
    int length(std::size_t column) const { return lengths_[column]; }

private:
    std::unique_ptr<MdbTableDef, Close> table_;
    std::vector<std::array<char, fieldBytes>> fields_;
    std::vector<int> lengths_;
};

void searches(const std::string& task, const std::u16string& prefix, const std::filesystem::path& path)
{
    measure(task, them, [=](benchmark::State& state) {
        const Handle handle = open(path);
        const std::string wanted = long_mill::utf8(prefix);
        double rows = 0;
        for ([[maybe_unused]] auto _ : state) {
            Scan scan(handle.get(), "Cari");
            const char* name = scan.bind(0);
            rows = 0;
            while (scan.next()) rows += std::strncmp(name, wanted.c_str(), wanted.size()) == 0;
        }
        answer(task + " rows", them, rows);
    });
}

/// One pass over the journal with the condition on its period. libmdb has no ordered listing; the rows are only read.
void passes(const std::string& task, bool allFields, const std::filesystem::path& path)
{
    measure(task, them, [=](benchmark::State& state) {
        const Handle handle = open(path);
        double rows = 0, sum[4] = {};
        for ([[maybe_unused]] auto _ : state) {
            Scan scan(handle.get(), "Hareket");
            std::vector<const char*> fields;
            for (std::size_t i = 0; i < scan.columns(); ++i)
                fields.push_back(allFields || i != 3 ? scan.bind(i) : nullptr);
            rows = 0;
            std::fill(std::begin(sum), std::end(sum), 0.0);
            while (scan.next()) {
                if (std::strcmp(fields[0], "2017-11-01 00:00:00") < 0 ||
                    std::strcmp(fields[0], "2017-11-30 23:59:59") > 0 ||
                    std::strcmp(fields[6], long_mill::totalsName) == 0)
                    continue;
                ++rows;
                constexpr std::size_t summed[4] = {1, 2, 4, 5};
                for (std::size_t i = 0; i < 4; ++i) sum[i] += std::atof(fields[summed[i]]);
            }
        }
        if (allFields) {
            answer("month rows", them, rows);
            answer("month olives", them, sum[0]);
        } else {
            for (std::size_t i = 0; i < 4; ++i) answer("sum " + std::to_string(i), them, sum[i]);
        }
    });
}

void exports(const std::filesystem::path& path)
{
    measure("export", them, [=](benchmark::State& state) {
        const Handle handle = open(path);
        std::size_t rows = 0;
        for ([[maybe_unused]] auto _ : state) {
            std::string out;
            rows = 0;
            for (const char* table : {"Cari", "Hareket"}) {
                Scan scan(handle.get(), table);
                std::vector<const char*> fields;
                for (std::size_t i = 0; i < scan.columns(); ++i) fields.push_back(scan.bind(i));
                while (scan.next()) {
                    ++rows;
                    for (std::size_t i = 0; i < fields.size(); ++i) {
                        out.append(fields[i], static_cast<std::size_t>(scan.length(i)));
                        out += '\t';
                    }
                    if (out.size() >= 1 << 16) out.clear();
                }
            }
        }
        answer("export rows", them, static_cast<double>(rows));
    });
}

void opens(const std::filesystem::path& path)
{
    measure("open, first row", them, [=](benchmark::State& state) {
        double olives = 0;
        for ([[maybe_unused]] auto _ : state) {
            const Handle handle = open(path);
            Scan scan(handle.get(), "Hareket");
            const char* field = scan.bind(1);
            scan.next();
            olives = std::atof(field);
        }
        answer("first olives", them, olives);
    });
}

} // namespace

void registerLibmdb(const Files& files)
{
    searches("search, two letters", long_mill::twoLetters, files.plain());
    searches("search, six letters", long_mill::sixLetters, files.plain());
    passes("one month", true, files.plain());
    passes("four sums", false, files.plain());
    exports(files.plain());
    opens(files.plain());
}

} // namespace sides
