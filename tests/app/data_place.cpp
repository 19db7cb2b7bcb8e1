#include "app/first_start.h"
#include "tests/support/columns.h"
#include <QDir>
#include <QtTest>

using namespace Qt::StringLiterals;

using namespace app;

/// What --dir and --print-else say, with a launcher and without one.
class DataPlaces : public QObject {
    Q_OBJECT

private slots:
    void namedFolderTakesThePlaceOfTheUsualOneAlone_data()
    {
        addColumns<QString, QString, QString, QString, bool, QString>("users", "named", "printElse", "folder", "isOurs",
                                                                      "slips");
        const QString program = QCoreApplication::applicationDirPath();
        const QString none;
        const auto row = [](const char* name, const QString& users, const QString& named, const QString& printElse,
                            const QString& folder, bool isOurs, const QString& slips) {
            QTest::newRow(name) << users << named << printElse << folder << isOurs << slips;
        };
        const QString users = absolute(u"users"_s), till = absolute(u"till"_s), paper = absolute(u"paper"_s);
        row("no launcher", users, none, none, users, true, users + u"/fis"_s);
        row("no launcher, --dir", users, till, none, till, true, till + u"/fis"_s);
        row("no launcher, --print-else", users, none, paper, users, true, paper);
        row("no launcher, both", users, till, paper, till, true, paper);
        row("launcher", none, none, none, program, false, none);
        row("launcher, --dir", none, till, none, till, false, none);
        row("launcher, both", none, till, paper, till, false, paper);
        row("launcher, --dir from here", none, u"till"_s, none, till, false, none);
    }

    void namedFolderTakesThePlaceOfTheUsualOneAlone()
    {
        QFETCH(QString, users);
        QFETCH(QString, named);
        QFETCH(QString, printElse);
        const DataPlace place = dataPlace(users.isNull() ? std::nullopt : std::optional(users), named, printElse);
        QTEST(place.folder, "folder");
        QTEST(place.isOurs, "isOurs");
        QTEST(place.slipsWithoutQueue, "slips");
    }

private:
    static QString absolute(const QString& name) { return QDir(name).absolutePath(); }
};

QTEST_GUILESS_MAIN(DataPlaces)
#include "data_place.moc"
