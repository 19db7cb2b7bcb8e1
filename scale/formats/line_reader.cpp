#include "scale/formats/line_reader.h"

#include <utility>

namespace scale {

std::vector<Heard> LineReader::read(std::string_view bytes)
{
    std::vector<Heard> heard;
    hear(framer_.read(bytes), heard);
    return heard;
}

std::vector<Heard> LineReader::silence(std::chrono::milliseconds length)
{
    std::vector<Heard> heard;
    hear(framer_.silence(), heard);
    if (std::optional<Confirmation::Print> print = confirmation_.fallSilent(length)) {
        Heard one;
        one.alone = true;
        one.ofItsOwn = print->ofItsOwn;
        one.bytes = print->reading.bytes;
        if (print->counts)
            one.reading = std::move(print->reading);
        else
            one.refusal = Refusal::unconfirmedPrint;
        heard.push_back(std::move(one));
    }
    return heard;
}

void LineReader::hear(std::vector<Framed> framed, std::vector<Heard>& heard)
{
    for (Framed& one : framed) {
        if (one.isNoise) confirmation_.hearNoise();
        Heard told;
        told.refusal = one.refusal;
        told.bytes = std::move(one.bytes);
        if (one.reading) {
            if (confirmation_.hear(*one.reading, one.checked)) {
                told.reading = std::move(one.reading);
            } else {
                told.unconfirmed = std::move(one.reading);
                if (isDisturbed()) told.refusal = Refusal::unconfirmed;
            }
        } else if (one.isFrame) {
            confirmation_.hearOther();
        }
        heard.push_back(std::move(told));
    }
}

} // namespace scale
