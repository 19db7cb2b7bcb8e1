#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// Workbooks for spreadsheets (.xlsx), written row by row.
namespace sheets {

/// The first day and the day behind the last one that a sheet counts as Access does, in days since 1899-12-30. Before
/// March 1900 a sheet is a day off.
inline constexpr double firstDay = 61;
inline constexpr double dayAfterLast = 2958466;
/// Letters that a cell holds at most, a limit of the format.
inline constexpr std::size_t longestText = 32767;
/// Rows that a sheet holds at most, the headings among them; also of the format.
inline constexpr std::size_t mostRows = 1'048'576;

struct Heading {
    std::string text;  ///< UTF-8
    double width = 10; ///< of the column, in digits
};

/// False where the program was built without libxlsxwriter: then the constructor throws.
bool available();

/// A new workbook in the making. One row is in memory at a time; the rest stands in temporary files, so that a table
/// may be larger than memory. What was not closed is no workbook.
class Workbook {
public:
    /// The file is made, or replaced, by close(). Throws files::Error (unsupported) where available() is false.
    explicit Workbook(const std::filesystem::path& path);
    ~Workbook();
    Workbook(const Workbook&) = delete;
    Workbook& operator=(const Workbook&) = delete;

    /// A sheet with a bold first row that stays in sight. The name is cut and changed where the format wants it so.
    /// Rows that do not fit the sheet go to further ones of that name with a number, headings and all.
    void beginSheet(std::string_view name, const std::vector<Heading>& headings);

    // The cells of the row at hand; the rest stay empty.
    /// False, and nothing written, for a text longer than longestText.
    bool text(std::size_t column, const std::string& utf8);
    void number(std::size_t column, double number); ///< finite
    void money(std::size_t column, double number);  ///< with two to four decimals
    void moment(std::size_t column, double days);   ///< firstDay..dayAfterLast; midnight is shown as a day
    void boolean(std::size_t column, bool value);
    void nextRow();

    /// Throws files::Error (disk).
    void close();

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace sheets
