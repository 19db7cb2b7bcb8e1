#include "live/codes.h"

#include "files/error.h"

#include <memory>
#include <qrencode.h>

namespace live {
namespace {

constexpr int border = 4; ///< modules, ISO/IEC 18004

struct Free {
    void operator()(QRcode* code) const { QRcode_free(code); }
};

class Code {
public:
    explicit Code(const std::string& text) : code_(QRcode_encodeString8bit(text.c_str(), 0, QR_ECLEVEL_M))
    {
        if (!code_) throw files::Error(files::Fault::badValue, "Karekod yapılamadı: metin çok uzun.");
    }
    int width() const { return code_->width + 2 * border; }
    bool isDark(int row, int column) const
    {
        row -= border;
        column -= border;
        if (row < 0 || column < 0 || row >= code_->width || column >= code_->width) return false;
        return (code_->data[row * code_->width + column] & 1) != 0;
    }

private:
    std::unique_ptr<QRcode, Free> code_;
};

} // namespace

std::string codeForTerminal(const std::string& text)
{
    const Code code(text);
    std::string lines;
    for (int row = 0; row < code.width(); row += 2) {
        lines += "\033[30;107m"; // black on white
        for (int column = 0; column < code.width(); ++column) {
            const bool upper = code.isDark(row, column);
            const bool lower = code.isDark(row + 1, column);
            lines += upper ? (lower ? "█" : "▀") : (lower ? "▄" : " ");
        }
        lines += "\033[0m\n";
    }
    return lines;
}

std::string codeForPage(const std::string& text, int side)
{
    const Code code(text);
    const std::string width = std::to_string(code.width());
    std::string drawing =
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + std::to_string(side) + "\" height=\"" +
        std::to_string(side) + "\" viewBox=\"0 0 " + width + " " + width +
        "\" shape-rendering=\"crispEdges\" role=\"img\" aria-label=\"Karekod\"><path fill=\"#fff\" d=\"M0 0h" + width +
        "v" + width + "H0z\"/><path d=\"";
    for (int row = 0; row < code.width(); ++row) {
        for (int column = 0; column < code.width(); ++column) {
            int end = column;
            while (code.isDark(row, end)) ++end;
            if (end == column) continue;
            drawing += "M" + std::to_string(column) + " " + std::to_string(row) + "h" + std::to_string(end - column) +
                       "v1H" + std::to_string(column) + "z";
            column = end;
        }
    }
    return drawing + "\"/></svg>";
}

} // namespace live
