#include "store/postgres/connection.h"

#include "files/language.h"

#include <algorithm>
#include <libpq-fe.h>
#include <new>
#include <string_view>
#include <utility>

namespace postgres {

using platform::SocketNeed, platform::waitForSocket, platform::Woken;
namespace {

using files::said;
using Clock = std::chrono::steady_clock;

constexpr int oldestServer = 150000;

using Answer = std::unique_ptr<PGresult, decltype(&PQclear)>;

/// What the program needs of a session, whoever set the server up: numbers to the bit, no waiting for ever for
/// somebody else's lock, no transaction that stands open after we are gone.
constexpr const char* sessionOptions = "-c extra_float_digits=1 -c timezone=UTC -c datestyle=ISO -c lock_timeout=10s "
                                       "-c idle_in_transaction_session_timeout=60s";

/// What libpq says, in one line; without the place in the server's own source.
std::string oneLine(std::string_view text)
{
    std::string line;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view part = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        part.remove_prefix(std::min(part.find_first_not_of(" \t"), part.size()));
        if (part.empty() || part.starts_with("LOCATION:")) continue;
        line += (line.empty() ? "" : " ") + std::string(part);
    }
    return line;
}

/// The code in a refusal to let us in, which stands in its text alone: "FATAL:  28P01: password ...".
std::string stateIn(const std::string& message)
{
    constexpr std::size_t length = 5;
    for (std::size_t at = message.find(": "); at != std::string::npos; at = message.find(": ", at + 1)) {
        if (at < length) continue;
        std::string word = message.substr(at - length, length);
        const bool code =
            std::ranges::all_of(word, [](char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z'); });
        const bool digit = std::ranges::any_of(word, [](char c) { return c >= '0' && c <= '9'; });
        if (code && digit && (at == length || message[at - length - 1] == ' ')) return word;
    }
    return {};
}

struct Known {
    std::string_view state; ///< or its beginning
    const char* turkish;
    const char* english;
};

constexpr Known known[] = {
    {"28P01", "Kullanıcı adı ya da parola yanlış; ~/.pgpass dosyasını ve Sunucu.ini'deki Kullanici satırını düzeltin.",
     "User or password is wrong; put ~/.pgpass and the line Kullanici of Sunucu.ini right."},
    {"28", "Sunucu bu kullanıcıyı buradan içeri almıyor; sunucunun pg_hba.conf dosyasına bakın.",
     "The server does not let this user in from here; look at its pg_hba.conf."},
    {"3D000", "Sunucuda bu adda bir veritabanı yok; Sunucu.ini'deki Veritabani satırını düzeltin.",
     "The server has no database of that name; put the line Veritabani of Sunucu.ini right."},
    {"42501", "Bu kullanıcının buna yetkisi yok; yetkili bir kullanıcıyla deneyin.",
     "This user may not do that; try as one who may."},
    {"53100", "Sunucunun diski dolu; hiçbir şey yarım kalmadı. Yer açıp yeniden deneyin.",
     "The server's disk is full; nothing was left half done. Make room and try again."},
    {"53300", "Sunucunun bağlantıları dolu; biraz sonra yeniden deneyin.",
     "The server has no connection left; try again a little later."},
    {"55P03", "Sunucuda başka bir program aynı kayıtları tutuyor; biraz sonra yeniden deneyin.",
     "Another program holds the same rows on the server; try again a little later."},
    {"57P03", "Sunucu daha açılıyor ya da kapanıyor; biraz sonra yeniden deneyin.",
     "The server is still starting, or stopping; try again a little later."},
    {"57P", "Sunucu kapanıyor; açılınca yeniden deneyin.", "The server is going down; try again when it is up."},
    {"25006", "Sunucu yalnızca okunuyor (yedek sunucu); asıl sunucunun adresini yazın.",
     "The server may only be read (a standby); name the one that is written."},
};

/// Of those that have a sentence of their own.
std::optional<ServerError> knownError(const std::string& state, const std::string& detail)
{
    for (const Known& each : known)
        if (!state.empty() && state.starts_with(each.state))
            return ServerError(said(each.turkish, each.english), detail);
    return std::nullopt;
}

/// What libpq itself says before a server has, which has no code.
std::optional<ServerError> errorOfOurSide(const std::string& message)
{
    const auto says = [&](const char* words) { return message.find(words) != std::string::npos; };
    if (says("no password supplied"))
        return ServerError(
            said("Sunucu parola istiyor: ~/.pgpass dosyasında bu sunucu ve kullanıcı için bir satır yok ya "
                 "da dosyanın izni 600 değil.",
                 "The server asks for a password: ~/.pgpass has no line for this server and user, or is "
                 "not of mode 600."),
            message);
    if (says("root certificate file")) // missing, or not to be read
        return ServerError(
            said("Sunucunun sertifika dosyası yok ya da okunamıyor; sunucunun server.crt dosyasını programın "
                 "klasörüne koyup adını Sunucu.ini'deki Sertifika satırına yazın.",
                 "The file of the server's certificate is missing or cannot be read; put the server's server.crt into "
                 "the program's folder and its name into the line Sertifika of Sunucu.ini."),
            message);
    if (says("certificate"))
        return ServerError(
            said("Sunucunun sertifikası tutmuyor; Sunucu.ini'deki Adres sertifikada yazan ad, Sertifika "
                 "sunucunun dosyası olmalı.",
                 "The server's certificate does not fit; Adres of Sunucu.ini must be a name that it says, "
                 "Sertifika the server's file."),
            message);
    return std::nullopt;
}

} // namespace

struct Connection::State {
    ~State()
    {
        if (line != nullptr) PQfinish(line);
    }

    void open(const ServerSettings& settings, const std::string& user)
    {
        const bool checked = settings.tls == ServerSettings::Tls::verified && !settings.host.starts_with('/');
        std::vector<const char*> names, values;
        const auto add = [&](const char* name, const char* value) {
            names.push_back(name);
            values.push_back(value);
        };
        const std::string certificate = settings.certificate.string();
        add("host", settings.host.c_str());
        add("port", settings.port.c_str());
        add("dbname", settings.database.c_str());
        add("user", user.empty() ? settings.user.c_str() : user.c_str());
        add("client_encoding", "UTF8");
        add("application_name", "Mendrik Presva");
        add("options", sessionOptions);
        add("sslmode", checked ? "verify-full" : "disable");
        if (checked)
            add("sslrootcert", certificate.empty() ? "/etc/ssl/certs/ca-certificates.crt" : certificate.c_str());
        // A line that is cut while nothing is awaited: the system tells of it in seconds, not in hours.
        add("keepalives_idle", "10");
        add("keepalives_interval", "3");
        add("keepalives_count", "3");
        add("tcp_user_timeout", "10000");
        names.push_back(nullptr);
        values.push_back(nullptr);

        line = PQconnectStartParams(names.data(), values.data(), 0);
        if (line == nullptr) throw std::bad_alloc();
        PQsetErrorVerbosity(line, PQERRORS_VERBOSE); // with the code of a refusal
        PQsetNoticeProcessor(
            line, [](void*, const char*) {}, nullptr); // libpq would write them to standard error
        const auto until = Clock::now() + patience.opening;
        PostgresPollingStatusType wanted = PGRES_POLLING_WRITING;
        while (PQstatus(line) != CONNECTION_BAD && wanted != PGRES_POLLING_OK && wanted != PGRES_POLLING_FAILED) {
            if (!wait(wanted == PGRES_POLLING_READING ? SocketNeed::read : SocketNeed::write, until)) {
                close();
                throw ServerError(
                    said("Sunucu yanıt vermiyor; adresini (Sunucu.ini) ve ağı denetleyin.",
                         "The server does not answer; look at its address (Sunucu.ini) and the network."));
            }
            wanted = PQconnectPoll(line);
        }
        if (PQstatus(line) != CONNECTION_OK) {
            const std::string message = PQerrorMessage(line);
            close();
            if (const auto error = knownError(stateIn(message), oneLine(message))) throw ServerError(*error);
            if (const auto error = errorOfOurSide(oneLine(message))) throw ServerError(*error);
            throw ServerError(said("Sunucuya bağlanılamadı; Sunucu.ini'yi, ağı ve sunucuyu denetleyin.",
                                   "No connection to the server; look at Sunucu.ini, the network and the server."),
                              oneLine(message));
        }
        PQsetErrorVerbosity(line, PQERRORS_DEFAULT);
        PQsetnonblocking(line, 1);
        refuseUnfit();
    }

    void refuseUnfit()
    {
        const int version = PQserverVersion(line);
        if (version < oldestServer)
            throw ServerError(said("Sunucunun sürümü çok eski: ", "The server is too old: ") +
                              std::to_string(version / 10000) +
                              said(". PostgreSQL 15 ya da yenisi gerekir.", ". PostgreSQL 15 or newer is needed."));
        const char* const encoding = PQparameterStatus(line, "server_encoding");
        if (encoding == nullptr || std::string_view(encoding) != "UTF8")
            throw ServerError(said("Sunucudaki veritabanı UTF8 değil; UTF8 ile yeniden oluşturun.",
                                   "The database on the server is not UTF8; make it anew with UTF8."));
    }

    /// False when the time is over.
    bool wait(SocketNeed need, Clock::time_point until) const
    {
        for (;;) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
            if (left.count() <= 0) return false;
            const Woken woken = waitForSocket(PQsocket(line), need, wake != nullptr ? wake->endDescriptor() : -1,
                                              std::min<std::chrono::milliseconds>(left, std::chrono::minutes(1)));
            if (woken == Woken::wake) throw ServerError(lostSentence());
            if (woken == Woken::socket) return true;
        }
    }

    void close()
    {
        if (line != nullptr) PQfinish(line);
        line = nullptr;
    }

    PGconn* alive() const
    {
        if (line == nullptr) throw ServerError(lostSentence());
        return line;
    }

    static const char* lostSentence()
    {
        return said("Sunucuyla bağlantı koptu; ağı ve sunucuyu denetleyip yeniden deneyin.",
                    "The line to the server is lost; look at the network and the server, and try again.");
    }

    /// Sends a statement that is answered by a stream of that kind.
    void beginCopy(const char* statement, ExecStatusType kind)
    {
        send(PQsendQuery(alive(), statement));
        const Answer begun = next();
        if (PQresultStatus(begun.get()) == kind) return;
        const auto failure = failureOf(begun.get());
        finish();
        if (failure) throw ServerError(*failure);
        lost();
    }

    [[noreturn]] void lost()
    {
        const std::string message = line != nullptr ? oneLine(PQerrorMessage(line)) : "";
        close();
        throw ServerError(lostSentence(), message);
    }

    [[noreturn]] void silent()
    {
        close();
        throw ServerError(said("Sunucu uzun süredir susuyor; bağlantı kapatıldı. Yeniden deneyin.",
                               "The server has been silent for long; the line was closed. Try again."));
    }

    /// Waits until the server says something, and takes it in.
    void receive()
    {
        // Bytes that TLS has read ahead no longer show at the socket: they are asked for now and then.
        constexpr std::chrono::milliseconds betweenLooks{50};
        const auto end = heard + patience.silence;
        if (wait(SocketNeed::read, PQsslInUse(line) != 0 ? std::min(end, Clock::now() + betweenLooks) : end))
            heard = Clock::now();
        else if (Clock::now() >= end)
            silent();
        if (PQconsumeInput(line) == 0) lost();
    }

    void flush()
    {
        for (;;) {
            const int left = PQflush(line);
            if (left == 0) return;
            if (left < 0) lost();
            if (!wait(SocketNeed::either, Clock::now() + patience.silence)) silent();
            // What the server sends meanwhile is taken in: it might wait for that before it reads on.
            if (PQconsumeInput(line) == 0) lost();
        }
    }

    Answer next()
    {
        while (PQisBusy(line) != 0) receive();
        return {PQgetResult(line), &PQclear};
    }

    void send(int accepted)
    {
        if (accepted == 0) lost();
        heard = Clock::now();
        flush();
    }

    /// Everything that the server has to say to a statement; throws the first failure.
    Answer finish()
    {
        Answer last{nullptr, &PQclear};
        std::optional<ServerError> failure;
        for (;;) {
            Answer answer = next();
            if (!answer) break;
            if (!failure) failure = failureOf(answer.get());
            last = std::move(answer);
        }
        if (PQstatus(line) != CONNECTION_OK) {
            close();
            if (!failure) lost();
        }
        if (failure) throw ServerError(*failure);
        return last;
    }

    static std::optional<ServerError> failureOf(const PGresult* answer)
    {
        const ExecStatusType status = PQresultStatus(answer);
        if (status != PGRES_FATAL_ERROR && status != PGRES_BAD_RESPONSE) return std::nullopt;
        const auto field = [answer](int which) {
            const char* const text = PQresultErrorField(answer, which);
            return std::string(text != nullptr ? text : "");
        };
        const std::string state = field(PG_DIAG_SQLSTATE);
        if (state.empty()) return ServerError(lostSentence(), oneLine(PQresultErrorMessage(answer)));
        const std::string itself = state + " " + field(PG_DIAG_MESSAGE_PRIMARY);
        if (auto error = knownError(state, itself)) return error;
        return ServerError(said("Sunucu bunu yapmadı: ", "The server did not do that: ") + itself);
    }

    bool heardNotice() const
    {
        bool heardOne = false;
        while (PGnotify* notice = PQnotifies(line)) {
            PQfreemem(notice);
            heardOne = true;
        }
        return heardOne;
    }

    PGconn* line = nullptr;
    platform::Wake* wake = nullptr;
    Patience patience;
    Clock::time_point heard; ///< when the server said something last, or was asked
};

Connection::Connection(const ServerSettings& settings, const std::string& user, Patience patience, platform::Wake* wake)
    : state_(std::make_unique<State>())
{
    state_->wake = wake;
    state_->patience = patience;
    state_->open(settings, user);
    // PGDATESTYLE and PGTZ of the environment win over the options above.
    ask("select set_config('datestyle', 'ISO', false), set_config('timezone', 'UTC', false)");
}

Connection::~Connection() = default;

std::vector<ServerRow> Connection::ask(const char* statement, std::span<const Parameter> parameters)
{
    std::vector<const char*> values;
    values.reserve(parameters.size());
    for (const Parameter& each : parameters) values.push_back(each ? each->c_str() : nullptr);
    State& state = *state_;
    state.send(PQsendQueryParams(state.alive(), statement, static_cast<int>(values.size()), nullptr, values.data(),
                                 nullptr, nullptr, 0));
    const Answer answer = state.finish();
    std::vector<ServerRow> rows(static_cast<std::size_t>(std::max(0, PQntuples(answer.get()))));
    const int fields = PQnfields(answer.get());
    for (std::size_t row = 0; row < rows.size(); ++row) {
        for (int field = 0; field < fields; ++field) {
            const int at = static_cast<int>(row);
            if (PQgetisnull(answer.get(), at, field) != 0)
                rows[row].emplace_back();
            else
                rows[row].emplace_back(PQgetvalue(answer.get(), at, field));
        }
    }
    return rows;
}

void Connection::run(const std::string& statements)
{
    state_->send(PQsendQuery(state_->alive(), statements.c_str()));
    state_->finish();
}

void Connection::waitForNotice(std::chrono::milliseconds longest)
{
    State& state = *state_;
    state.alive();
    const auto until = Clock::now() + longest;
    // A notice may have come together with an answer.
    while (!state.heardNotice()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
        if (left.count() <= 0) return;
        const Woken woken = waitForSocket(PQsocket(state.line), SocketNeed::read,
                                          state.wake != nullptr ? state.wake->descriptor() : -1, left);
        if (woken == Woken::neither) continue;
        if (woken == Woken::wake) return state.wake->forget();
        if (PQconsumeInput(state.line) == 0) state.lost();
    }
}

void Connection::copyIn(const char* statement, const std::function<std::optional<std::string>()>& next)
{
    State& state = *state_;
    state.beginCopy(statement, PGRES_COPY_IN);
    const auto put = [&](const std::string& bytes) {
        for (;;) {
            const int taken = PQputCopyData(state.line, bytes.data(), static_cast<int>(bytes.size()));
            if (taken > 0) return;
            if (taken < 0) state.lost();
            state.flush();
        }
    };
    // In pieces of many lines: each piece is a message of its own.
    constexpr std::size_t piece = 65536;
    std::string bytes;
    while (std::optional<std::string> line = next()) {
        bytes += *line;
        bytes += '\n';
        if (bytes.size() < piece) continue;
        put(bytes);
        state.flush();
        bytes.clear();
    }
    if (!bytes.empty()) put(bytes);
    while (PQputCopyEnd(state.line, nullptr) == 0) state.flush();
    state.flush();
    state.heard = Clock::now();
    state.finish();
}

void Connection::copyOut(const char* statement, const std::function<void(std::string_view)>& each)
{
    State& state = *state_;
    state.beginCopy(statement, PGRES_COPY_OUT);
    for (;;) {
        char* row = nullptr;
        const int length = PQgetCopyData(state.line, &row, 1);
        if (length > 0) {
            const std::unique_ptr<char, decltype(&PQfreemem)> held(row, &PQfreemem);
            each(std::string_view(row, static_cast<std::size_t>(length) - 1)); // without its end of line
        } else if (length == 0) {
            state.receive();
        } else {
            break;
        }
    }
    state.finish();
}

ServerTransaction::ServerTransaction(Connection& connection, const char* begin) : connection_(connection)
{
    connection.run(begin);
}

ServerTransaction::~ServerTransaction()
{
    if (!open_) return;
    try {
        connection_.run("rollback");
    } catch (const ServerError&) {
        // The line is gone: the server takes the change back by itself.
        return;
    }
}

void ServerTransaction::commit()
{
    open_ = false;
    connection_.run("commit");
}

} // namespace postgres
