#include "store/postgres/shared_line.h"

#include "files/language.h"
#include "store/postgres/connection.h"
#include "store/postgres/schema.h"

#include <cmath>
#include <ctime>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace postgres {
namespace {

using files::said;
using namespace std::chrono_literals;

constexpr Patience patience{5000ms, 5000ms};
constexpr auto betweenLooks = 1000ms; // at a history of which nobody has told anything: a listener is not told of all
constexpr auto betweenTries = 1000ms; // at a server that is away
constexpr auto betweenClocks = 2000ms;
constexpr std::size_t changesAtOnce = 50;
constexpr std::size_t linesAtOnce = 500;
constexpr std::size_t mostLines = 5000; // that nobody has taken yet
constexpr double worthTelling = 300;    // seconds between two clocks

/// What the server itself said is not for the counter's screen.
std::string sentenceOf(const files::Error& error)
{
    const auto* const ofServer = dynamic_cast<const ServerError*>(&error);
    return ofServer != nullptr ? ofServer->sentence() : std::string(error.what());
}

[[noreturn]] void refuse(const char* turkish, const char* english) { throw ServerError(said(turkish, english)); }

} // namespace

struct SharedLine::State {
    State(ServerSettings to, Place from, std::vector<WaitingChange> waiting, std::function<void()> tell)
        : settings(std::move(to)), place(std::move(from)), onNews(std::move(tell)),
          changes(waiting.begin(), waiting.end())
    {
    }

    // ---- In the thread of the line ----

    void run()
    {
        while (!wake.ending()) {
            try {
                Connection connection(settings, {}, patience, &wake);
                greet(connection);
                ofClocks = differenceOfClocks(connection);
                // Somebody who holds the rows is told of as a refusal, long before the server would seem to be silent.
                connection.run("set lock_timeout = '2s'; listen presva");
                brought = 0; // whatever became of the line before: what is done already is not done again
                say(true, {}, ofClocks);
                while (!wake.ending()) {
                    const bool more = bringUnlessRefused(connection);
                    if (readSome(connection) || more) continue;
                    lookAtClocks(connection);
                    connection.waitForNotice(betweenLooks);
                }
            } catch (const files::Error& error) {
                if (!wake.ending()) say(false, sentenceOf(error), {});
                wake.wait(betweenTries);
            } catch (const std::exception& error) {
                // A server that says what none of ours does must not end the counter.
                if (!wake.ending())
                    say(false,
                        said("Sunucu anlaşılmayan bir şey söyledi: ", "The server said what cannot be read: ") +
                            std::string(error.what()),
                        {});
                wake.wait(betweenTries);
            }
        }
    }

    /// Is this the register that the file belongs to, and its history the one that the file knows?
    void greet(Connection& connection) const
    {
        requireSchema(connection);
        const auto found = connection.ask("select kimlik from presva.sayaclar where sayac = $1", {place.name});
        if (found.empty())
            refuse("Sunucuda bu adda bir defter yok; Sunucu.ini'deki Defter satırına bakın (docs/sunucu.md).",
                   "The server has no register of that name; look at the line Defter of Sunucu.ini.");
        if (found[0][0] != place.identity)
            refuse(
                "Sunucudaki defter bu dosyanın defteri değil; presva-mdb to-server ile birleştirin (docs/sunucu.md).",
                "The server's register is not the one of this file; join them with presva-mdb to-server.");
        if (place.number > 0) {
            const auto line = connection.ask("select zaman::text from presva.gecmis where sayac = $1 and sira = $2",
                                             {place.name, std::to_string(place.number)});
            if (line.empty() || line[0][0] != place.mark)
                refuse("Sunucu eski bir yedekten dönmüş: bu dosyanın bildiği kayıtlar onda yok. presva-mdb to-server "
                       "ile birleştirin (docs/sunucu.md).",
                       "The server comes from an old copy: it has not what this file knows. Join them with "
                       "presva-mdb to-server.");
        }
    }

    /// What is to be said of the clocks; empty: they agree.
    static std::string differenceOfClocks(Connection& connection)
    {
        const auto now = connection.ask("select extract(epoch from clock_timestamp())::text");
        const double ahead = static_cast<double>(std::time(nullptr)) - std::stod(now[0][0].value_or("0"));
        if (std::abs(ahead) < worthTelling) return {};
        return said("bu bilgisayarın saati sunucununkinden ", "this computer's clock is ") +
               std::to_string(std::llround(std::abs(ahead) / 60)) +
               (ahead > 0 ? said(" dakika ileri", " minutes ahead of the server's")
                          : said(" dakika geri", " minutes behind the server's"));
    }

    /// A clock is put right, or wrong, while the line stands.
    void lookAtClocks(Connection& connection)
    {
        if (std::chrono::steady_clock::now() < clocksAgain) return;
        clocksAgain = std::chrono::steady_clock::now() + betweenClocks;
        std::string found = differenceOfClocks(connection);
        if (found == ofClocks) return;
        ofClocks = std::move(found);
        say(true, why, ofClocks); // `why` is written by this thread alone
    }

    /// A change that the server refuses stays first and is tried again; what others do is read all the same. True when
    /// there is more to bring.
    bool bringUnlessRefused(Connection& connection)
    {
        if (std::chrono::steady_clock::now() < refusedUntil) return false;
        try {
            const bool more = bringSome(connection);
            if (!why.empty()) say(true, {}, ofClocks); // `why` is written by this thread alone
            return more;
        } catch (const ServerError& error) {
            connection.ask("select"); // a line that is lost is another matter
            refusedUntil = std::chrono::steady_clock::now() + betweenTries;
            atOnce = 1; // one that is refused does not keep those before it
            if (why != error.sentence()) say(true, error.sentence(), ofClocks);
            return false;
        }
    }

    /// True when there is more to bring.
    bool bringSome(Connection& connection)
    {
        std::string batch;
        std::size_t count = 0;
        bool more = false;
        {
            const std::lock_guard lock(mutex);
            if (brought == changes.size()) atOnce = changesAtOnce;
            for (; brought + count < changes.size() && count < atOnce; ++count)
                batch += (count > 0 ? "," : "[") + changes[brought + count].json;
            more = brought + count < changes.size();
        }
        if (count == 0) return false;
        connection.ask("select presva.islet($1, $2, $3::jsonb)", {place.name, settings.counter, batch + "]"});
        brought += count;
        return more;
    }

    /// True when there is more to read.
    bool readSome(Connection& connection)
    {
        {
            const std::lock_guard lock(mutex);
            if (lines.size() >= mostLines) return false; // until somebody has taken them; changes are brought meanwhile
        }
        const auto rows = connection.ask("select sira, zaman::text, kimlik, tablo, eski, yeni from presva.gecmis "
                                         "where sayac = $1 and sira > $2 order by sira limit $3",
                                         {place.name, std::to_string(place.number), std::to_string(linesAtOnce)});
        if (rows.empty()) return false;
        const auto textIn = [](const std::optional<std::string>& field) { return field.value_or(std::string()); };
        {
            const std::lock_guard lock(mutex);
            for (const ServerRow& row : rows) {
                HistoryLine line{std::stoll(row[0].value_or("0")),
                                 textIn(row[1]),
                                 textIn(row[2]),
                                 textIn(row[3]),
                                 textIn(row[4]),
                                 textIn(row[5])};
                place.number = line.number;
                place.mark = line.mark;
                // Done: it is not brought again.
                if (line.table == "is" && !changes.empty() && changes.front().identity == line.identity) {
                    changes.pop_front();
                    if (brought > 0) --brought;
                }
                lines.push_back(std::move(line));
            }
        }
        onNews();
        return rows.size() == linesAtOnce;
    }

    void say(bool up, std::string sentence, std::string clockSentence)
    {
        {
            const std::lock_guard lock(mutex);
            connected = up;
            why = std::move(sentence);
            clock = std::move(clockSentence);
        }
        onNews();
    }

    ServerSettings settings;
    Place place; ///< what was read last
    std::function<void()> onNews;
    std::size_t brought = 0; ///< of the changes that wait, those that the server was told over this line
    std::size_t atOnce = changesAtOnce;
    std::chrono::steady_clock::time_point refusedUntil; ///< when a refused change is tried again
    std::string ofClocks;                               ///< what was said of them last
    std::chrono::steady_clock::time_point clocksAgain;  ///< when they are looked at again
    platform::Wake wake;

    // ---- Shared ----

    std::mutex mutex;
    std::deque<WaitingChange> changes; ///< in their order, until the history says that they are done
    std::vector<HistoryLine> lines;
    bool connected = false;
    std::string why;
    std::string clock;

    std::thread thread;
};

SharedLine::SharedLine(ServerSettings settings, Place from, std::vector<WaitingChange> waiting,
                       std::function<void()> onNews)
    : state_(std::make_unique<State>(std::move(settings), std::move(from), std::move(waiting), std::move(onNews)))
{
    state_->thread = std::thread([state = state_.get()] { state->run(); });
}

SharedLine::~SharedLine()
{
    {
        const std::lock_guard lock(state_->mutex);
        state_->wake.end();
    }
    state_->thread.join();
}

void SharedLine::bring(const std::vector<WaitingChange>& changes)
{
    {
        const std::lock_guard lock(state_->mutex);
        state_->changes.insert(state_->changes.end(), changes.begin(), changes.end());
    }
    state_->wake.up();
}

News SharedLine::take()
{
    News news;
    {
        const std::lock_guard lock(state_->mutex);
        news = {std::exchange(state_->lines, {}), state_->connected, state_->why, state_->clock};
    }
    if (news.lines.size() >= mostLines) state_->wake.up();
    return news;
}

} // namespace postgres
