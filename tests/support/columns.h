#pragma once

#include <QTest>
#include <initializer_list>
#include <utility>

/// The columns of a table of cases, in their order: addColumns<QString, bool>("typed", "found").
template <class... Types, class... Names> void addColumns(Names... names)
{
    static_assert(sizeof...(Types) == sizeof...(Names));
    (QTest::addColumn<Types>(names), ...);
}

/// A table of one column: the cases, each with its name.
template <class Type> void addCases(const char* column, std::initializer_list<std::pair<const char*, Type>> cases)
{
    QTest::addColumn<Type>(column);
    for (const auto& [name, value] : cases) QTest::newRow(name) << value;
}

/// A table of one column of texts, which are the names of their cases, too.
inline void addTexts(const char* column, std::initializer_list<const char*> texts)
{
    QTest::addColumn<QString>(column);
    for (const char* text : texts) QTest::newRow(text) << QString::fromUtf8(text);
}
