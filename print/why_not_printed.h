#pragma once

#include "base/error.h"

#include <QString>

namespace print {

/// Why a slip or a statement was not printed, in words for the operator; what to do stands behind it. A sentence
/// without a beginning of its own: "Fiş basılmadı: " goes before it.
QString whyNotPrinted(const base::RuntimeError& error);
/// The same of what may have been printed; "Döküm " goes before it.
QString perhapsPrinted(const base::RuntimeError& error);

} // namespace print
