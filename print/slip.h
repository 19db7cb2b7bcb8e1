#pragma once

#include "base/regional.h"
#include "mill/pressing.h"
#include "mill/quantities.h"
#include "print/print_font.h"
#include "print/printer.h"
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <functional>

namespace print {

/// The information slip of one pressing. Quantities are the texts on the screen; each is converted where it is printed.
struct Slip {
    mill::Pressing pressing;
    QString handedOver;      ///< `Verilen`, litres
    bool shareInOil = false; ///< `HakVar`: the mill is paid in oil, otherwise in cash
    QDateTime now;
    QStringList headerItems; ///< the mill's own lines
    PrintFont font;

    /// Called once, when the slip has come to the containers: counts them at the station and gives the size of one.
    /// What it does stays done even if a later line fails; what it throws ends the slip.
    std::function<mill::Litre()> countContainers;
};

/// Composes the slip into a job that the caller ends or kills. Throws base::RuntimeError at the first thing that fails:
/// 482 no printer, 13 a text that is no number, 380 a font size of 0 or below.
/// The quantities that are printed as numbers may be empty displays, which count as 0.
void composeSlip(Printer& printer, const Slip& slip, const base::Regional& regional);

} // namespace print
