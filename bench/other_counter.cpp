// The other counter of a register: books pressings of customers whom everybody knows, and deletes one now and then,
// until it is ended. usage: other_counter FOLDER PAUSE      (between two pressings, in milliseconds) A line on standard
// output says how many lines of the history that has made so far.
#include "bench/mill.h"
#include "tests/joint/shared_counter.h"

#include <QCoreApplication>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int linesOfPressing = 4;      // the customer's terms, the pressing, and that each of the two is done
constexpr int pressingsToDeletion = 10; // with two pressings a customer as many lines as a pressing, and one

} // namespace

int main(int argc, char** argv)
try {
    const QCoreApplication application(argc, argv);
    if (argc != 3) return 2;
    const auto pause = static_cast<unsigned long>(std::atoi(argv[2]));
    const std::vector<long_mill::Customer> customers = long_mill::customers();
    std::mt19937 random(3);
    const auto someCustomer = [&] { return QString::fromStdU16String(customers[random() % customers.size()].name); };

    SharedCounter counter(QString::fromUtf8(argv[1]));
    for (int number = 1;; ++number) {
        while (counter.take(500)) {
        }
        if (!counter.press(someCustomer(), number % 4000, QString::number(number % 20))) return 3;
        if (number % pressingsToDeletion == 0) counter.erase(someCustomer());
        std::printf("%d\n", number * linesOfPressing);
        std::fflush(stdout);
        QThread::msleep(pause);
    }
} catch (const std::exception& error) {
    std::fprintf(stderr, "other_counter: %s\n", error.what());
    return 4;
}
