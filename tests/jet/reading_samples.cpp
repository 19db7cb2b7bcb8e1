#include "mdbtools.h"
#include "samples.h"

#include "platform/system_disk.h"
#include "store/jet/database/database.h"

#include <QtTest>

namespace {

QString text(std::u16string_view name) { return QString::fromUtf16(name.data(), static_cast<qsizetype>(name.size())); }

} // namespace

class ReadingSamples : public QObject {
    Q_OBJECT
private slots:
    void everyTableReadsAsMdbtoolsReadsIt_data();
    void everyTableReadsAsMdbtoolsReadsIt();
};

void ReadingSamples::everyTableReadsAsMdbtoolsReadsIt_data()
{
    if (!samples::present()) QSKIP(samples::absent);
    QTest::addColumn<QString>("file");
    for (const QString& file : samples::databases()) QTest::newRow(qPrintable(QFileInfo(file).fileName())) << file;
}

void ReadingSamples::everyTableReadsAsMdbtoolsReadsIt()
{
    QFETCH(QString, file);
    const auto database = jet::Database::open(platform::systemDisk(), file.toStdString(), jet::Pager::Mode::readOnly);
    QStringList names;
    for (const std::u16string& name : database->tableNames()) names << text(name);
    for (const QString& name : mdbtools::tables(file)) QVERIFY2(names.contains(name), qPrintable(name));

    for (const QString& name : names) {
        const jet::Table& table = database->table(name.toStdU16String());
        const QString difference = mdbtools::difference(file, table);
        QVERIFY2(difference.isEmpty(), qPrintable(difference));
    }
}

QTEST_GUILESS_MAIN(ReadingSamples)
#include "reading_samples.moc"
