#include "live/board.h"
#include "mill/names.h"
#include "mill/tables.h"
#include "platform/system_disk.h"
#include "store/jet/values/calendar.h"
#include "tests/support/files.h"
#include "tests/support/temporary_folder.h"

#include <atomic>
#include <gmock/gmock.h>

namespace live {
namespace {

using mill::Hareket;
using testing::HasSubstr;
using testing::Not;

class BoardOfTheMill : public testing::Test {
protected:
    BoardOfTheMill()
    {
        mill::createDatabase(disk_, file(), jet::turkish, {});
        book(20, u"Ayşe");
    }

    std::filesystem::path file() const { return folder_ / "Yag.mdb"; }

    void book(int day, const std::u16string& name)
    {
        const auto counter = jet::Database::open(disk_, file());
        bookWith(*counter, day, name);
    }
    static void bookWith(jet::Database& counter, int day, const std::u16string& name)
    {
        counter.table(Hareket::table)
            .insert({{Hareket::Tarih, jet::dateTime(2025, 11, day, 9, 30).value()},
                     {Hareket::Zeytin, 1000.0},
                     {Hareket::Yağ, 213.0},
                     {Hareket::CariHar, name}});
    }

    std::unique_ptr<Board> opened()
    {
        return std::make_unique<Board>(
            disk_, file(), [this] { return jet::dateTime(2025, 11, day_, 14).value().days; },
            [this](const std::string&) { ++told_; });
    }

    /// What is shown once it is another.
    static std::shared_ptr<const Shown> next(const Board& board, const std::string& mark)
    {
        for (int i = 0; i < 1000; ++i) {
            auto shown = board.shown();
            if (shown->mark != mark) return shown;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        throw std::runtime_error("the board does not change");
    }

    files::Disk& disk_ = platform::systemDisk();
    TemporaryFolder folder_;
    std::atomic<int> day_ = 20;
    std::atomic<int> told_ = 0;
};

TEST_F(BoardOfTheMill, showsTheSeasonAndToday)
{
    const auto board = opened();
    EXPECT_THAT(board->shown()->today, HasSubstr("<tr><th>09:30<td>Ayşe<td>1.000<td>213<td>21,3"));
    EXPECT_THAT(board->shown()->page, HasSubstr("Zeytin sezonu 2025–2026"));
    EXPECT_THAT(board->shown()->page, HasSubstr(board->shown()->today));
}

TEST_F(BoardOfTheMill, showsAPressingWhileTheCounterIsAtWork)
{
    const auto board = opened();
    const std::string mark = board->shown()->mark;
    const auto counter = jet::Database::open(disk_, file());
    bookWith(*counter, 20, u"Işıl");
    EXPECT_THAT(next(*board, mark)->today, HasSubstr("<td>Işıl<"));
}

TEST_F(BoardOfTheMill, aNewDayBeginsEmpty)
{
    const auto board = opened();
    const std::string mark = board->shown()->mark;
    day_ = 21;
    const auto shown = next(*board, mark);
    EXPECT_THAT(shown->today, Not(HasSubstr("Ayşe")));
    EXPECT_THAT(shown->today, HasSubstr("Bugün henüz sıkım yok."));
    EXPECT_THAT(shown->page, HasSubstr("Ayşe"));
}

TEST_F(BoardOfTheMill, leavesTheDatabaseAsItIs)
{
    const std::string before = textOfFile(file());
    {
        const auto board = opened();
        day_ = 21;
        next(*board, board->shown()->mark);
    }
    EXPECT_EQ(textOfFile(file()), before);
    EXPECT_THAT(filesIn(folder_.path()), testing::ElementsAre("Yag.mdb"));
}

TEST_F(BoardOfTheMill, aDatabaseThatIsGoneIsSaidOnceAndSeenAgain)
{
    const auto board = opened();
    const auto first = board->shown();
    const std::filesystem::path away = folder_ / "away.mdb";
    std::filesystem::rename(file(), away);
    const auto without = next(*board, first->mark);
    EXPECT_THAT(without->today, HasSubstr("Veritabanı şu anda okunamıyor"));
    EXPECT_THAT(without->today, HasSubstr("Ayşe"));
    EXPECT_THAT(without->today, Not(HasSubstr(folder_.path().string())));
    std::this_thread::sleep_for(std::chrono::seconds(3));
    EXPECT_EQ(told_, 1);
    std::filesystem::rename(away, file());
    EXPECT_THAT(next(*board, without->mark)->today, Not(HasSubstr("okunamıyor")));
}

TEST_F(BoardOfTheMill, cannotBeginWithoutADatabase)
{
    std::filesystem::remove(file());
    EXPECT_THROW(opened(), files::Error);
}

} // namespace
} // namespace live
