#pragma once

#include "platform/drawing.h"
#include "print/layout.h"
#include "print/paper.h"

namespace print {

/// The pages as a printer's own driver draws them, at the very places where renderPdf() has them: each letter of a text
/// stands where the measures of its font put it, whatever the driver thinks of its width.
platform::Drawing drawingOf(const Layout& layout, const Paper& paper);

} // namespace print
