#pragma once

#include <string>

/// What a telephone's camera reads (QR codes).
namespace live {

/// The text as a code for a terminal, two rows of it in one line. Dark is drawn on light, whatever the terminal's
/// colours. Throws files::Error for a text that is too long for a code.
std::string codeForTerminal(const std::string& text);

/// The same as a drawing (SVG) for a page, `side` pixels wide with the empty border that cameras need.
std::string codeForPage(const std::string& text, int side);

} // namespace live
