#pragma once

#include "store/jet/table/table.h"

#include <QDateTime>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <algorithm>
#include <cmath>
#include <stdexcept>

/// Another program's view of a database: what the command-line tools of mdbtools print.
namespace mdbtools {

inline QString run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LC_ALL", "C.UTF-8");
    environment.insert("TZ", "UTC");
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit) {
        throw std::runtime_error((program + " did not finish").toStdString());
    }
    return QString::fromUtf8(process.readAllStandardOutput());
}

inline QStringList tables(const QString& file)
{
    return run("mdb-tables", {"-1", file}).split('\n', Qt::SkipEmptyParts);
}

/// A table as text fields; the first row holds the column names. Null is `null`.
inline const QString null = QStringLiteral("<NULL>");
inline QList<QStringList> table(const QString& file, const QString& name)
{
    const QString text = run("mdb-export", {"-Q", "-d", "<|>", "-R", "<#>", "-0", null, "-b", "hex", "-D",
                                            "%Y-%m-%d %H:%M:%S", "-T", "%Y-%m-%d %H:%M:%S", file, name});
    QList<QStringList> rows;
    for (const QString& line : text.split("<#>")) rows << line.split("<|>");
    rows.removeLast(); // behind the last row end
    return rows;
}

/// The day and second that a date value names, in the form asked of mdb-export above.
inline QString printedDate(jet::DateTime date)
{
    double days = 0;
    const qint64 seconds = std::llround(std::fabs(std::modf(date.days, &days)) * 86400);
    return QDateTime(QDate(1899, 12, 30).addDays(static_cast<qint64>(days)), QTime(0, 0), Qt::UTC)
        .addSecs(seconds)
        .toString("yyyy-MM-dd HH:mm:ss");
}

/// Asked for bytes in hexadecimal, mdb-export prints the characters of a GUID so; it leaves one hyphen out.
inline bool isGuid(const QString& printed, const jet::Guid& guid)
{
    QByteArray b(reinterpret_cast<const char*>(guid.bytes.data()), 16);
    std::reverse(b.begin(), b.begin() + 4);
    std::reverse(b.begin() + 4, b.begin() + 6);
    std::reverse(b.begin() + 6, b.begin() + 8);
    const QString shown = QString::fromLatin1(QByteArray::fromHex(printed.toLatin1()));
    return QString(shown).remove('-') == QUuid::fromRfc4122(b).toString().toUpper().remove('-');
}

/// True when the field that mdb-export printed says what the value is; it prints empty ones as it prints Null.
inline bool agrees(const QString& printed, const jet::Value& value, const jet::Column& column)
{
    using jet::ColumnType;
    if (jet::isNull(value)) return printed == null;
    const auto closeTo = [&](double number, double share) {
        bool isNumber = false;
        const double other = printed.toDouble(&isNumber);
        return isNumber && std::fabs(other - number) <= std::fabs(number) * share;
    };
    switch (column.type) {
    case ColumnType::boolean:
        return printed == (std::get<bool>(value) ? "1" : "0");
    case ColumnType::byte:
        return printed == QString::number(std::get<std::uint8_t>(value));
    case ColumnType::integer:
        return printed == QString::number(std::get<std::int16_t>(value));
    case ColumnType::longInteger:
        return printed == QString::number(std::get<std::int32_t>(value));
    case ColumnType::currency:
        return closeTo(static_cast<double>(std::get<jet::Currency>(value).tenThousandths) / 1e4, 1e-14);
    case ColumnType::singleFloat:
        return closeTo(std::get<float>(value), 1e-6);
    case ColumnType::doubleFloat:
        return closeTo(std::get<double>(value), 1e-14);
    case ColumnType::text:
    case ColumnType::memo: {
        const auto& text = std::get<std::u16string>(value);
        return printed == (text.empty() ? null : QString::fromStdU16String(text));
    }
    case ColumnType::dateTime:
        return printed == printedDate(std::get<jet::DateTime>(value));
    case ColumnType::guid:
        return isGuid(printed, std::get<jet::Guid>(value));
    case ColumnType::numeric: {
        const auto& number = std::get<jet::Numeric>(value);
        double magnitude = 0;
        for (const std::uint32_t word : number.magnitude) magnitude = magnitude * 4294967296.0 + word;
        magnitude /= std::pow(10.0, number.scale);
        return closeTo(number.negative ? -magnitude : magnitude, 1e-14);
    }
    case ColumnType::binary:
    case ColumnType::ole:
    case ColumnType::blob: {
        const auto& bytes = std::get<jet::Bytes>(value);
        QByteArray raw(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size()));
        // It prints Binary fields up to the first zero byte.
        if (column.type == ColumnType::binary && raw.contains('\0')) raw.truncate(raw.indexOf('\0'));
        if (raw.isEmpty()) return printed.isEmpty() || printed == null;
        return printed.compare(QString::fromLatin1(raw.toHex()), Qt::CaseInsensitive) == 0;
    }
    }
    return false;
}

/// The first field that the printed row (see table()) says differently, by its place in `names`, the first printed
/// row; -1 when they agree.
inline qsizetype firstDifference(const QStringList& names, const QStringList& printed, const jet::Table& table,
                                 const jet::RowView& row)
{
    for (qsizetype field = 0; field < names.size(); ++field) {
        const auto column = table.columnNamed(names[field].toStdU16String());
        const bool there = column && field < printed.size();
        if (!there || !agrees(printed[field], row.value(*column), table.columns()[*column])) return field;
    }
    return -1;
}

/// What differs between a table and what mdb-export prints of it; empty when nothing does. A moved row may stand
/// anywhere: mdb-export prints it where its body is.
inline QString difference(const QString& file, const jet::Table& table)
{
    const QString name = QString::fromStdU16String(table.name());
    QList<QStringList> printed = mdbtools::table(file, name);
    const QStringList names = printed.takeFirst();
    if (names.size() != qsizetype(table.columns().size())) return name + ": other columns";
    qsizetype rows = 0;
    QString fault;
    qsizetype at = 0;
    std::vector<bool> taken(static_cast<std::size_t>(printed.size()));
    table.forEachRow([&](jet::RowId id, const jet::RowView& row) {
        ++rows;
        while (at < printed.size() && taken[std::size_t(at)]) ++at;
        qsizetype nearest = -1;
        QString nearestText;
        for (qsizetype i = at; i < printed.size(); ++i) {
            if (taken[std::size_t(i)]) continue;
            const qsizetype field = firstDifference(names, printed[i], table, row);
            if (field < 0) {
                taken[std::size_t(i)] = true;
                return true;
            }
            if (field > nearest) {
                nearest = field;
                nearestText = printed[i].value(field);
            }
        }
        fault = QString("%1: the row at page %2 slot %3 is not among those printed; the nearest one has %4 = %5")
                    .arg(name)
                    .arg(id.page)
                    .arg(id.slot)
                    .arg(names.value(nearest), nearestText);
        return false;
    });
    if (fault.isEmpty() && rows != printed.size()) {
        fault = QString("%1: %2 rows, %3 printed").arg(name).arg(rows).arg(printed.size());
    }
    return fault;
}

} // namespace mdbtools
