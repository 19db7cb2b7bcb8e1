#pragma once

#include <QtGlobal>

/// For a test that draws and measures without showing anything: no screen is asked for. On Windows one is, for the
/// plugin that needs none knows none of the system's fonts there.
inline void leaveTheScreen()
{
#ifndef _WIN32
    qputenv("QT_QPA_PLATFORM", "offscreen");
#endif
}
