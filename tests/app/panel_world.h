#pragma once

#include "tests/app/screen_fixture.h"
#include "tests/support/qt_files.h"
#include <QDir>
#include <QTest>

/// A screen's world with customers and pressings, layout files, and a printer with A4 paper, whose pages a listing
/// fits on.
struct PanelWorld : World {
    struct PressingRow {
        QString moment;
        store::FieldValue Zeytin, Yağ, Yuzde, HakTut, Nakit;
        QString name;
    };

    PanelWorld()
    {
        QDir(folder.path()).mkdir(u"printed"_s);
        clock.now = QDateTime(QDate(2025, 2, 4), QTime(18, 30, 15));
    }

    app::Surroundings surroundings(store::Databases& from) { return World::surroundings(from, pages, slips); }

    void addCustomer(const QString& name, const store::FieldValue& Yuzde = {}, const store::FieldValue& Kap = {},
                     const store::FieldValue& Nakit = {})
    {
        addRow(databases, u"Cari"_s, {name, Yuzde, Kap, Nakit});
    }

    void addPressing(const PressingRow& row)
    {
        addRow(databases, u"Hareket"_s,
               {store::FieldValue::date(QDateTime::fromString(row.moment, Qt::ISODate)), row.Zeytin, row.Yağ, row.Yuzde,
                row.HakTut, row.Nakit, row.name});
    }

    QByteArray fileContent(const QString& name) const { return contentOf(folder.filePath(name)); }
    void putFile(const QString& name, const QByteArray& bytes) const { ::putFile(folder.filePath(name), bytes); }
    QStringList printedFiles() const
    {
        return QDir(folder.filePath(u"printed"_s)).entryList({u"*.pdf"_s}, QDir::Files);
    }

    print::FolderTarget pages{folder.filePath(u"printed"_s), print::Paper::a4()};
};
