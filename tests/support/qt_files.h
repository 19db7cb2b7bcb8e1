#pragma once

#include <QFile>
#include <QTest>

/// Whole files as tests with Qt read and write them.
inline QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

/// A file that is there is replaced. What cannot be written fails the test.
inline void putFile(const QString& path, const QByteArray& content = {})
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

/// False where names that differ in their letter case alone are one name, as on Windows.
inline bool tellsLetterCasesApart(const QString& folder)
{
    using namespace Qt::StringLiterals;
    const QString small = folder + u"/letter-case"_s;
    putFile(small);
    const bool apart = !QFile::exists(folder + u"/LETTER-CASE"_s);
    QFile::remove(small);
    return apart;
}
