#include "store/jet/pages/pager.h"

#include "store/jet/format/doors.h"
#include "tests/jet/blank_file.h"
#include "tests/jet/power_cut_disk.h"

#include <QtTest>

using namespace jet;

namespace {

const std::filesystem::path file = "Yag.mdb";
const std::filesystem::path journal = "Yag.mdb-journal";

using Content = std::vector<std::uint8_t>;

Content contentOf(Pager& pager)
{
    Content content;
    for (PageNo page = 0; page < pager.pageCount(); ++page) {
        const auto view = pager.read(page);
        content.insert(content.end(), view.begin(), view.end());
    }
    return content;
}

Content contentOf(Disk& disk)
{
    Pager pager(disk, file, Pager::Mode::readWrite);
    return contentOf(pager);
}

template <class Action> std::optional<Fault> faultOf(Action&& action)
{
    try {
        action();
    } catch (const Error& error) {
        return error.fault();
    }
    return {};
}

void fill(Pager& pager, PageNo page, std::uint8_t with) { std::ranges::fill(pager.write(page), with); }

/// One action's worth of changes: pages overwritten in whole and in part, pages added, a change taken back to what it
/// was.
void change(Pager& pager, std::mt19937& random)
{
    const auto somePage = [&] { return static_cast<PageNo>(2 + random() % (pager.pageCount() - 2)); };
    for (auto n = 1 + random() % 6; n > 0; --n) {
        const auto kind = random() % 8;
        if (kind < 4) {
            const auto bytes = pager.write(somePage());
            bytes[random() % pageSize] = static_cast<std::uint8_t>(random());
        } else if (kind < 6) {
            fill(pager, somePage(), static_cast<std::uint8_t>(random()));
        } else if (kind == 6) {
            pager.extendTo(pager.pageCount() + 1 + random() % 3);
            fill(pager, pager.pageCount() - 1, static_cast<std::uint8_t>(random()));
        } else {
            const auto bytes = pager.write(somePage());
            bytes[7] ^= 1;
            bytes[7] ^= 1;
        }
    }
}

} // namespace

class PagerTest : public QObject {
    Q_OBJECT
private slots:
    void readsWhatStandsInTheFile();
    void viewsStayValidAndShowTheTransaction();
    void rollbackRestoresPagesAndLength();
    void leavingAScopeEarlyRollsBack();
    void innerTransactionJoinsTheOuterOne();
    void refusedInnerStepLeavesTheOuterOneWhole();
    void halfInnerStepSpoilsTheOuterOne();
    void commitNeedsExactlyThreeSyncs();
    void commitWithoutChangesTouchesNothing();
    void closingRemovesTheJournal();
    void changeCountMovesWithCommitAndRollback();
    void readOnlyFileIsNotWritten();
    void wrongSizesAreNamed_data();
    void wrongSizesAreNamed();
    void missingPageIsDamage();
    void largestFileIsTheLimit();

    void everyPowerCutLeavesBeforeOrAfter_data();
    void everyPowerCutLeavesBeforeOrAfter();
    void longJournalIsPutBackWhole();
    void everyPassingFaultLeavesTheStateBefore();
    void everyLastingFaultLeavesTheStateBefore();
    void fullDiskLeavesTheStateBefore();

    void journalWithAnyWrongByteIsIgnored();
    void journalBesideAReplacedDatabaseIsSetAside();
    void journalBesideAnOlderCopyGivesTheStateItWasWrittenFor();
    void journalOnAProtectedMediumIsAppliedInMemory();
    void readerRepairsTheFileWhereItMay();

    void foreignChangeAfterARepairIsNotTakenBack();

    void secondWriterIsRefused();
    void readerComesInBesideAnIdleWriter();
    void commitWaitsForReadersAndGivesUpWhole();
};

void PagerTest::readsWhatStandsInTheFile()
{
    PowerCutDisk disk;
    auto content = blankFile(200);
    for (PageNo page = 2; page < 200; ++page) content[page * pageSize + 5] = static_cast<std::uint8_t>(page);
    disk.put(file, content);
    Pager pager(disk, file, Pager::Mode::readWrite);
    QVERIFY(pager.writable());
    QCOMPARE(pager.pageCount(), 200U);
    QCOMPARE(contentOf(pager), content);
}

void PagerTest::viewsStayValidAndShowTheTransaction()
{
    PowerCutDisk disk;
    disk.put(file, blankFile());
    Pager pager(disk, file, Pager::Mode::readWrite);
    const auto view = pager.read(7);
    Transaction change(pager);
    fill(pager, 7, 9);
    pager.extendTo(5000);
    QCOMPARE(view[100], 9);
    change.commit();
    QCOMPARE(view[100], 9);
    QCOMPARE(pager.read(7).data(), view.data());
}

void PagerTest::rollbackRestoresPagesAndLength()
{
    PowerCutDisk disk;
    disk.put(file, blankFile());
    Pager pager(disk, file, Pager::Mode::readWrite);
    const auto before = contentOf(pager);
    pager.begin();
    fill(pager, 3, 1);
    pager.extendTo(40);
    fill(pager, 39, 1);
    pager.rollback();
    QCOMPARE(contentOf(pager), before);
    Transaction again(pager);
    pager.extendTo(40);
    QCOMPARE(pager.read(39)[0], 0);
    again.commit();
    QCOMPARE(disk.content(file).size(), 40 * pageSize);
}

void PagerTest::leavingAScopeEarlyRollsBack()
{
    PowerCutDisk disk;
    disk.put(file, blankFile());
    Pager pager(disk, file, Pager::Mode::readWrite);
    try {
        Transaction change(pager);
        fill(pager, 3, 1);
        throw std::runtime_error("left");
    } catch (const std::runtime_error&) {
    }
    QVERIFY(!pager.inTransaction());
    QCOMPARE(pager.read(3)[9], 0);
}

void PagerTest::innerTransactionJoinsTheOuterOne()
{
    PowerCutDisk disk;
    disk.put(file, blankFile());
    Pager pager(disk, file, Pager::Mode::readWrite);
    {
        Transaction outer(pager);
        {
            Transaction inner(pager);
            fill(pager, 3, 1);
            inner.commit();
        }
        QVERIFY(pager.inTransaction());
        QCOMPARE(disk.content(file)[3 * pageSize], 0);
        outer.commit();
    }
    QCOMPARE(disk.content(file)[3 * pageSize], 1);
}

void PagerTest::refusedInnerStepLeavesTheOuterOneWhole()
{
    PowerCutDisk disk;
    disk.put(file, blankFile());
    Pager pager(disk, file, Pager::Mode::readWrite);
    Transaction outer(pager);
    fill(pager, 3, 1);
    {
        Transaction refused(pager);
        pager.read(4);
    }
    outer.commit();
    QCOMPARE(disk.content(file)[3 * pageSize], 1);
}

void PagerTest::halfInnerStepSpoilsTheOuterOne()
{
    PowerCutDisk disk;
    disk.put(file, blankFile());
    Pager pager(disk, file, Pager::Mode::readWrite);
    const auto before = contentOf(pager);
    {
        Transaction outer(pager);
        fill(pager, 3, 1);
        {
            Transaction half(pager);
            fill(pager, 3, 2);
        }
        QCOMPARE(faultOf([&] { outer.commit(); }), Fault::disk);
    }
    QCOMPARE(contentOf(pager), before);
    QCOMPARE(disk.content(file), before);
    Transaction next(pager);
    fill(pager, 3, 3);
    next.commit();
    QCOMPARE(disk.content(file)[3 * pageSize], 3);
}

void PagerTest::commitNeedsExactlyThreeSyncs()
{
    PowerCutDisk disk;
    disk.put(file, blankFile());
    Pager pager(disk, file, Pager::Mode::readWrite);
    for (int i = 0; i < 4; ++i) {
        const int before = disk.syncs();
        Transaction change(pager);
        fill(pager, 3, static_cast<std::uint8_t>(i + 1));
        pager.extendTo(pager.pageCount() + 1);
        change.commit();
        // The first one makes the journal's name last as well.
        QCOMPARE(disk.syncs() - before, i == 0 ? 4 : 3);
    }
}

void PagerTest::commitWithoutChangesTouchesNothing()
{
    PowerCutDisk disk;
    disk.put(file, blankFile());
    Pager pager(disk, file, Pager::Mode::readWrite);
    Transaction change(pager);
    fill(pager, 3, 1);
    fill(pager, 3, 0);
    change.commit();
    QCOMPARE(disk.changes(), 0);
    QVERIFY(!pager.inTransaction());
}

void PagerTest::closingRemovesTheJournal()
{
    PowerCutDisk disk;
    disk.put(file, blankFile());
    {
        Pager pager(disk, file, Pager::Mode::readWrite);
        Transaction change(pager);
        fill(pager, 3, 1);
        change.commit();
        QVERIFY(disk.has(journal));
    }
    QVERIFY(!disk.has(journal));
}

void PagerTest::changeCountMovesWithCommitAndRollback()
{
    PowerCutDisk disk;
    disk.put(file, blankFile());
    Pager pager(disk, file, Pager::Mode::readWrite);
    const auto start = pager.changeCount();
    {
        Transaction change(pager);
        fill(pager, 3, 1);
        QCOMPARE(pager.changeCount(), start);
        change.commit();
    }
    QCOMPARE(pager.changeCount(), start + 1);
    {
        Transaction change(pager);
        fill(pager, 3, 2);
    }
    QCOMPARE(pager.changeCount(), start + 2);
    {
        Transaction nothing(pager);
    }
    QCOMPARE(pager.changeCount(), start + 2);
}

void PagerTest::readOnlyFileIsNotWritten()
{
    PowerCutDisk disk;
    disk.put(file, blankFile());
    {
        Pager pager(disk, file, Pager::Mode::readOnly);
        QVERIFY(!pager.writable());
        QCOMPARE(faultOf([&] { pager.begin(); }), Fault::readOnly);
    }
    disk.readOnly = true;
    Pager pager(disk, file, Pager::Mode::readWrite);
    QVERIFY(!pager.writable());
    QCOMPARE(faultOf([&] { Transaction change(pager); }), Fault::readOnly);
    QVERIFY(!pager.inTransaction());
}

void PagerTest::wrongSizesAreNamed_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("version");
    QTest::addColumn<bool>("signature");
    QTest::addColumn<int>("fault");
    const auto row = [](const char* name, int size, int version, bool signature, Fault fault) {
        QTest::newRow(name) << size << version << signature << static_cast<int>(fault);
    };
    row("empty", 0, 1, false, Fault::notADatabase);
    row("a text", 100, 1, false, Fault::notADatabase);
    row("a long text", 70001, 1, false, Fault::notADatabase);
    row("cut in a page", 70001, 1, true, Fault::cutShort);
    row("cut in the header", 24, 1, true, Fault::cutShort);
    row("cut before page 16", 15 * 4096, 1, true, Fault::cutShort);
    row("half pages of Access 97", 35 * 2048, 0, true, Fault::oldFormat);
    row("small file of Access 97", 20 * 2048, 0, true, Fault::oldFormat);
}

void PagerTest::wrongSizesAreNamed()
{
    QFETCH(int, size);
    QFETCH(int, version);
    QFETCH(bool, signature);
    QFETCH(int, fault);
    auto content = blankFile(32);
    content[20] = static_cast<std::uint8_t>(version);
    if (!signature) content[4] = 'x';
    content.resize(static_cast<std::size_t>(size));
    PowerCutDisk disk;
    disk.put(file, content);
    QCOMPARE(faultOf([&] { Pager(disk, file, Pager::Mode::readWrite); }), static_cast<Fault>(fault));
}

void PagerTest::missingPageIsDamage()
{
    PowerCutDisk disk;
    disk.put(file, blankFile());
    Pager pager(disk, file, Pager::Mode::readWrite);
    QCOMPARE(faultOf([&] { pager.read(16); }), Fault::damaged);
    QCOMPARE(faultOf([&] { pager.read(0xFFFFFFFF); }), Fault::damaged);
    Transaction change(pager);
    QCOMPARE(faultOf([&] { pager.write(16); }), Fault::damaged);
}

void PagerTest::largestFileIsTheLimit()
{
    PowerCutDisk disk;
    disk.put(file, blankFile());
    Pager pager(disk, file, Pager::Mode::readWrite);
    Transaction change(pager);
    QCOMPARE(faultOf([&] { pager.extendTo(maxPages + 1); }), Fault::disk);
    QCOMPARE(pager.pageCount(), 16U);
}

void PagerTest::everyPowerCutLeavesBeforeOrAfter_data()
{
    QTest::addColumn<unsigned>("seed");
    for (unsigned seed = 1; seed <= 8; ++seed) QTest::addRow("seed %u", seed) << seed;
}

void PagerTest::everyPowerCutLeavesBeforeOrAfter()
{
    QFETCH(unsigned, seed);
    std::mt19937 random(seed);
    PowerCutDisk disk;
    disk.put(file, blankFile(20));
    Content before = disk.content(file);
    Content after = before;
    std::uint32_t luck = seed * 100000;
    int cuts = 0;
    const auto holds = [&](PowerCutDisk& medium) {
        const Content found = contentOf(medium);
        return found == before || found == after;
    };
    disk.beforeEachChange = [&] {
        for (int i = 0; i < 3; ++i) {
            ++cuts;
            const auto medium = disk.afterPowerCut(++luck);
            // The repair itself is interrupted as well, at each of its steps.
            bool repairHolds = true;
            medium->beforeEachChange = [&] {
                const auto again = medium->afterPowerCut(++luck);
                repairHolds = repairHolds && holds(*again);
            };
            QVERIFY2(holds(*medium), qPrintable(QStringLiteral("cut at change %1").arg(disk.changes() + 1)));
            QVERIFY(repairHolds);
            medium->beforeEachChange = nullptr;
            // The struck out journal must never come back beside what was committed since.
            Content next;
            {
                Pager pager(*medium, file, Pager::Mode::readWrite);
                Transaction transaction(pager);
                change(pager, random);
                next = contentOf(pager);
                transaction.commit();
            }
            for (int k = 0; k < 2; ++k) QVERIFY(contentOf(*medium->afterPowerCut(++luck)) == next);
        }
    };
    for (int session = 0; session < 3; ++session) {
        Pager pager(disk, file, Pager::Mode::readWrite);
        for (int i = 0; i < 12; ++i) {
            Transaction transaction(pager);
            change(pager, random);
            after = contentOf(pager);
            if (random() % 5 == 0) {
                after = before;
                continue;
            }
            transaction.commit();
            before = after; // acknowledged: from now on nothing else will do
        }
    }
    QVERIFY(!QTest::currentTestFailed());
    QVERIFY2(cuts > 500, qPrintable(QString::number(cuts)));
}

void PagerTest::longJournalIsPutBackWhole()
{
    PowerCutDisk disk;
    auto content = blankFile(400);
    for (std::size_t i = 2 * pageSize; i < content.size(); ++i) content[i] = static_cast<std::uint8_t>(i * 7 >> 3);
    disk.put(file, content);
    Pager pager(disk, file, Pager::Mode::readWrite);
    Transaction transaction(pager);
    for (PageNo page = 2; page < 400; ++page)
        if (page % 5 != 0) fill(pager, page, static_cast<std::uint8_t>(page));
    pager.extendTo(700);
    const auto after = contentOf(pager);
    disk.beforeEachChange = [&] {
        const auto found = contentOf(*disk.afterPowerCut(static_cast<std::uint32_t>(disk.changes())));
        QVERIFY(found == content || found == after);
    };
    transaction.commit();
    disk.beforeEachChange = nullptr;
    QVERIFY(contentOf(*disk.afterPowerCut(1)) == after);
}

void PagerTest::everyPassingFaultLeavesTheStateBefore()
{
    for (int fault = 1;; ++fault) {
        PowerCutDisk disk;
        disk.put(file, blankFile(20));
        const auto before = disk.content(file);
        disk.failing = {fault};
        bool failed = false;
        {
            Pager pager(disk, file, Pager::Mode::readWrite);
            Transaction transaction(pager);
            std::mt19937 random(3);
            for (int i = 0; i < 4; ++i) change(pager, random);
            const auto after = contentOf(pager);
            bool whole = true;
            std::uint32_t luckInBetween = 0;
            disk.beforeEachChange = [&] {
                for (int i = 0; i < 10; ++i) {
                    const auto found = contentOf(*disk.afterPowerCut(++luckInBetween));
                    whole = whole && (found == before || found == after);
                }
            };
            failed = faultOf([&] { transaction.commit(); }).has_value();
            QVERIFY2(whole, "a power cut while the failed commit was taken back");
            disk.beforeEachChange = nullptr;
            QVERIFY(!pager.inTransaction());
            QCOMPARE(contentOf(pager), failed ? before : after);
            for (std::uint32_t luck = 0; luck < 20; ++luck)
                QCOMPARE(contentOf(*disk.afterPowerCut(luck)), failed ? before : after);
            // Work goes on as if nothing had happened.
            disk.failing.clear();
            Transaction next(pager);
            fill(pager, 5, 77);
            const auto last = contentOf(pager);
            next.commit();
            for (std::uint32_t luck = 0; luck < 20; ++luck) QCOMPARE(contentOf(*disk.afterPowerCut(luck)), last);
        }
        if (!failed) {
            QVERIFY(fault > 6);
            return;
        }
    }
}

void PagerTest::everyLastingFaultLeavesTheStateBefore()
{
    for (int fault = 1;; ++fault) {
        PowerCutDisk disk;
        disk.put(file, blankFile(20));
        const auto before = disk.content(file);
        disk.failingFrom = fault;
        Pager pager(disk, file, Pager::Mode::readWrite);
        Transaction transaction(pager);
        std::mt19937 random(3);
        for (int i = 0; i < 4; ++i) change(pager, random);
        const auto after = contentOf(pager);
        if (!faultOf([&] { transaction.commit(); })) {
            QVERIFY(fault > 6);
            return;
        }
        // A disk that cannot be told to forget the journal may keep either state, but never a mixture.
        const bool triedToStrikeOut = disk.content(file) == after;
        for (std::uint32_t luck = 0; luck < 50; ++luck) {
            const auto found = contentOf(*disk.afterPowerCut(luck));
            QVERIFY(found == before || (triedToStrikeOut && found == after));
        }
        // Either the pager still works on the old state, or it refuses everything.
        const auto refusal = faultOf([&] { pager.read(2); });
        if (refusal)
            QCOMPARE(refusal, Fault::disk);
        else
            QCOMPARE(contentOf(pager), before);
    }
}

void PagerTest::fullDiskLeavesTheStateBefore()
{
    const std::size_t start = blankFile(20).size();
    bool committed = false;
    int refused = 0;
    for (std::size_t room = 0; !committed; room += 1500) {
        PowerCutDisk disk;
        disk.put(file, blankFile(20));
        const auto before = disk.content(file);
        disk.capacity = start + room;
        Pager pager(disk, file, Pager::Mode::readWrite);
        {
            Transaction transaction(pager);
            fill(pager, 3, 1);
            fill(pager, 9, 1);
            pager.extendTo(24);
            fill(pager, 22, 1);
            committed = !faultOf([&] { transaction.commit(); });
        }
        if (committed) break;
        ++refused;
        QCOMPARE(contentOf(pager), before);
        for (std::uint32_t luck = 0; luck < 20; ++luck) QCOMPARE(contentOf(*disk.afterPowerCut(luck)), before);
        disk.capacity.reset();
        Transaction again(pager);
        fill(pager, 3, 1);
        again.commit();
        QCOMPARE(disk.content(file)[3 * pageSize], 1);
        QCOMPARE(disk.content(file).size(), before.size());
    }
    QVERIFY(refused > 10);
}

namespace {

/// The disk right before the journal of a commit is struck out: the new pages are in the file, the old ones can still
/// come back.
std::unique_ptr<PowerCutDisk> stoppedBeforeTheEnd(Content& before, Content& after)
{
    PowerCutDisk disk;
    disk.put(file, blankFile(20));
    before = disk.content(file);
    std::unique_ptr<PowerCutDisk> stopped;
    Pager pager(disk, file, Pager::Mode::readWrite);
    Transaction transaction(pager);
    fill(pager, 3, 1);
    fill(pager, 9, 1);
    pager.extendTo(22);
    after = contentOf(pager);
    disk.beforeEachChange = [&] {
        if (disk.content(file) == after && !stopped) {
            stopped = std::make_unique<PowerCutDisk>();
            stopped->put(file, disk.content(file));
            stopped->put(journal, disk.content(journal));
        }
    };
    transaction.commit();
    return stopped;
}

} // namespace

void PagerTest::journalWithAnyWrongByteIsIgnored()
{
    Content before;
    Content after;
    const auto stopped = stoppedBeforeTheEnd(before, after);
    QVERIFY(stopped);
    const auto whole = stopped->content(journal);
    QCOMPARE(contentOf(*stopped), before);
    for (std::size_t at = 0; at < whole.size(); at += at < 560 ? 1 : 97) {
        if (at >= 40 && at < 512) continue;                                         // unused rest of the header block
        if (at >= 512 && (at - 512) % 4112 >= 4 && (at - 512) % 4112 < 8) continue; // unused field of a record
        auto wrong = whole;
        wrong[at] = static_cast<std::uint8_t>(wrong[at] ^ 0x10);
        PowerCutDisk disk;
        disk.put(file, after);
        disk.put(journal, wrong);
        QVERIFY2(contentOf(disk) == after, qPrintable(QString::number(at)));
    }
    for (const std::size_t size : {std::size_t{0}, std::size_t{40}, std::size_t{511}, whole.size() - 1}) {
        PowerCutDisk disk;
        disk.put(file, after);
        disk.put(journal, Content(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
        QCOMPARE(contentOf(disk), after);
    }
}

void PagerTest::journalBesideAReplacedDatabaseIsSetAside()
{
    Content before;
    Content after;
    const auto stopped = stoppedBeforeTheEnd(before, after);
    auto other = before;
    other[12 * pageSize + 44] = 5; // one page differs that the journal knows nothing of
    for (const PageNo pages : {18U, 20U, 22U, 40U}) {
        auto replaced = other;
        replaced.resize(pages * pageSize);
        PowerCutDisk disk;
        disk.put(file, replaced);
        disk.put(journal, stopped->content(journal));
        QCOMPARE(contentOf(disk), replaced);
        QVERIFY(!disk.has(journal));
        QVERIFY(disk.has("Yag.mdb-journal.old"));
        QCOMPARE(contentOf(*disk.afterPowerCut(1)), replaced);
    }
}

void PagerTest::journalBesideAnOlderCopyGivesTheStateItWasWrittenFor()
{
    Content before;
    Content after;
    const auto stopped = stoppedBeforeTheEnd(before, after);
    // Differs only where the journal holds the whole page: putting it back makes a state that did exist.
    auto older = before;
    older[9 * pageSize + 44] = 5;
    PowerCutDisk disk;
    disk.put(file, older);
    disk.put(journal, stopped->content(journal));
    QCOMPARE(contentOf(disk), before);
}

void PagerTest::journalOnAProtectedMediumIsAppliedInMemory()
{
    Content before;
    Content after;
    const auto stopped = stoppedBeforeTheEnd(before, after);
    stopped->readOnly = true;
    for (const auto mode : {Pager::Mode::readOnly, Pager::Mode::readWrite}) {
        Pager pager(*stopped, file, mode);
        QVERIFY(!pager.writable());
        QCOMPARE(contentOf(pager), before);
    }
    QCOMPARE(stopped->content(file), after);
}

void PagerTest::readerRepairsTheFileWhereItMay()
{
    Content before;
    Content after;
    const auto stopped = stoppedBeforeTheEnd(before, after);
    Pager pager(*stopped, file, Pager::Mode::readOnly);
    QCOMPARE(contentOf(pager), before);
    QCOMPARE(stopped->content(file), before);
    QCOMPARE(contentOf(*stopped->afterPowerCut(4)), before);
}

void PagerTest::foreignChangeAfterARepairIsNotTakenBack()
{
    Content before;
    Content after;
    const auto stopped = stoppedBeforeTheEnd(before, after);
    QCOMPARE(contentOf(*stopped), before);
    // Another program, which knows no journal, changes a page that the journal held.
    const auto opened = stopped->open(file, Disk::Access::readWrite);
    opened->write(3 * pageSize + 10, std::vector<std::uint8_t>{42});
    opened->sync();
    const auto changed = stopped->content(file);
    for (std::uint32_t luck = 0; luck < 50; ++luck) QCOMPARE(contentOf(*stopped->afterPowerCut(luck)), changed);
}

void PagerTest::secondWriterIsRefused()
{
    PowerCutDisk disk;
    disk.put(file, blankFile());
    auto first = std::make_unique<Pager>(disk, file, Pager::Mode::readWrite);
    QCOMPARE(faultOf([&] { Pager(disk, file, Pager::Mode::readWrite); }), Fault::inUse);
    first.reset();
    Pager second(disk, file, Pager::Mode::readWrite);
    QVERIFY(second.writable());
}

void PagerTest::readerComesInBesideAnIdleWriter()
{
    PowerCutDisk disk;
    disk.put(file, blankFile());
    Pager writer(disk, file, Pager::Mode::readWrite);
    Transaction change(writer);
    fill(writer, 3, 1);
    {
        Pager reader(disk, file, Pager::Mode::readOnly);
        QCOMPARE(reader.read(3)[0], 0);
    }
    change.commit();
    Pager reader(disk, file, Pager::Mode::readOnly);
    QCOMPARE(reader.read(3)[0], 1);
}

void PagerTest::commitWaitsForReadersAndGivesUpWhole()
{
    PowerCutDisk disk;
    disk.put(file, blankFile());
    Pager writer(disk, file, Pager::Mode::readWrite);
    const auto before = contentOf(writer);
    {
        Pager reader(disk, file, Pager::Mode::readOnly);
        Transaction change(writer);
        fill(writer, 3, 1);
        QElapsedTimer waited;
        waited.start();
        QCOMPARE(faultOf([&] { change.commit(); }), Fault::inUse);
        QVERIFY(waited.elapsed() >= 2000);
        QCOMPARE(disk.changes(), 0);
        QCOMPARE(contentOf(writer), before);
    }
    Transaction change(writer);
    fill(writer, 3, 1);
    change.commit();
    QCOMPARE(disk.content(file)[3 * pageSize], 1);
}

QTEST_APPLESS_MAIN(PagerTest)
#include "pager.moc"
