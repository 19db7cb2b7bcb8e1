// Changes a database, one change after the other, each acknowledged with a byte on the standard output, until somebody
// ends the process.
// usage: works_for_ever FILE SEED

#include "platform/system_disk.h"
#include "store/jet/database/database.h"
#include "tests/jet/mixed_work.h"

#include <cstdio>
#include <cstdlib>
#include <windows.h>

int main(int count, char** arguments)
try {
    if (count != 3) return 2;
    const auto database = jet::Database::open(platform::systemDisk(), arguments[1]);
    MixedWork work(static_cast<unsigned>(std::strtoul(arguments[2], nullptr, 10)));
    MixedWork::Rows rows = MixedWork::read(*database);
    work.forgetPlaces(*database);
    for (;;) {
        jet::Transaction change(database->pager());
        work.change(*database, rows);
        change.commit();
        DWORD written = 0;
        if (!::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), "!", 1, &written, nullptr)) return 1;
    }
} catch (const std::exception& error) {
    std::fprintf(stderr, "writer: %s\n", error.what());
    return 2;
}
