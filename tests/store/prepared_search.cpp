#include "tests/store/mill_file.h"

#include "mill/queries.h"

#include <QTest>
#include <QThread>
#include <random>

using namespace Qt::StringLiterals;
using store::FieldValue;

namespace {

constexpr int customers = 9000;

/// A register with names in any letter case, some of them twice, some Null.
class Register : public MillFile {
public:
    Register()
    {
        const store::Listing listing = held->open(u"Cari"_s);
        store::Change change(*held);
        for (int i = 0; i < customers; ++i) keys.push_back(held->insert(listing, {{0, name()}}));
        change.commit();
    }

    FieldValue name()
    {
        static const QString letters = u"aıiİIşŞsSğöÖzZ kK"_s;
        if (pick(50) == 0) return {};
        QString text;
        for (int length = 1 + pick(4); length > 0; --length) text += letters[pick(static_cast<int>(letters.size()))];
        return text;
    }
    int pick(int below) { return static_cast<int>(dice_() % static_cast<unsigned>(below)); }

    bool prepare() { return held->prepareSearch(u"Cari"_s, u"Unvan"_s); }
    void finish()
    {
        while (!prepare()) QThread::msleep(1);
    }
    std::vector<store::RowKey> found(const QString& typed) { return held->open(mill::customerSearch(typed)).rows; }

    const std::shared_ptr<store::Engine> held = engine(); ///< open from the first moment to the last
    std::vector<store::RowKey> keys;

private:
    std::mt19937 dice_{7};
};

const QStringList typed = {u""_s, u"a"_s, u"ı"_s, u"İ"_s, u"ş"_s, u"sı"_s, u"kz"_s, u"?i"_s, u"zzzzz"_s};

/// What an engine finds that knows nothing yet, one answer for each of the texts.
std::vector<std::vector<store::RowKey>> answers(MillFile& file)
{
    std::vector<std::vector<store::RowKey>> result;
    for (const QString& text : typed) {
        store::JetDatabases fresh(file.disk);
        result.push_back(fresh.open(MillFile::path)->open(mill::customerSearch(text)).rows);
    }
    return result;
}

} // namespace

/// The order of the names is learned by another thread, and searches are answered meanwhile.
class PreparedSearch : public QObject {
    Q_OBJECT

private slots:
    void answersAreTheSameBeforeDuringAndAfter()
    {
        Register mill;
        const auto expected = answers(mill);
        QVERIFY(!mill.prepare()); // begun: what another thread has made by now is not taken before the next call
        for (std::size_t i = 0; i < expected.size(); ++i) QCOMPARE(mill.found(typed[qsizetype(i)]), expected[i]);
        mill.finish();
        for (std::size_t i = 0; i < expected.size(); ++i) QCOMPARE(mill.found(typed[qsizetype(i)]), expected[i]);
        QVERIFY(mill.prepare());
    }

    void whoeverWantsAllNamesWaitsForTheirOrder()
    {
        Register mill;
        const QString all = u"Select * From Cari Order By Unvan"_s;
        store::JetDatabases fresh(mill.disk);
        const auto expected = fresh.open(MillFile::path)->open(all).rows;
        QVERIFY(!mill.prepare());
        QCOMPARE(mill.held->open(all).rows, expected);
        QVERIFY(mill.prepare());
    }

    void aFileMayBeClosedMeanwhile()
    {
        Register mill;
        QVERIFY(!mill.prepare());
    }

    void changesMadeMeanwhileAreFound()
    {
        Register mill;
        const auto engine = mill.held;
        const store::Listing listing = engine->open(u"Cari"_s);
        QVERIFY(!mill.prepare());
        constexpr int rounds = 8; // more changes than are followed one by one
        for (int round = 0; round < rounds; ++round) {
            for (int i = 0; i < 20; ++i) {
                mill.keys.push_back(engine->insert(listing, {{0, mill.name()}}));
                engine->update(listing, mill.keys[static_cast<std::size_t>(mill.pick(customers / 2))],
                               {{0, mill.name()}});
                const auto gone = mill.keys.begin() + customers / 2 + mill.pick(customers / 4);
                engine->erase(listing, *gone);
                mill.keys.erase(gone);
            }
            store::JetDatabases fresh(mill.disk);
            QCOMPARE(mill.found(u"a"_s), fresh.open(MillFile::path)->open(mill::customerSearch(u"a"_s)).rows);
        }
        mill.finish();
        const auto expected = answers(mill);
        for (std::size_t i = 0; i < expected.size(); ++i) QCOMPARE(mill.found(typed[qsizetype(i)]), expected[i]);
    }

    void openChangesPutItOff()
    {
        Register mill;
        const auto engine = mill.held;
        const store::Listing listing = engine->open(u"Cari"_s);
        {
            const store::Change change(*engine);
            engine->insert(listing, {{0, u"Ahmet"_s}});
            for (int i = 0; i < 10; ++i) QVERIFY(!mill.prepare());
            QCOMPARE(mill.found(u"ahm"_s).size(), 1U);
        }
        mill.finish();
        QCOMPARE(mill.found(u"ahm"_s).size(), 0U);
    }

    void onlyTextsHaveAnOrderToLearn()
    {
        MillFile file;
        QVERIFY(file.engine()->prepareSearch(u"Hareket"_s, u"Tarih"_s));
        QVERIFY_THROWS_EXCEPTION(base::RuntimeError, file.engine()->prepareSearch(u"Hareket"_s, u"Yok"_s));
    }
};

QTEST_APPLESS_MAIN(PreparedSearch)
#include "prepared_search.moc"
