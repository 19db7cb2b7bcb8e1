#pragma once

#include "scale/formats/transcript.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>
#include <vector>

/// What the tests of the line formats share.

inline std::vector<const scale::LineFormat*> allFormats()
{
    std::vector<const scale::LineFormat*> formats;
    for (const scale::LineFormat& format : scale::lineFormats()) formats.push_back(&format);
    return formats;
}

inline std::string asTestName(std::string name)
{
    std::ranges::replace_if(
        name, [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
}

inline std::string restName(scale::Rest rest)
{
    return rest == scale::Rest::stable ? " stable" : rest == scale::Rest::moving ? " moving" : " unknown";
}

inline std::string visible(std::string_view bytes)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (const unsigned char byte : bytes)
        if (byte < ' ' || byte > '~')
            text += {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
        else
            text += static_cast<char>(byte);
    return text;
}

inline std::string textOf(const scale::Reading& reading) { return toText(reading.kilograms) + restName(reading.rest); }

/// The weights of a stream that is there as a whole, given in pieces of this size: "1240.5 moving".
inline std::vector<std::string> weightsOf(const scale::LineFormat& format, std::string_view stream,
                                          std::size_t size = std::string_view::npos)
{
    scale::Transcript transcript(format);
    std::vector<std::string> weights;
    const auto keep = [&](const std::vector<scale::Reading>& readings) {
        for (const scale::Reading& one : readings) weights.push_back(textOf(one));
    };
    for (; !stream.empty(); stream.remove_prefix(std::min(size, stream.size())))
        keep(transcript.read(stream.substr(0, size)));
    keep(transcript.end());
    return weights;
}

/// What the samples of the format say.
inline std::vector<std::string> undamagedWeights(const scale::LineFormat& format)
{
    std::vector<std::string> weights;
    for (const scale::FormatSample& sample : format.samples)
        if (sample.kilograms != "none") weights.push_back(sample.kilograms + restName(sample.rest));
    return weights;
}
