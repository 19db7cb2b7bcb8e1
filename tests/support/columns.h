#pragma once

#include <QTest>

/// The columns of a table of cases, in their order: addColumns<QString, bool>("typed", "found").
template <class... Types, class... Names> void addColumns(Names... names)
{
    static_assert(sizeof...(Types) == sizeof...(Names));
    (QTest::addColumn<Types>(names), ...);
}
