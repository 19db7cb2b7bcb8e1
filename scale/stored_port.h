#pragma once

#include "base/error.h"
#include "base/regional.h"
#include "scale/comm_control.h"
#include "scale/formatted_line.h"

#include <functional>
#include <optional>

namespace scale {

/// The text stored under one of scale::setting_keys; empty when there is none.
using StoredSetting = std::function<QString(const QString& key)>;

/// How the line is to be read.
ReadingChoice storedReading(const StoredSetting& stored);

/// Why a port was not even tried.
struct PortRefusal {
    QString why;                            ///< for the status line
    std::optional<base::RuntimeError> told; ///< what the settings are refused with, to be shown in a box
};

/// Closes the port, gives it what is stored and opens it; `readAs` hears how its line is to be read. Settings that
/// nobody can use leave it closed and come back. A port that does not open, or whose number is none, does not: the
/// control's own trouble says why.
std::optional<PortRefusal> openStored(CommControl& control, const StoredSetting& stored, const base::Regional& regional,
                                      const std::function<void(const ReadingChoice& choice)>& readAs);

} // namespace scale
