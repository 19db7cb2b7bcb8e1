#pragma once

#include "mill/queries.h"
#include "store/engine.h"

#include <QString>
#include <QStringList>

using namespace Qt::StringLiterals;

/// A table of a file as lines of text, in order; a journal without the sums of a report.
inline QStringList rowsIn(store::Engine& engine, const QString& table)
{
    const store::Listing all = engine.open(table);
    QStringList rows;
    for (const store::RowKey row : all.rows) {
        QStringList fields;
        for (int field = 0; field < static_cast<int>(all.fields.size()); ++field) {
            const store::FieldValue value = engine.field(all, row, field);
            if (const auto* const date = std::get_if<store::DateDays>(&value.raw()))
                fields << QString::number(date->days, 'g', 17);
            else if (value.isText())
                fields << value.text();
            else
                fields << (value.isNull() ? u"-"_s : QString::number(value.number().value_or(0), 'g', 17));
        }
        if (table != mill::journalTable || fields.last() != mill::totalsName) rows << fields.join(u'|');
    }
    rows.sort();
    return rows;
}
