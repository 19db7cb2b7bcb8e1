#pragma once

#include "files/disk.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace exchange {

/// Collects output and hands it on in large pieces, to a file descriptor, a file of a disk or a text. Throws
/// files::Error (Fault::disk) when that takes no more; what was not flushed when the object goes is lost.
class Output {
public:
    explicit Output(int descriptor);
    /// Writes from the beginning of the file, which lives as long as this.
    explicit Output(files::File& file);
    /// Appends to the text, which lives as long as this.
    explicit Output(std::string& text);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /// Room for at least `count` characters (up to 64 Ki), to be filled and then taken() up to where it was filled.
    char* room(std::size_t count)
    {
        if (buffer_.size() - used_ < count) flush();
        return buffer_.data() + used_;
    }
    void taken(const char* end) { used_ = static_cast<std::size_t>(end - buffer_.data()); }
    void put(char c)
    {
        *room(1) = c;
        ++used_;
    }
    void put(std::string_view text);
    void flush();

private:
    std::function<void(std::string_view)> sink_;
    std::vector<char> buffer_;
    std::size_t used_ = 0;
};

} // namespace exchange
