#include "scale/formats/line_reader.h"

#include <utility>

namespace scale {

std::vector<Heard> LineReader::read(std::string_view bytes)
{
    std::vector<Heard> heard;
    hear(framer_.read(bytes), heard);
    return heard;
}

std::vector<Heard> LineReader::silence()
{
    std::vector<Heard> heard;
    hear(framer_.silence(), heard);
    confirmation_.fallSilent();
    take(heard);
    return heard;
}

void LineReader::hear(std::vector<Framed> framed, std::vector<Heard>& heard)
{
    for (Framed& one : framed) {
        if (one.isNoise) confirmation_.hearNoise();
        if (one.reading) {
            confirmation_.hear(std::move(*one.reading), one.checked);
            const std::size_t before = heard.size();
            take(heard);
            if (heard.size() == before && isDisturbed())
                heard.push_back({std::nullopt, Refusal::unconfirmed, std::move(one.bytes)});
            continue;
        }
        if (one.isFrame) confirmation_.hearOther();
        heard.push_back({std::nullopt, one.refusal, std::move(one.bytes)});
    }
}

void LineReader::take(std::vector<Heard>& heard)
{
    for (Reading& reading : confirmation_.take()) {
        std::string bytes = reading.bytes;
        heard.push_back({std::move(reading), std::nullopt, std::move(bytes)});
    }
}

} // namespace scale
