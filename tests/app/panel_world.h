#pragma once

#include "app/form1.h"
#include "app/settings_store.h"
#include "app/theme.h"
#include "base/error.h"
#include "platform/system_disk.h"
#include "print/folder_target.h"
#include "store/jet/database.h"
#include "store/jet_engine.h"
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

/// What the screen needs around it, in a folder of its own: a database with the two tables, a printer that writes
/// files, message boxes that are written down, a clock that stands still, nobody's settings and nobody's Caps Lock.
class PanelWorld : public app::Prompt, public platform::Keyboard {
public:
    struct PressingRow {
        QString moment; ///< empty: Null
        store::FieldValue Zeytin, Yağ, Yuzde, HakTut, Nakit;
        QString name;
    };

    PanelWorld() : databases(platform::systemDisk()), settings(folder.filePath(QStringLiteral("settings")))
    {
        QDir(folder.path()).mkdir(QStringLiteral("printed"));
        printer = std::make_unique<print::FolderTarget>(folder.filePath(QStringLiteral("printed")), print::Paper::a4());
        createDatabase();
    }

    app::Surroundings surroundings()
    {
        return {.prompt = *this,
                .settings = settings,
                .regional = base::Regional::turkish(),
                .directory = folder.path(),
                .executable = QStringLiteral("presva"),
                .databases = databases,
                .printer = *printer,
                .keyboard = *this,
                .now = [this] { return now; }};
    }

    void addCustomer(const QString& name, store::FieldValue Yuzde = {}, store::FieldValue Kap = {},
                     store::FieldValue Nakit = {})
    {
        add(QStringLiteral("Cari"), {name, Yuzde, Kap, Nakit});
    }

    void addPressing(const PressingRow& row)
    {
        const QDateTime moment = QDateTime::fromString(row.moment, Qt::ISODate);
        add(QStringLiteral("Hareket"), {moment.isValid() ? store::FieldValue::date(moment) : store::FieldValue(),
                                        row.Zeytin, row.Yağ, row.Yuzde, row.HakTut, row.Nakit, row.name});
    }

    QByteArray fileContent(const QString& name) const
    {
        QFile file(folder.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }
    void putFile(const QString& name, const QByteArray& bytes) const
    {
        QFile file(folder.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(bytes), bytes.size());
    }
    QStringList printedFiles() const
    {
        return QDir(folder.filePath(QStringLiteral("printed"))).entryList({QStringLiteral("*.pdf")}, QDir::Files);
    }

    void exclamation(const QString& text) override { reports += text; }
    void errorReport(const base::RuntimeError& error) override { reports += QStringLiteral("E%1").arg(error.number()); }
    bool yesNo(const QString& text, const QString&) override
    {
        reports += text;
        return false;
    }
    std::optional<app::FontChoice> chooseFont(const app::FontChoice&) override { return std::nullopt; }
    std::optional<bool> toggled(std::uint32_t) override { return std::nullopt; }
    void send(std::uint32_t, std::uint32_t) override {}

    QTemporaryDir folder;
    store::JetDatabases databases;
    app::SettingsStore settings;
    std::unique_ptr<print::PrintTarget> printer;
    QDateTime now{QDate(2025, 2, 4), QTime(18, 30, 15)};
    QStringList reports; ///< every message box that was shown

private:
    void createDatabase()
    {
        const std::filesystem::path path = folder.filePath(QStringLiteral("Yag.mdb")).toStdU16String();
        using enum jet::ColumnType;
        jet::Database::create(platform::systemDisk(), path, jet::turkish, {45000});
        const auto database = jet::Database::open(platform::systemDisk(), path);
        database->createTable(u"Cari",
                              {{u"Unvan", text, 50}, {u"Yuzde", doubleFloat}, {u"Kap", text, 20}, {u"Nakit", currency}},
                              {}, {45000});
        database->createTable(u"Hareket",
                              {{u"Tarih", dateTime},
                               {u"Zeytin", doubleFloat},
                               {u"Yağ", doubleFloat},
                               {u"Yuzde", singleFloat},
                               {u"HakTut", doubleFloat},
                               {u"Nakit", currency},
                               {u"CariHar", text, 50}},
                              {}, {45000});
    }

    void add(const QString& table, const std::vector<store::FieldValue>& values)
    {
        const auto engine = databases.open(folder.filePath(QStringLiteral("Yag.mdb")));
        store::Assignments assignments;
        for (std::size_t i = 0; i < values.size(); ++i) assignments.emplace_back(static_cast<int>(i), values[i]);
        engine->insert(engine->open(table), assignments);
    }
};
