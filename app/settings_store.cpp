#include "app/settings_store.h"

#include "base/error.h"
#include "base/flag_text.h"
#include "base/numbers.h"
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSettings>
#include <QStandardPaths>
#include <QStringList>
#include <QVariant>
#include <algorithm>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace app {

namespace {

/// Of names that differ in letter case only the first one counts; none: the name itself, for writing.
QString spelledIn(const QStringList& present, const QString& wanted)
{
    if (present.contains(wanted)) return wanted;
    for (const QString& name : present)
        if (name.compare(wanted, Qt::CaseInsensitive) == 0) return name;
    return wanted;
}

QString pathIn(QSettings& settings, const QString& section, const QString& key)
{
    const QString group = spelledIn(settings.childGroups(), section);
    settings.beginGroup(group);
    const QString name = spelledIn(settings.childKeys(), key);
    settings.endGroup();
    return group + u'/' + name;
}

/// An unquoted "9600,n,8,1", as people type it into the file, arrives as a list.
QString joined(const QVariant& value) { return value.toStringList().join(u','); }

std::optional<QString> valueIn(QSettings& settings, const QString& section, const QString& key)
{
    const QString path = pathIn(settings, section, key);
    if (!settings.contains(path)) return std::nullopt;
    return joined(settings.value(path));
}

base::RuntimeError notSaved(const QString& file)
{
    return {base::errors::pathAccess, u"Ayar kaydedilemedi: "_s + QDir::toNativeSeparators(file)};
}

QString previousOf(const QString& file) { return file + ".previous"_L1; }
QString damagedOf(const QString& file) { return file + ".damaged"_L1; }

enum class Condition { absent, good, damaged, forbidden };

/// Every line is empty, a comment, a section or a key with its value. Qt's own verdict would not do: it is given only
/// once for each change of a file.
bool isIni(const QByteArray& content)
{
    if (content.contains('\0')) return false;
    // Some editors put a byte-order mark in front.
    const QList<QByteArray> lines = content.mid(content.startsWith("\xEF\xBB\xBF") ? 3 : 0).split('\n');
    return std::all_of(lines.begin(), lines.end(), [](const QByteArray& raw) {
        const QByteArray line = raw.trimmed();
        return line.isEmpty() || line.startsWith(';') || line.startsWith('#') || line.contains('=') ||
               (line.startsWith('[') && line.endsWith(']'));
    });
}

/// An empty file beside a previous copy is what a hard stop leaves: we never write an empty one.
Condition conditionOf(const QString& file)
{
    const QFileInfo info(file);
    if (!info.exists()) return Condition::absent;
    QFile readable(file);
    if (!info.isFile() || !readable.open(QIODevice::ReadOnly)) return Condition::forbidden;
    const QByteArray content = readable.readAll();
    if (readable.error() != QFileDevice::NoError) return Condition::forbidden;
    if (content.isEmpty() && QFileInfo::exists(previousOf(file))) return Condition::damaged;
    return isIni(content) ? Condition::good : Condition::damaged;
}

void copyWhole(const QString& from, const QString& to)
{
    QFile source(from);
    QSaveFile target(to);
    if (!source.open(QIODevice::ReadOnly) || !target.open(QIODevice::WriteOnly)) throw notSaved(to);
    target.write(source.readAll());
    if (source.error() != QFileDevice::NoError || !target.commit()) throw notSaved(to);
}

std::optional<QString> stored(const QString& file, const QString& section, const QString& key)
{
    QString readable = file;
    const Condition condition = conditionOf(file);
    if (condition == Condition::damaged) readable = previousOf(file);
    if (condition == Condition::absent || condition == Condition::forbidden) return std::nullopt;
    QSettings settings(readable, QSettings::IniFormat);
    return valueIn(settings, section, key);
}

void store(const QString& file, const QString& section, const QString& key, const QString& text)
{
    if (!QDir().mkpath(QFileInfo(file).path())) throw notSaved(file);
    switch (conditionOf(file)) {
    case Condition::absent:
        break;
    case Condition::good:
        copyWhole(file, previousOf(file));
        break;
    case Condition::damaged:
        copyWhole(file, damagedOf(file));
        if (conditionOf(previousOf(file)) == Condition::good)
            copyWhole(previousOf(file), file);
        else if (!QFile::remove(file))
            throw notSaved(file);
        break;
    case Condition::forbidden:
        throw notSaved(file);
    }
    QSettings settings(file, QSettings::IniFormat);
    settings.setAtomicSyncRequired(true);
    settings.setValue(pathIn(settings, section, key), text);
    settings.sync();
    if (settings.status() != QSettings::NoError) throw notSaved(file);
}

/// Where such programs have always kept their settings.
std::u16string branchOf(const QString& application, const QString& section)
{
    return (u"Software\\VB and VBA Program Settings\\"_s + application + u'\\' + section).toStdU16String();
}

} // namespace

SettingsStore::SettingsStore()
    : registry_(platform::userRegistry()),
      folder_(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + "/mendrik-presva"_L1)
{
}

SettingsStore::SettingsStore(QString folder) : folder_(std::move(folder)) {}

SettingsStore::SettingsStore(std::unique_ptr<platform::Registry> registry) : registry_(std::move(registry)) {}

QString SettingsStore::fileOf(const QString& application) const { return folder_ + u'/' + application + ".ini"_L1; }

QString SettingsStore::get(const QString& application, const QString& section, const QString& key,
                           const QString& otherwise) const
{
    if (!registry_) return stored(fileOf(application), section, key).value_or(otherwise);
    const auto text = registry_->text(branchOf(application, section), key.toStdU16String());
    return text ? QString::fromStdU16String(*text) : otherwise;
}

void SettingsStore::save(const QString& application, const QString& section, const QString& key, const QString& text)
{
    if (!registry_) return store(fileOf(application), section, key, text);
    try {
        registry_->setText(branchOf(application, section), key.toStdU16String(), text.toStdU16String());
    } catch (const platform::RegistryError& error) {
        throw notSaved(application + u": "_s + QString::fromUtf8(error.what()));
    }
}

bool SettingsStore::flag(const QString& application, const QString& section, const QString& key, bool otherwise) const
{
    return base::flagOf(get(application, section, key, base::flagText(otherwise)));
}

void SettingsStore::saveFlag(const QString& application, const QString& section, const QString& key, bool value)
{
    save(application, section, key, base::flagText(value));
}

QString executableName() { return QFileInfo(QCoreApplication::applicationFilePath()).completeBaseName(); }

} // namespace app
