// A counter as a program of its own, for the tests that kill it: books pressings as quickly as it can and takes in what
// others do, until a file "dur" lies in its folder and nothing of its own waits any more.
// usage: counter_process FOLDER FIRST COUNT PAUSE      (between two pressings, in milliseconds)
// The weight of each pressing is its number: FIRST, FIRST + 1 ... A line with the number on standard output says that
// the slip was accepted: the file has it. Pressings that the file has already are not entered again. A file "girildi"
// says that all are in: the last one may have been entered just before a kill, and never been told.
#include "tests/joint/shared_counter.h"

#include <QCoreApplication>
#include <QFile>
#include <cstdio>
#include <cstdlib>
#include <set>

int main(int argc, char** argv)
try {
    const QCoreApplication application(argc, argv);
    if (argc != 5) return 2;
    const QString folder = QString::fromUtf8(argv[1]);
    const int first = std::atoi(argv[2]), count = std::atoi(argv[3]), pause = std::atoi(argv[4]);

    SharedCounter counter(folder);
    std::set<int> there;
    const store::Listing journal = counter.engine().open(mill::journalTable);
    for (const store::RowKey row : journal.rows)
        there.insert(
            static_cast<int>(counter.engine().field(journal, row, mill::Hareket::Zeytin).number().value_or(0)));

    for (int number = first; number < first + count; ++number) {
        counter.take();
        if (there.contains(number)) continue;
        // Some customers belong to one counter, some to all.
        const QString customer = number % 3 == 0 ? u"Ortak %1"_s.arg(number % 50) : u"Müşteri %1"_s.arg(number % 400);
        if (!counter.press(customer, number, QString::number(number % 20))) return 3;
        std::printf("%d\n", number);
        std::fflush(stdout);
        if (pause > 0) QThread::msleep(static_cast<unsigned long>(pause));
    }
    if (QFile entered(folder + u"/girildi"_s); !entered.open(QIODevice::WriteOnly)) return 5;
    while (!QFile::exists(folder + u"/dur"_s) || !counter.shared().waiting().empty())
        if (!counter.take(500)) QThread::msleep(5);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "counter_process: %s\n", error.what());
    return 4;
}
