#pragma once

#include "base/regional.h"
#include "scale/comm_control.h"
#include <QString>
#include <QStringView>
#include <functional>

namespace scale {

/// The weight field of a burst: everything up to and including the first carriage return (nothing without one), every
/// "kg" taken out, the last 8 characters of what is left. The carriage return is one of the 8.
/// Later lines of the burst do not count. Whether the field is a number is nobody's business here.
QString weightField(QStringView burst);

/// The working station, as far as the scale is concerned.
class ScaleStation {
public:
    virtual ~ScaleStation() = default;
    virtual QString customer() const = 0; ///< caption of the name label
    virtual QString weight() const = 0;   ///< caption of the olive weight
    /// Setting a caption runs the rules of the weight; they may throw, as any action may.
    virtual void setWeight(const QString& caption) = 0;
    virtual bool isEnabled() const = 0; ///< the station's frame takes input
};

/// What an event of the serial control has brought to the working station.
enum class EventOutcome {
    nothing,  ///< no bytes, or no name at the station: nothing was looked at
    halfLine, ///< bytes without a carriage return
    line      ///< a line; whether it is a weight, the station's rules say
};

/// What happens at every event of the serial control: the newest weight goes, formatted, into the station; a read error
/// closes the port and opens it again (a failure to open stays silent). Both buffers are emptied afterwards, also when
/// the station's rules threw. With no text at all in the name label nothing happens, to the buffers neither.
EventOutcome onScaleEvent(CommControl& control, ScaleStation& station, const base::Regional& regional,
                          const std::function<void()>& processEvents);

} // namespace scale
