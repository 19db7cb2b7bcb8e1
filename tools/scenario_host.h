#pragma once

#include <QByteArray>
#include <optional>

namespace scenario {

/// Asks whoever has started this program for what it cannot do itself, over standard output and input, one line each
/// way: "plug", "unplug" and "send HEX" are the scale's end of COM1, "pdf PROGRAM,ARGUMENT,... HEX" is a PDF
/// of which a program of poppler's is asked, FILE among its arguments being the PDF; what it says comes back as HEX.
/// Nothing where nobody has said, by PRESVA_SCENARIO_HOST in the environment, that such questions are answered.
std::optional<QByteArray> askHost(const QByteArray& question);

} // namespace scenario
