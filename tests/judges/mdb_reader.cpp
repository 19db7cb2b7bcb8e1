#include "tests/jet/mdbtools.h"
#include "tests/jet/random_rows.h"
#include "tests/jet/samples.h"

#include "platform/system_disk.h"
#include "store/jet/database/database.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

namespace {

/// Where npm put mdb-reader: the folder that PRESVA_NODE_MODULES names, else where scripts/ensure-judges puts it, else
/// the global one. Empty: nowhere.
QString modules()
{
    QStringList folders{qEnvironmentVariable("PRESVA_NODE_MODULES"), QStringLiteral(PRESVA_INSTALLED_JUDGES)};
    QProcess npm;
    npm.start("npm", {"root", "-g"});
    if (npm.waitForFinished(30000)) folders << QString::fromUtf8(npm.readAllStandardOutput()).trimmed();
    for (const QString& folder : folders)
        if (!folder.isEmpty() && QFileInfo::exists(folder + "/mdb-reader/package.json")) return folder;
    return {};
}

const char* const absent =
    "needs Node.js and the npm package mdb-reader: scripts/ensure-judges installs it";

/// Every user table as mdb-reader sees it, in the form of mdbtools::table().
using Tables = QMap<QString, QList<QStringList>>;
Tables read(const QString& modules, const QString& file)
{
    QProcess node;
    node.start("node", {QStringLiteral(PRESVA_JUDGES "/mdb_reader.mjs"), modules, file});
    if (!node.waitForFinished(120000) || node.exitCode() != 0)
        throw std::runtime_error("mdb-reader: " + node.readAllStandardError().toStdString());
    const QJsonObject all = QJsonDocument::fromJson(node.readAllStandardOutput()).object();
    Tables tables;
    for (auto table = all.begin(); table != all.end(); ++table) {
        for (const QJsonValue& line : table.value().toArray()) {
            QStringList fields;
            for (const QJsonValue& field : line.toArray()) fields << field.toString();
            tables[table.key()] << fields;
        }
    }
    return tables;
}

/// True when the printed field says what the value is, to the last letter and byte.
bool agrees(const QString& printed, const jet::Value& value, const jet::Column& column)
{
    if (const auto* text = std::get_if<std::u16string>(&value)) return printed == QString::fromStdU16String(*text);
    if (const auto* bytes = std::get_if<jet::Bytes>(&value)) {
        const QByteArray raw(reinterpret_cast<const char*>(bytes->data()), qsizetype(bytes->size()));
        return printed == QString::fromLatin1(raw.toHex());
    }
    if (const auto* guid = std::get_if<jet::Guid>(&value)) {
        QByteArray shown(reinterpret_cast<const char*>(guid->bytes.data()), 16);
        std::reverse(shown.begin(), shown.begin() + 4);
        std::reverse(shown.begin() + 4, shown.begin() + 6);
        std::reverse(shown.begin() + 6, shown.begin() + 8);
        return printed == QUuid::fromRfc4122(shown).toString(QUuid::WithoutBraces);
    }
    return mdbtools::agrees(printed, value, column);
}

/// The first field that the printed row says differently, by its place in `names`; -1 when they agree.
qsizetype firstDifference(const QStringList& names, const QStringList& printed, const jet::Table& table,
                          const jet::RowView& row)
{
    for (qsizetype i = 0; i < names.size(); ++i) {
        const auto column = table.columnNamed(names[i].toStdU16String());
        if (!column || i >= printed.size() || !agrees(printed[i], row.value(*column), table.columns()[*column]))
            return i;
    }
    return -1;
}

/// What differs between a table and the printed rows, whatever their order; empty when nothing does.
QString difference(const jet::Table& table, QList<QStringList> printed)
{
    const QStringList names = printed.takeFirst();
    QString fault;
    const auto rows = printed.size();
    qsizetype seen = 0;
    table.forEachRow([&](jet::RowId id, const jet::RowView& row) {
        ++seen;
        qsizetype nearest = -1, best = -1;
        for (qsizetype i = 0; i < printed.size(); ++i) {
            const qsizetype field = firstDifference(names, printed[i], table, row);
            if (field < 0) {
                printed.removeAt(i);
                return true;
            }
            if (field > best) {
                best = field;
                nearest = i;
            }
        }
        fault = QString("the row at page %1 slot %2 is not among those printed").arg(id.page).arg(id.slot);
        if (nearest >= 0)
            fault += QString("; the nearest one has %1 = %2").arg(names[best], printed[nearest].value(best));
        return false;
    });
    if (fault.isEmpty() && seen != rows) fault = QString("%1 rows, %2 printed").arg(seen).arg(rows);
    return fault;
}

} // namespace

class MdbReader : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void readsADatabaseMadeHere_data();
    void readsADatabaseMadeHere();
    void readsSamplesAfterChanges_data();
    void readsSamplesAfterChanges();

private:
    void change(jet::Database& database, unsigned seed);
    void compare(const QString& file);
    QString modules_;
};

void MdbReader::initTestCase()
{
    if (QStandardPaths::findExecutable("node").isEmpty()) QSKIP(absent);
    modules_ = modules();
    if (modules_.isEmpty()) QSKIP(absent);
}

/// Inserts, updates and deletes in every table that may be written.
void MdbReader::change(jet::Database& database, unsigned seed)
{
    rows::Maker maker(seed);
    for (const std::u16string& name : database.tableNames()) {
        jet::Table& table = database.table(name);
        if (table.whyReadOnly()) continue;
        std::vector<jet::RowId> known;
        table.forEachRow([&](jet::RowId id, const jet::RowView&) {
            known.push_back(id);
            return true;
        });
        jet::Transaction work(database.pager());
        for (int step = 0; step < 400; ++step) {
            std::vector<jet::Assignment> values;
            for (std::size_t i = 0; i < table.columns().size(); ++i)
                if (!table.columns()[i].autoNumber && !maker.oneIn(4))
                    values.push_back({i, maker.value(table.columns()[i])});
            const auto victim = known.empty() ? 0 : std::size_t(maker.below(int(known.size())));
            try {
                if (known.empty() || maker.below(10) < 5) {
                    known.push_back(table.insert(values));
                } else if (maker.below(5) < 3) {
                    table.update(known[victim], values);
                } else {
                    table.erase(known[victim]);
                    known.erase(known.begin() + std::ptrdiff_t(victim));
                }
            } catch (const jet::Error& error) {
                // A value against the rules of a sample's table changes nothing.
                if (error.fault() != jet::Fault::required && error.fault() != jet::Fault::duplicate &&
                    error.fault() != jet::Fault::badValue && error.fault() != jet::Fault::indexNotWritable)
                    throw;
            }
        }
        work.commit();
    }
}

void MdbReader::compare(const QString& file)
{
    const Tables printed = read(modules_, file);
    const auto database = jet::Database::open(platform::systemDisk(), file.toStdString(), jet::Pager::Mode::readOnly);
    for (const std::u16string& name : database->tableNames()) {
        const QString title = QString::fromStdU16String(name);
        QVERIFY2(printed.contains(title), qPrintable(title));
        const QString fault = difference(database->table(name), printed[title]);
        QVERIFY2(fault.isEmpty(), qPrintable(title + ": " + fault));
    }
}

void MdbReader::readsADatabaseMadeHere_data()
{
    QTest::addColumn<bool>("turkish");
    QTest::newRow("General order") << false;
    QTest::newRow("Turkish order") << true;
}

void MdbReader::readsADatabaseMadeHere()
{
    QFETCH(bool, turkish);
    const QTemporaryDir folder;
    const QString file = folder.filePath("deneme.mdb");
    files::Disk& disk = platform::systemDisk();
    jet::Database::create(disk, file.toStdString(), turkish ? jet::turkish : jet::general, rows::created);
    {
        const auto database = jet::Database::open(disk, file.toStdString());
        database->createTable(u"Hepsi", rows::everyType(), rows::someIndexes(), rows::created);
        database->createTable(u"Dizinsiz", rows::everyType(), {}, rows::created);
        for (unsigned seed = 1; seed <= 3; ++seed) change(*database, seed);
    }
    compare(file);
}

void MdbReader::readsSamplesAfterChanges_data()
{
    if (!samples::present()) QSKIP(samples::absent);
    QTest::addColumn<QString>("file");
    for (const QString& file : samples::databases()) QTest::newRow(qPrintable(QFileInfo(file).fileName())) << file;
}

void MdbReader::readsSamplesAfterChanges()
{
    QFETCH(QString, file);
    const QTemporaryDir folder;
    const QString copy = folder.filePath(QFileInfo(file).fileName());
    QVERIFY(QFile::copy(file, copy));
    QFile::setPermissions(copy, QFile::ReadOwner | QFile::WriteOwner);
    {
        const auto database = jet::Database::open(platform::systemDisk(), copy.toStdString());
        change(*database, 5);
    }
    compare(copy);
}

QTEST_GUILESS_MAIN(MdbReader)
#include "mdb_reader.moc"
