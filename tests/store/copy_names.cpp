#include <cstddef> // moc needs it ahead of <compare>

#include "store/copy_names.h"

#include <QtTest>

#include <algorithm>
#include <set>

using namespace store;

class CopyNames : public QObject {
    Q_OBJECT

    static std::string dayName(int index) { return copyName({2025, 1 + index / 28, 1 + index % 28}); }

private slots:
    void aNameIsReadBackAsItWasWritten()
    {
        const CopyTime day{2025, 11, 20};
        QCOMPARE(copyName(day), std::string("Yag-2025-11-20.mdb"));
        QVERIFY(copyTime("Yag-2025-11-20.mdb") == day);
        const CopyTime moment{2025, 11, 20, false, 14, 5, 1};
        QCOMPARE(copyName(moment), std::string("Yag-2025-11-20-140501.mdb"));
        QVERIFY(copyTime("Yag-2025-11-20-140501.mdb") == moment);
    }

    void otherNamesAreNotOurs_data()
    {
        QTest::addColumn<QString>("name");
        for (const char* name :
             {"Yag.mdb", "Yag-.mdb", "Yag-2025-11-20", "Yag-2025-11-20.mdb.part", "yag-2025-11-20.mdb",
              "Yag-2025-11-2.mdb", "Yag-2025-11-200.mdb", "Yag-2025-13-01.mdb", "Yag-2025-02-29.mdb",
              "Yag-2025-11-20-1405.mdb", "Yag-2025-11-20-240000.mdb", "Yag-2025-11-20-140560.mdb",
              "Yag-2025-11-20 kopyası.mdb", "Yag-onceki-2025-11-20-140501.mdb", "aYag-2025-11-20.mdb", "-.mdb", ".mdb"})
            QTest::newRow(name) << name;
    }
    void otherNamesAreNotOurs()
    {
        QFETCH(QString, name);
        QVERIFY(!copyTime(name.toStdU16String()));
    }

    void theNewestThirtyStay()
    {
        std::vector<std::filesystem::path> names = {"Yag.mdb", "okubeni.txt", "Yag-2025-11-20.mdb.part"};
        for (int i = 0; i < 40; ++i) names.emplace_back(dayName(i));
        const auto removed = copiesToRemove(names, dayName(39));
        std::set<std::filesystem::path> expected;
        for (int i = 0; i < 10; ++i) expected.insert(dayName(i));
        QVERIFY(std::set(removed.begin(), removed.end()) == expected);
    }

    void nothingGoesBeforeThereAreMoreThanThirty()
    {
        std::vector<std::filesystem::path> names;
        for (int i = 0; i < 30; ++i) names.emplace_back(dayName(i));
        QVERIFY(copiesToRemove(names, dayName(29)).empty());
    }

    void deletionsDoNotPushOutTheCopiesOfDays()
    {
        std::vector<std::filesystem::path> names;
        for (int i = 0; i < 30; ++i) names.emplace_back(dayName(i));
        for (int i = 0; i < 50; ++i) names.emplace_back(copyName({2025, 11, 20, false, 14, i, 0}));
        const auto removed = copiesToRemove(names, copyName({2025, 11, 20, false, 14, 49, 0}));
        QCOMPARE(removed.size(), std::size_t{20});
        QVERIFY(std::ranges::all_of(removed, [](const auto& name) { return !copyTime(name)->ofDay; }));
    }

    void theCopyJustMadeStaysWhenTheClockWasPutBack()
    {
        std::vector<std::filesystem::path> names = {copyName({2000, 1, 1})};
        for (int i = 0; i < 30; ++i) names.emplace_back(dayName(i));
        const auto removed = copiesToRemove(names, copyName({2000, 1, 1}));
        QVERIFY(removed == std::vector<std::filesystem::path>{dayName(0)});
    }
};

QTEST_GUILESS_MAIN(CopyNames)
#include "copy_names.moc"
