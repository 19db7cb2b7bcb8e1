#pragma once

#include <QDir>
#include <QFileInfo>
#include <QString>
#include <QStringList>

/// Databases written by Access itself. They are not part of the project; the environment variable PRESVA_SAMPLES
/// names a folder with them (sub-folders mdb/ and data/). Tests that want them are skipped where it is not set.
namespace samples {

inline QString folder() { return qEnvironmentVariable("PRESVA_SAMPLES"); }

inline bool present() { return !folder().isEmpty(); }

inline const char* const absent = "PRESVA_SAMPLES names no folder of databases made by Access";

/// Readable databases, full paths.
inline QStringList databases()
{
    QStringList files;
    if (!present()) return files;
    for (const QString& sub : {QStringLiteral("mdb"), QStringLiteral("data")}) {
        const QDir dir(folder() + '/' + sub);
        for (const QFileInfo& file : dir.entryInfoList({"*.mdb"}, QDir::Files, QDir::Name)) {
            if (file.fileName() != "access97.mdb") files << file.absoluteFilePath();
        }
    }
    return files;
}

inline QString database(const QString& name) { return folder() + '/' + name; }

} // namespace samples
