// For all test classes of Qt Test; they may open windows.
#include "qt_widgets.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
