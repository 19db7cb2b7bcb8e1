#include "sheets/workbook.h"

#include "files/error.h"
#include "files/language.h"
#include "files/quoted_path.h"
#include "sheets/zip_directory.h"

#include <xlsxwriter.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace sheets {

namespace {

constexpr std::size_t longestName = 31; ///< characters of a sheet's name

/// The beginning of a UTF-8 text, of at most that many characters.
std::string beginning(std::string_view text, std::size_t characters)
{
    std::size_t end = 0;
    for (; end < text.size(); ++end) {
        const bool begins = (static_cast<unsigned char>(text[end]) & 0xC0) != 0x80;
        if (begins && characters-- == 0) break;
    }
    return std::string(text.substr(0, end));
}

/// The text with U+FFFD for what XML has no way to write, and for what would end the text. (Other controls the
/// library writes by their numbers, as spreadsheets do.)
std::string writable(std::string_view utf8)
{
    constexpr std::string_view replacement = "\xEF\xBF\xBD";
    std::string text;
    text.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size();) {
        const std::string_view three = utf8.substr(at, 3);
        const bool isNone = three == "\xEF\xBF\xBE" || three == "\xEF\xBF\xBF"; // U+FFFE, U+FFFF
        if (isNone || utf8[at] == '\0')
            text += replacement;
        else
            text += utf8[at];
        at += isNone ? three.size() : 1;
    }
    return text;
}

/// A text that a reader of the format would take for one of its letters by number ("_x0041_" for "A"), so that it reads
/// the text itself.
std::string asItStands(std::string_view text)
{
    constexpr std::size_t length = 7;
    const auto isNumbered = [](std::string_view part) {
        return part.size() == length && part.starts_with("_x") && part.back() == '_' &&
               std::ranges::all_of(part.substr(2, 4), [](unsigned char c) { return std::isxdigit(c) != 0; });
    };
    std::string escaped;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (isNumbered(text.substr(at, length))) escaped += "_x005F";
        escaped += text[at];
    }
    return escaped;
}

/// UTF-16 units, which is how the format counts letters.
std::size_t lettersIn(std::string_view utf8)
{
    std::size_t letters = 0;
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        letters += ((byte & 0xC0) != 0x80 ? 1U : 0U) + (byte >= 0xF0 ? 1U : 0U);
    }
    return letters;
}

/// A name that the format allows.
std::string allowedName(std::string_view name)
{
    std::string allowed = writable(name);
    for (char& c : allowed)
        if (std::string_view("[]:*?/\\").find(c) != std::string_view::npos) c = '_';
    if (allowed.empty() || allowed.front() == '\'') allowed.insert(0, "_");
    allowed = beginning(allowed, longestName);
    if (allowed.back() == '\'') allowed.back() = '_';
    return allowed;
}

} // namespace

struct Workbook::State {
    lxw_worksheet* newSheet();
    void beginPart();
    [[noreturn]] void failWriting(const char* why) const;
    std::vector<std::uint64_t> writtenRows() const;
    /// The sheet for the row at hand.
    lxw_worksheet* at()
    {
        if (row == mostRows) beginPart();
        return sheet;
    }

    std::filesystem::path path;
    std::string utf8Path;
    std::string utf8Folder;
    lxw_workbook* book = nullptr;
    lxw_format* bold = nullptr;
    lxw_format* money = nullptr;
    lxw_format* day = nullptr;
    lxw_format* minute = nullptr;
    lxw_format* second = nullptr;
    lxw_worksheet* sheet = nullptr;
    std::string name;
    std::vector<Heading> headings;
    lxw_row_t row = 0;
    int part = 0; ///< of the sheets of that name
};

bool available() { return true; }

Workbook::Workbook(const std::filesystem::path& path) : state_(std::make_unique<State>())
{
    State& s = *state_;
    s.path = path;
    const std::u8string text = path.u8string();
    s.utf8Path.assign(text.begin(), text.end());
    lxw_workbook_options options{};
    options.constant_memory = LXW_TRUE;
    // Beside the workbook, where its room is wanted anyway; the folder for temporary files is often a small one.
    const std::filesystem::path folder = path.parent_path();
    const std::u8string folderText = folder.empty() ? u8"." : folder.u8string();
    s.utf8Folder.assign(folderText.begin(), folderText.end());
    options.tmpdir = s.utf8Folder.data();
    s.book = workbook_new_opt(s.utf8Path.c_str(), &options);
    const auto format = [&](const char* pattern) {
        lxw_format* const made = workbook_add_format(s.book);
        format_set_num_format(made, pattern);
        return made;
    };
    s.bold = workbook_add_format(s.book);
    format_set_bold(s.bold);
    s.money = format("#,##0.00##");
    s.day = format("dd.mm.yyyy");
    s.minute = format("dd.mm.yyyy hh:mm");
    s.second = format("dd.mm.yyyy hh:mm:ss");
}

Workbook::~Workbook()
{
    if (state_->book != nullptr) lxw_workbook_free(state_->book);
}

lxw_worksheet* Workbook::State::newSheet()
{
    // The name, or with a number behind it where it is taken, by letter case or by what was changed in it, too.
    for (;;) {
        ++part;
        const std::string number = part == 1 ? "" : " (" + std::to_string(part) + ")";
        const std::string full = beginning(name, longestName - number.size()) + number;
        if (workbook_validate_sheet_name(book, full.c_str()) == LXW_NO_ERROR)
            return workbook_add_worksheet(book, full.c_str());
        if (part > 10'000)
            throw files::Error(
                files::Fault::unsupported,
                "'" + name + files::said("' adıyla bir sayfa açılamadı.", "': no sheet of that name could be made."));
    }
}

void Workbook::beginSheet(std::string_view name, const std::vector<Heading>& headings)
{
    State& s = *state_;
    s.name = allowedName(name);
    s.headings = headings;
    s.part = 0;
    s.beginPart();
}

void Workbook::State::beginPart()
{
    sheet = newSheet();
    // Before the first row: what was written leaves memory.
    for (std::size_t i = 0; i < headings.size(); ++i) {
        const auto column = static_cast<lxw_col_t>(i);
        worksheet_set_column(sheet, column, column, headings[i].width, nullptr);
    }
    worksheet_freeze_panes(sheet, 1, 0);
    for (std::size_t i = 0; i < headings.size(); ++i)
        worksheet_write_string(sheet, 0, static_cast<lxw_col_t>(i), asItStands(writable(headings[i].text)).c_str(),
                               bold);
    row = 1;
}

bool Workbook::text(std::size_t column, const std::string& utf8)
{
    if (utf8.size() > longestText && lettersIn(utf8) > longestText) return false;
    State& s = *state_;
    lxw_worksheet* const sheet = s.at();
    worksheet_write_string(sheet, s.row, static_cast<lxw_col_t>(column), asItStands(writable(utf8)).c_str(), nullptr);
    return true;
}

void Workbook::number(std::size_t column, double number)
{
    lxw_worksheet* const sheet = state_->at();
    worksheet_write_number(sheet, state_->row, static_cast<lxw_col_t>(column), number, nullptr);
}

void Workbook::money(std::size_t column, double number)
{
    lxw_worksheet* const sheet = state_->at();
    worksheet_write_number(sheet, state_->row, static_cast<lxw_col_t>(column), number, state_->money);
}

void Workbook::moment(std::size_t column, double days)
{
    constexpr double perDay = 86400;
    const double seconds = std::round((days - std::floor(days)) * perDay);
    const auto whole = static_cast<int>(seconds) % static_cast<int>(perDay);
    lxw_format* const shown = whole == 0 ? state_->day : whole % 60 == 0 ? state_->minute : state_->second;
    lxw_worksheet* const sheet = state_->at();
    worksheet_write_number(sheet, state_->row, static_cast<lxw_col_t>(column), days, shown);
}

void Workbook::boolean(std::size_t column, bool value)
{
    lxw_worksheet* const sheet = state_->at();
    worksheet_write_boolean(sheet, state_->row, static_cast<lxw_col_t>(column), value ? 1 : 0, nullptr);
}

void Workbook::nextRow()
{
    state_->at();
    ++state_->row;
}

void Workbook::State::failWriting(const char* why) const
{
    throw files::Error(files::Fault::disk,
                       files::quotedPath(path) + files::said(" yazılamadı (", " could not be written (") + why +
                           files::said("). Diskte yer olduğuna bakın.", "). Look whether the disk has room."));
}

/// Bytes that the sheets' rows take, in the sheets' order. The library does not look whether it could write them.
std::vector<std::uint64_t> Workbook::State::writtenRows() const
{
    const char* const full = "No space left on device";
    std::vector<std::uint64_t> sizes;
    lxw_worksheet* each = nullptr;
    STAILQ_FOREACH(each, book->worksheets, list_pointers)
    {
        lxw_worksheet_write_single_row(each);
        std::FILE* const rows = each->optimize_tmpfile;
        if (rows == nullptr || std::fflush(rows) != 0 || std::ferror(rows) != 0) failWriting(full);
        const long size = std::ftell(rows);
        if (size < 0) failWriting(full);
        sizes.push_back(static_cast<std::uint64_t>(size));
    }
    return sizes;
}

void Workbook::close()
{
    // What stands around the rows in every sheet.
    constexpr std::string_view frame = "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">"
                                       "<sheetData></sheetData></worksheet>";
    const std::vector<std::uint64_t> sizes = state_->writtenRows();
    lxw_workbook* const book = state_->book;
    state_->book = nullptr;
    const lxw_error error = workbook_close(book);
    if (error != LXW_NO_ERROR) state_->failWriting(lxw_strerror(error));
    // The rows were copied once more on their way into the workbook, again without a look.
    const auto held = zipDirectory(state_->path);
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        const auto found = held.find("xl/worksheets/sheet" + std::to_string(i + 1) + ".xml");
        if (found == held.end() || found->second < sizes[i] + frame.size())
            state_->failWriting(files::said("sayfa eksik kaldı", "a sheet is not whole"));
    }
}

} // namespace sheets
