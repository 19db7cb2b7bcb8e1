#include "store/slip_note.h"

#include "base/error.h"
#include "base/pass_over.h"
#include "files/disk.h"
#include "mill/queries.h"
#include "store/engine.h"
#include "store/on_disk.h"

#include <QCryptographicHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace store {
namespace {

QJsonObject fieldsOf(const mill::Weighing& from)
{
    return {{"source", static_cast<int>(from.source)},
            {"bytes", QString::fromLatin1(QByteArray::fromStdString(from.bytes).toHex())},
            {"moment", from.moment}};
}

mill::Weighing weighingOf(const QJsonObject& fields)
{
    return {static_cast<mill::WeightSource>(fields["source"].toInt()),
            QByteArray::fromHex(fields["bytes"].toString().toLatin1()).toStdString(), fields["moment"].toDouble()};
}

/// The pressing's part of a note; the names are those in the file.
constexpr std::pair<QLatin1StringView, QString mill::Pressing::*> pressingFields[] = {
    {"olives"_L1, &mill::Pressing::olives},
    {"oil"_L1, &mill::Pressing::oil},
    {"percentage"_L1, &mill::Pressing::percentage},
    {"entitlement"_L1, &mill::Pressing::entitlement},
    {"fee"_L1, &mill::Pressing::fee},
    {"customer"_L1, &mill::Pressing::customer},
    {"container"_L1, &mill::Pressing::container},
};

QByteArray textOf(const SlipNote& note)
{
    QJsonObject fields{
        {"job", note.job},
        {"jobMark", note.jobMark},
        {"moment", note.moment},
        {"sameBefore", note.sameBefore},
        {"station", note.from.station},
        {"olivesFrom", fieldsOf(note.from.olives)},
        {"oilFrom", fieldsOf(note.from.oil)},
        {"bookPlace", static_cast<qint64>(note.bookPlace)},
        {"bookSeal", QString::fromStdString(note.bookSeal)},
        {"identity", note.identity},
    };
    for (const auto& [name, field] : pressingFields) fields[name] = note.pressing.*field;
    if (note.before) fields["before"] = static_cast<qint64>(*note.before);
    return QJsonDocument(fields).toJson(QJsonDocument::Compact);
}

QByteArray sealOf(const QByteArray& text) { return QCryptographicHash::hash(text, QCryptographicHash::Sha256).toHex(); }

} // namespace

SlipNotes::SlipNotes(files::Disk& disk, std::filesystem::path database) : disk_(disk), path_(std::move(database))
{
    path_.replace_filename(mill::slipNoteFile);
}

void SlipNotes::write(const SlipNote& note)
{
    const auto refused = base::passOver([&] { writeWhole(note); });
    if (!refused) return;
    base::passOver([this] { strike(); });
    throw base::RuntimeError(*refused);
}

void SlipNotes::writeWhole(const SlipNote& note)
{
    onDisk([&] {
        if (disk_.exists(path_)) disk_.remove(path_);
        const std::unique_ptr<files::File> file = disk_.open(path_, files::Disk::Access::createNew);
        const QByteArray text = textOf(note);
        const QByteArray sealed = sealOf(text) + '\n' + text;
        file->write(
            0, {reinterpret_cast<const std::uint8_t*>(sealed.constData()), static_cast<std::size_t>(sealed.size())});
        file->sync();
        disk_.syncFolder(path_.parent_path());
    });
}

bool SlipNotes::unreadable() const
{
    return onDisk([&] { return disk_.exists(path_); }) && !open();
}

std::optional<SlipNote> SlipNotes::open() const
{
    return onDisk([&]() -> std::optional<SlipNote> {
        if (!disk_.exists(path_)) return std::nullopt;
        const std::unique_ptr<files::File> file = disk_.open(path_, files::Disk::Access::readOnly);
        constexpr std::uint64_t longest = 65536;
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(std::min(file->size(), longest)));
        bytes.resize(file->read(0, bytes));
        const QByteArray sealed(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size()));
        const qsizetype end = sealed.indexOf('\n');
        const QByteArray text = sealed.mid(end + 1);
        if (end < 0 || sealed.left(end) != sealOf(text)) return std::nullopt;

        const QJsonObject fields = QJsonDocument::fromJson(text).object();
        SlipNote note;
        note.job = fields["job"].toInt();
        note.jobMark = fields["jobMark"].toString();
        note.moment = fields["moment"].toDouble();
        for (const auto& [name, field] : pressingFields) note.pressing.*field = fields[name].toString();
        note.sameBefore = fields["sameBefore"].toInt();
        note.from = {fields["station"].toInt(1), weighingOf(fields["olivesFrom"].toObject()),
                     weighingOf(fields["oilFrom"].toObject())};
        note.bookPlace = static_cast<std::uint64_t>(fields["bookPlace"].toInteger());
        note.bookSeal = fields["bookSeal"].toString().toStdString();
        note.identity = fields["identity"].toString();
        if (fields.contains("before")) note.before = static_cast<std::uint64_t>(fields["before"].toInteger());
        return note;
    });
}

void SlipNotes::strike()
{
    onDisk([&] {
        if (!disk_.exists(path_)) return;
        disk_.remove(path_);
        disk_.syncFolder(path_.parent_path());
    });
}

QString SlipNotes::setAside()
{
    return onDisk([&] {
        std::filesystem::path aside;
        for (int number = 1; aside.empty() || disk_.exists(aside); ++number) {
            aside = path_;
            aside += "-" + std::to_string(number);
        }
        disk_.rename(path_, aside);
        disk_.syncFolder(path_.parent_path());
        return QString::fromStdU16String(aside.filename().u16string());
    });
}

QStringList SlipNotes::filesSetAside() const
{
    return onDisk([&] {
        const QString prefix = QString::fromStdU16String(path_.filename().u16string()) + u'-';
        QStringList files;
        for (const std::filesystem::path& file : disk_.names(path_.parent_path()))
            if (const QString name = QString::fromStdU16String(file.u16string()); name.startsWith(prefix))
                files << name;
        files.sort();
        return files;
    });
}

int pressingsAt(Engine& engine, const QString& customer, double moment)
{
    // Asked by the day, not by the name: every other customer would be a new question to the whole journal.
    constexpr double halfSecond = 0.5 / 86400.0;
    const auto dayOf = [](double days) { return FieldValue(DateDays{days}).moment().date(); };
    const Listing ofTheDay = engine.open(
        mill::pressingsWhere(mill::periodCondition(dayOf(moment - halfSecond), dayOf(moment + halfSecond))));
    int count = 0;
    for (const RowKey row : ofTheDay.rows) {
        const FieldValue date = engine.field(ofTheDay, row, mill::Hareket::Tarih);
        const auto* days = std::get_if<DateDays>(&date.raw());
        if (!days || std::fabs(days->days - moment) >= halfSecond) continue;
        if (engine.field(ofTheDay, row, mill::Hareket::CariHar).text() == customer) ++count;
    }
    return count;
}

std::vector<PressingKey> allPressings(Engine& engine)
{
    const Listing journal = engine.open(mill::journalTable);
    std::vector<PressingKey> found;
    for (const RowKey row : journal.rows) {
        QString customer = engine.field(journal, row, mill::Hareket::CariHar).text();
        if (customer == mill::totalsName) continue;
        const FieldValue date = engine.field(journal, row, mill::Hareket::Tarih);
        const auto* days = std::get_if<DateDays>(&date.raw());
        found.push_back({days ? days->days : 0, std::move(customer)});
    }
    return found;
}

std::size_t pressingCount(Engine& engine)
{
    const std::size_t rows = engine.countRows(mill::journalTable);
    std::size_t sums = 0;
    if (const auto error =
            base::passOver([&] { sums = engine.open(mill::pressingsWhere(mill::totalsCriteria)).rows.size(); })) {
        // A journal without names has no sums either.
        if (engine.open(mill::journalTable).fields.size() > mill::Hareket::CariHar) throw base::RuntimeError(*error);
    }
    return rows - sums;
}

} // namespace store
