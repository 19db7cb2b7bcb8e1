#include "store/jet/pages/session.h"

#include "store/jet/format/session_layout.h"
#include "store/jet/pages/pager_failing.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

namespace jet {

namespace {

namespace layout = session_layout;

/// Where the Turkish code page differs from the first letters of Unicode.
constexpr std::array<std::pair<std::uint8_t, char16_t>, 6> turkishLetters{
    {{0xD0, u'Ğ'}, {0xDD, u'İ'}, {0xDE, u'Ş'}, {0xF0, u'ğ'}, {0xFD, u'ı'}, {0xFE, u'ş'}}};

/// A name out of the file, whatever bytes stand there.
std::string nameIn(std::span<const std::uint8_t> place)
{
    std::string name;
    for (const std::uint8_t byte : place) {
        if (byte == 0) break;
        char16_t letter = byte;
        for (const auto& [stored, meant] : turkishLetters)
            if (stored == byte) letter = meant;
        if (letter < 0x20 || (letter >= 0x7F && letter < 0xA0)) {
            name += '?';
        } else if (letter < 0x80) {
            name += static_cast<char>(letter);
        } else {
            name += static_cast<char>(0xC0 | letter >> 6);
            name += static_cast<char>(0x80 | (letter & 0x3F));
        }
    }
    while (name.ends_with(' ')) name.pop_back();
    return name;
}

void putName(std::span<std::uint8_t> place, std::string_view utf8)
{
    std::size_t at = 0;
    for (std::size_t i = 0; i < utf8.size() && at + 1 < place.size(); ++at) {
        const auto first = static_cast<std::uint8_t>(utf8[i++]);
        char16_t letter = first;
        if (first >= 0xC0) {
            letter = i < utf8.size() ? static_cast<char16_t>((first & 0x1F) << 6 | (utf8[i] & 0x3F)) : u'?';
            while (i < utf8.size() && (static_cast<std::uint8_t>(utf8[i]) & 0xC0) == 0x80) ++i;
            if (first >= 0xE0) letter = u'?';
        }
        const auto turkish = std::ranges::find(turkishLetters, letter, &std::pair<std::uint8_t, char16_t>::second);
        if (turkish != turkishLetters.end())
            place[at] = turkish->first;
        else
            place[at] = letter < 0x100 ? static_cast<std::uint8_t>(letter) : std::uint8_t{'?'};
    }
}

/// Beside the file itself, however it was reached. Empty where the database has that name.
std::filesystem::path sessionPathOf(Disk& disk, const std::filesystem::path& database)
{
    const std::filesystem::path real = disk.realPath(database);
    std::filesystem::path path = real;
    path.replace_extension(".ldb");
    return path == real ? std::filesystem::path() : path;
}

std::optional<files::Person> personIn(File& file)
{
    const auto held = file.byteHeldElsewhere(layout::firstUserByte, layout::mostUsers);
    if (!held) return {};
    std::array<std::uint8_t, layout::record> record{};
    succeeds([&] { file.read((*held - layout::firstUserByte) * layout::record, record); });
    return files::Person{nameIn(layout::machine.of(std::span(record))), nameIn(layout::user.of(std::span(record)))};
}

/// Null where this account may not make or change the file.
std::unique_ptr<File> openOrMake(Disk& disk, const std::filesystem::path& path)
{
    std::unique_ptr<File> file;
    succeeds([&] { file = disk.open(path, disk.exists(path) ? Disk::Access::readWrite : Disk::Access::createNew); });
    return file;
}

} // namespace

std::optional<files::Person> personAtWork(Disk& disk, const std::filesystem::path& database)
{
    const std::filesystem::path path = sessionPathOf(disk, database);
    if (path.empty() || !disk.exists(path)) return {};
    std::optional<files::Person> person;
    // A file that cannot be read tells nothing.
    succeeds([&] { person = personIn(*disk.open(path, Disk::Access::readOnly)); });
    return person;
}

Session::Session(Disk& disk, const std::filesystem::path& database) : disk_(disk), path_(sessionPathOf(disk, database))
{
    if (path_.empty()) return;
    if (const auto person = personAtWork(disk, database)) throw inUse(database, *person);
    file_ = openOrMake(disk, path_);
    if (!file_) return;
    if (!file_->holdBytes(layout::firstUserByte, layout::mostUsers)) {
        const auto person = personIn(*file_);
        throw inUse(database, person.value_or(files::Person{}));
    }
    std::array<std::uint8_t, layout::record> record{};
    const files::Person self = disk.person();
    putName(layout::machine.of(std::span(record)), self.machine);
    putName(layout::user.of(std::span(record)), self.user);
    // A disk without room for the names has the file and its locks; what a crash left in it goes.
    succeeds([&] {
        file_->write(0, record);
        if (file_->size() > record.size()) file_->truncate(record.size());
    });
}

Session::~Session()
{
    if (file_) succeeds([&] { disk_.remove(path_); });
}

} // namespace jet
