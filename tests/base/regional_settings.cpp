#include "base/patterns.h"
#include "base/regional.h"
#include "tests/support/columns.h"
#include <QCoreApplication>
#include <QProcess>
#include <QSettings>
#include <QTest>
#include <cstdio>
#include <cstring>
#include <map>

using namespace base;
using namespace Qt::StringLiterals;

namespace {

/// A number and a date, written by these settings.
QString sample(const Regional& regional)
{
    const QDateTime value(QDate(2024, 11, 5), QTime(14, 7, 33));
    return formatNumber(1234567.5, u"#,##0.00", regional) + u'|' +
           formatDate(value, u"dd mmmm yyyy dddd hh:mm", regional) + u'|' + dateToText(value, regional);
}

#ifdef Q_OS_WIN
/// The user's settings as Windows keeps them, changed until this is gone. Tests have a Windows of their own.
class UserSettings {
public:
    explicit UserSettings(const QStringList& entries)
    {
        for (const QString& entry : entries) {
            const QString name = entry.section(u'=', 0, 0);
            before_[name] = stored_.value(name);
            stored_.setValue(name, entry.section(u'=', 1));
        }
    }
    ~UserSettings()
    {
        for (const auto& [name, value] : before_) stored_.setValue(name, value);
    }
    UserSettings(const UserSettings&) = delete;
    UserSettings& operator=(const UserSettings&) = delete;

private:
    QSettings stored_{u"HKEY_CURRENT_USER\\Control Panel\\International"_s, QSettings::NativeFormat};
    std::map<QString, QVariant> before_;
};
#endif

} // namespace

/// The user's own settings. Qt looks at them once in a process, so every row asks a process of its own.
class RegionalSettings : public QObject {
    Q_OBJECT

private slots:
#ifdef Q_OS_WIN
    void whatTheUserHasSetDecides_data()
    {
        addColumns<QStringList, QString>("settings", "expected");
        const QString turkish = sample(Regional::turkish());
        QTest::newRow("Turkish") << QStringList() << turkish;
        QTest::newRow("numbers of the user's own")
            << QStringList{u"sDecimal=;"_s, u"sThousand='"_s} << u"1'234'567;50|"_s + turkish.section(u'|', 1);
    }

    void whatTheUserHasSetDecides()
    {
        QFETCH(QStringList, settings);
        const UserSettings changed(settings);
        QProcess process;
        process.start(QCoreApplication::applicationFilePath(), {u"--sample"_s});
        QVERIFY(process.waitForFinished());
        QTEST(QString::fromUtf8(process.readAllStandardOutput()), "expected");
    }
#else
    void categoriesOfTheEnvironmentDecide_data()
    {
        addColumns<QStringList, QString>("environment", "expected");
        const QString turkish = sample(Regional::turkish());
        const QString turkishDate = turkish.section(u'|', 1);
        QTest::newRow("Turkish") << QStringList{u"LANG=tr_TR.UTF-8"_s} << turkish;
        QTest::newRow("Turkish with English numbers")
            << QStringList{u"LANG=tr_TR.UTF-8"_s, u"LC_NUMERIC=en_US.UTF-8"_s} << u"1,234,567.50|"_s + turkishDate;
        QTest::newRow("English") << QStringList{u"LANG=en_US.UTF-8"_s}
                                 << u"1,234,567.50|05 November 2024 Tuesday 14:07|11/5/24 14:07:33"_s;
        QTest::newRow("English with Turkish numbers")
            << QStringList{u"LANG=en_US.UTF-8"_s, u"LC_NUMERIC=tr_TR.UTF-8"_s}
            << u"1.234.567,50|05 November 2024 Tuesday 14:07|11/5/24 14:07:33"_s;
        QTest::newRow("English with Turkish dates")
            << QStringList{u"LANG=en_US.UTF-8"_s, u"LC_TIME=tr_TR.UTF-8"_s} << u"1,234,567.50|"_s + turkishDate;
        QTest::newRow("all categories at once")
            << QStringList{u"LANG=en_US.UTF-8"_s, u"LC_NUMERIC=en_US.UTF-8"_s, u"LC_ALL=tr_TR.UTF-8"_s} << turkish;
    }

    void categoriesOfTheEnvironmentDecide()
    {
        QFETCH(QStringList, environment);
        QProcessEnvironment clean = QProcessEnvironment::systemEnvironment();
        for (const QString& name : clean.keys())
            if (name.startsWith("LC_"_L1) || name == "LANG"_L1 || name == "LANGUAGE"_L1) clean.remove(name);
        for (const QString& entry : environment) clean.insert(entry.section(u'=', 0, 0), entry.section(u'=', 1));

        QProcess process;
        process.setProcessEnvironment(clean);
        process.start(QCoreApplication::applicationFilePath(), {u"--sample"_s});
        QVERIFY(process.waitForFinished());
        QTEST(QString::fromUtf8(process.readAllStandardOutput()), "expected");
    }
#endif
};

int main(int argc, char** argv)
{
    if (argc == 2 && std::strcmp(argv[1], "--sample") == 0) {
        std::fputs(sample(Regional::system()).toUtf8().constData(), stdout);
        return 0;
    }
    QCoreApplication application(argc, argv);
    RegionalSettings test;
    return QTest::qExec(&test, argc, argv);
}

#include "regional_settings.moc"
