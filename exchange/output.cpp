#include "exchange/output.h"

#include "files/error.h"
#include "files/language.h"
#include "platform/console.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace exchange {

namespace {

constexpr std::size_t bufferSize = std::size_t{1} << 20;

void writeToDescriptor(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const long long count = platform::writeSome(descriptor, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0)
            throw files::Error(
                files::Fault::disk,
                files::said("Çıktı yazılamadı (", "The output could not be written (") +
                    std::generic_category().message(errno) +
                    files::said("); çıktının gittiği yeri denetleyin.", "); look where the output goes."));
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

} // namespace

Output::Output(int descriptor)
    : sink_([descriptor](std::string_view text) { writeToDescriptor(descriptor, text); }), buffer_(bufferSize)
{
}

Output::Output(files::File& file)
    : sink_([&file, written = std::uint64_t{0}](std::string_view text) mutable {
          file.write(written, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
          written += text.size();
      }),
      buffer_(bufferSize)
{
}

Output::Output(std::string& text) : sink_([&text](std::string_view more) { text += more; }), buffer_(bufferSize) {}

void Output::put(std::string_view text)
{
    while (!text.empty()) {
        if (used_ == buffer_.size()) flush();
        const std::size_t count = std::min(text.size(), buffer_.size() - used_);
        std::memcpy(buffer_.data() + used_, text.data(), count);
        used_ += count;
        text.remove_prefix(count);
    }
}

void Output::flush()
{
    if (used_ > 0) sink_({buffer_.data(), used_});
    used_ = 0;
}

} // namespace exchange
