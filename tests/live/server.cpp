#include "live/server.h"
#include "files/error.h"
#include "files/memory_disk.h"
#include "tests/live/support/telephone.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <gmock/gmock.h>
#include <thread>

namespace live {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

const std::string secret = "what only known telephones may see";

/// A server on this machine, and one telephone that it knows.
class ServerOnTheNet : public testing::Test {
protected:
    void start(Limits limits = {}, Bounds bounds = {}, std::size_t pageBytes = 100)
    {
        std::shared_ptr<const Shown> shown =
            std::make_shared<const Shown>(Shown{secret + std::string(pageBytes, '.'), "<p>" + secret, "\"7\""});
        server_ = std::make_unique<Server>(
            Server::Place{"127.0.0.1", 0}, certificateFor("127.0.0.1", folder_.path(), now_), access_,
            [shown] { return shown; }, limits, bounds);
        key_ = access_.take(access_.invitation()).value();
    }
    void SetUp() override { start(); }

    int port() const { return server_->port(); }
    std::string known() const { return "Cookie: other=1; __Host-presva=" + key_ + "\r\n"; }
    /// The page, for a telephone that is known.
    Answer look(const std::string& from = "127.0.0.1") const { return ask(port(), "/", known(), from); }

    TemporaryFolder folder_;
    files::MemoryDisk disk_;
    std::int64_t now_ = 1'763'650'000;
    Access access_{disk_, "telephones", std::chrono::minutes(10), [this] { return now_; }};
    std::unique_ptr<Server> server_;
    std::string key_;
};

TEST_F(ServerOnTheNet, aTelephoneThatIsKnownSeesThePage)
{
    const Answer page = look();
    EXPECT_EQ(page.status, 200);
    EXPECT_THAT(page.body, HasSubstr(secret));
    EXPECT_EQ(page.headers.at("content-type"), "text/html; charset=utf-8");
    EXPECT_EQ(page.headers.at("cache-control"), "no-store");
    EXPECT_EQ(page.headers.at("x-frame-options"), "DENY");
    EXPECT_EQ(page.headers.at("content-length"), std::to_string(page.body.size()));
}

TEST_F(ServerOnTheNet, todayIsSentOnceAndThenOnlyWhenItIsAnother)
{
    const Answer today = ask(port(), "/bugun", known());
    EXPECT_EQ(today.status, 200);
    EXPECT_EQ(today.body, "<p>" + secret);
    const Answer again = ask(port(), "/bugun", known() + "If-None-Match: " + today.headers.at("etag") + "\r\n");
    EXPECT_EQ(again.status, 304);
    EXPECT_EQ(again.body, "");
}

TEST_F(ServerOnTheNet, anInvitationMakesATelephoneKnownOnce)
{
    const std::string invitation = "X-Davet: " + access_.invitation() + "\r\n";
    const Answer entered = ask(port(), "/giris", invitation);
    EXPECT_EQ(entered.status, 204);
    const std::string cookie = entered.headers.at("set-cookie");
    for (const char* part : {"; Secure", "; HttpOnly", "; SameSite=", "; Path=/"}) EXPECT_THAT(cookie, HasSubstr(part));
    EXPECT_EQ(ask(port(), "/bugun", "Cookie: " + cookie.substr(0, cookie.find(';')) + "\r\n").status, 200);

    const Answer replayed = ask(port(), "/giris", invitation);
    EXPECT_EQ(replayed.status, 403);
    EXPECT_EQ(replayed.headers.count("set-cookie"), 0U);
}

TEST_F(ServerOnTheNet, strangersSeeAPageWithNothingInIt)
{
    for (const std::string& headers :
         {std::string(), std::string("Cookie: __Host-presva=" + std::string(43, 'A') + "\r\n")}) {
        const Answer page = ask(port(), "/", headers);
        EXPECT_EQ(page.status, 200);
        EXPECT_THAT(page.body, HasSubstr("Bu telefon tanınmıyor"));
        EXPECT_THAT(page.whole, Not(HasSubstr(secret)));
    }
}

TEST_F(ServerOnTheNet, aTelephoneWhoseTimeIsOverIsAStranger)
{
    now_ += seconds(Access::telephoneCounts).count();
    EXPECT_EQ(ask(port(), "/bugun", known()).status, 403);
}

struct RefusalRow {
    std::string path;
    std::string headers; ///< KEY stands for a key that is known
    std::string method = "GET";
    int status = 0;
};

class Refusal : public ServerOnTheNet, public testing::WithParamInterface<NamedRow<RefusalRow>> {};

RowTable<RefusalRow> refusals()
{
    const std::string known = "Cookie: __Host-presva=KEY\r\n";
    return {
        {"no key", {"/bugun", "", "GET", 403}},
        {"empty key", {"/bugun", "Cookie: __Host-presva=\r\n", "GET", 403}},
        {"wrong key", {"/bugun", "Cookie: __Host-presva=" + std::string(43, 'x') + "\r\n", "GET", 403}},
        {"key in capitals", {"/bugun", "Cookie: __HOST-PRESVA=KEY\r\n", "GET", 403}},
        {"key under another name", {"/bugun", "Cookie: presva=KEY\r\n", "GET", 403}},
        {"half a key", {"/bugun", "Cookie: __Host-presva=KE\r\n", "GET", 403}},
        {"a list of keys", {"/bugun", "Cookie: __Host-presva=KEY,KEY\r\n", "GET", 403}},
        {"no invitation", {"/giris", "", "GET", 403}},
        {"empty invitation", {"/giris", "X-Davet: \r\n", "GET", 403}},
        {"wrong invitation", {"/giris", "X-Davet: AAAAAAAAAAAAAAAAAAAAAAAA\r\n", "GET", 403}},
        {"key as invitation", {"/giris", "X-Davet: KEY\r\n", "GET", 403}},
        {"post", {"/", known + "Content-Length: 3\r\n", "POST", 405}},
        {"put", {"/Yag.mdb", known, "PUT", 405}},
        {"delete", {"/Yag.mdb", known, "DELETE", 405}},
        {"patch", {"/", known, "PATCH", 405}},
        {"options", {"/", known, "OPTIONS", 405}},
        {"head", {"/", known, "HEAD", 405}},
        {"trace", {"/", known, "TRACE", 405}},
        {"connect", {"/", known, "CONNECT", 405}},
        {"no method at all", {"/", known, "LOOK", 400}},
        {"database", {"/Yag.mdb", known, "GET", 404}},
        {"certificate", {"/Canli/sertifika.pem", known, "GET", 404}},
        {"upwards", {"/../Yag.mdb", known, "GET", 404}},
        {"upwards, coded", {"/%2e%2e/Yag.mdb", known, "GET", 404}},
        {"upwards, coded twice", {"/%252e%252e/Yag.mdb", known, "GET", 404}},
        {"upwards, backwards", {"/..\\Yag.mdb", known, "GET", 404}},
        {"upwards inside", {"/bugun/../../etc/passwd", known, "GET", 404}},
        {"this folder", {"/./", known, "GET", 404}},
        {"two slashes", {"//", known, "GET", 404}},
        {"slash behind", {"/bugun/", known, "GET", 404}},
        {"coded letter", {"/bug%75n", known, "GET", 404}},
        {"end of a text", {"/bugun%00.html", known, "GET", 404}},
        {"question", {"/?a=b", known, "GET", 404}},
        {"capitals", {"/BUGUN", known, "GET", 404}},
        {"file address", {"file:///etc/passwd", known, "GET", 404}},
        {"somebody else's address", {"https://example.org/", known, "GET", 404}},
        {"star", {"*", known, "GET", 404}},
        {"many letters", {"/" + std::string(4000, 'a'), known, "GET", 404}},
        {"impossible part", {"/", known + "Range: bytes=9-1\r\n", "GET", 416}},
        {"too many letters", {"/" + std::string(20'000, 'a'), known, "GET", 0}},
    };
}

INSTANTIATE_TEST_SUITE_P(, Refusal, testing::ValuesIn(refusals()), RowName());

TEST_P(Refusal, tellsNothing)
{
    RefusalRow row = GetParam().row;
    for (std::size_t at = 0; (at = row.headers.find("KEY", at)) != std::string::npos; at += key_.size())
        row.headers.replace(at, 3, key_);
    if (const std::size_t at = row.headers.find("KE\r"); at != std::string::npos)
        row.headers.replace(at, 2, key_.substr(0, key_.size() / 2));
    Connection connection(port());
    connection.send(request(port(), row.path, row.headers, row.method));
    const Answer answer = connection.answer();
    EXPECT_EQ(answer.status, row.status) << answer.whole;
    EXPECT_THAT(answer.whole, Not(HasSubstr(secret)));
    EXPECT_EQ(answer.body, "");
    EXPECT_EQ(answer.headers.count("set-cookie"), 0U);
    EXPECT_EQ(look("127.0.0.2").status, 200); // everybody else is served as before
}

class HostHeader : public ServerOnTheNet, public testing::WithParamInterface<NamedRow<std::string>> {};

RowTable<std::string> hosts()
{
    return {{"none", ""},
            {"of somebody else", "Host: presva.example:PORT\r\n"},
            {"without a port", "Host: 127.0.0.1\r\n"},
            {"with another port", "Host: 127.0.0.1:1\r\n"},
            {"local name", "Host: localhost:PORT\r\n"}};
}

INSTANTIATE_TEST_SUITE_P(, HostHeader, testing::ValuesIn(hosts()), RowName());

/// A page on the internet could give its own name our address; the telephone's browser would then ask us for it.
TEST_P(HostHeader, mustBeTheAddressThatIsServed)
{
    std::string host = GetParam().row;
    if (const std::size_t at = host.find("PORT"); at != std::string::npos) host.replace(at, 4, std::to_string(port()));
    Connection connection(port());
    connection.send("GET / HTTP/1.1\r\n" + host + known() + "\r\n");
    const Answer answer = connection.answer();
    EXPECT_EQ(answer.status, 421);
    EXPECT_THAT(answer.whole, Not(HasSubstr(secret)));
}

TEST_F(ServerOnTheNet, aConnectionCarriesOneRequest)
{
    Connection connection(port());
    connection.send(request(port(), "/bugun", known()) + request(port(), "/bugun", known()));
    const Answer answer = connection.answer();
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.whole.find("HTTP/1.1", 1), std::string::npos);
}

TEST_F(ServerOnTheNet, partsOfThePageAreTheWholePage)
{
    const Answer answer =
        ask(port(), "/bugun", known() + "Range: bytes=0-1,0-1,0-1,0-1\r\nAccept-Encoding: br, gzip\r\n");
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, "<p>" + secret);
    EXPECT_EQ(answer.headers.count("content-encoding"), 0U);
}

TEST_F(ServerOnTheNet, whoSpeaksWithoutEncryptionHearsNothing)
{
    const BareSocket socket(port());
    socket.send(request(port(), "/", known()));
    EXPECT_TRUE(socket.closedWithin(seconds(4)));
}

TEST_F(ServerOnTheNet, oldEncryptionIsRefused)
{
    // Shown by the protocol of a connection that may choose.
    const Connection connection(port());
    EXPECT_TRUE(connection.isOpen());
    const Certificate certificate = certificateFor("127.0.0.1", folder_.path(), now_);
    EXPECT_EQ(SSL_CTX_get_min_proto_version(certificate.context.get()), TLS1_2_VERSION);
}

/// In kilobytes, as the system counts it for this program.
long memoryInUse()
{
    std::FILE* const file = std::fopen("/proc/self/statm", "r");
    long pages = 0, resident = 0;
    if (!file || std::fscanf(file, "%ld %ld", &pages, &resident) != 2) throw std::runtime_error("no /proc");
    std::fclose(file);
    return resident * 4;
}

struct FloodRow {
    std::string before;
    std::string piece;
};

class Flood : public ServerOnTheNet, public testing::WithParamInterface<NamedRow<FloodRow>> {};

const RowTable<FloodRow> floods = {
    {"one header of ten megabytes", {"GET / HTTP/1.1\r\nA: ", std::string(65536, 'a')}},
    {"headers of ten megabytes", {"GET / HTTP/1.1\r\n", std::string(1000, 'a') + ": b\r\n"}},
    {"address of ten megabytes", {"GET /", std::string(65536, 'a')}},
    {"no line ends", {"", std::string(65536, '\0')}},
    {"empty lines", {"", "\r\n"}},
    {"body of ten megabytes", {"POST / HTTP/1.1\r\nContent-Length: 10000000\r\n\r\n", std::string(65536, 'a')}},
    {"body without an end",
     {"POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n", "ffff\r\n" + std::string(0xffff, 'a') + "\r\n"}},
};

INSTANTIATE_TEST_SUITE_P(, Flood, testing::ValuesIn(floods), RowName());

TEST_P(Flood, isCutOffAndCostsNoMemory)
{
    look();
    const long before = memoryInUse();
    constexpr std::size_t all = 10'000'000;
    Connection connection(port());
    bool taken = connection.send(GetParam().row.before);
    std::size_t sent = 0;
    while (taken && sent < all && (taken = connection.send(GetParam().row.piece))) sent += GetParam().row.piece.size();
    const Answer answer = connection.answer(seconds(10));
    EXPECT_LT(sent, all);
    EXPECT_THAT(answer.status, AnyOf(0, 400, 405));
    EXPECT_THAT(answer.whole, Not(HasSubstr(secret)));
    EXPECT_LT(memoryInUse() - before, 8000);
    EXPECT_EQ(look("127.0.0.2").status, 200);
}

/// Bounds that a test can wait for.
constexpr Bounds shortBounds{milliseconds(800), milliseconds(2500), 8192};

TEST_F(ServerOnTheNet, whoSaysNothingIsSentAway)
{
    start({}, shortBounds);
    const BareSocket socket(port());
    const auto closed = socket.closedWithin(seconds(10));
    ASSERT_TRUE(closed);
    EXPECT_GE(*closed, milliseconds(700));
}

TEST_F(ServerOnTheNet, whoSpeaksOneLetterAtATimeIsSentAwayAllTheSame)
{
    start({}, shortBounds);
    Connection connection(port());
    const std::string request = "GET / HTTP/1.1\r\nX: " + std::string(5000, 'x');
    const auto begun = steady_clock::now();
    std::size_t sent = 0;
    while (sent < request.size() && connection.send(request.substr(sent, 1))) {
        ++sent;
        std::this_thread::sleep_for(milliseconds(20));
    }
    EXPECT_LT(sent, request.size());
    EXPECT_LT(steady_clock::now() - begun, seconds(10));
    EXPECT_EQ(look().status, 200);
}

TEST_F(ServerOnTheNet, whoRenewsKeysWithoutAnEndIsSentAway)
{
    start({}, shortBounds);
    Connection connection(port());
    ASSERT_TRUE(connection.isOpen());
    const auto begun = steady_clock::now();
    while (connection.renewKeys() && steady_clock::now() - begun < seconds(10)) {
    }
    EXPECT_LT(steady_clock::now() - begun, seconds(5));
    EXPECT_EQ(look().status, 200);
}

TEST_F(ServerOnTheNet, whoReadsTooSlowlyIsSentAway)
{
    start({}, shortBounds, 30'000'000);
    Connection connection(port());
    connection.send(request(port(), "/", known()));
    std::this_thread::sleep_for(seconds(4));
    std::size_t read = 0;
    for (std::string piece = connection.some(); !piece.empty(); piece = connection.some()) read += piece.size();
    EXPECT_LT(read, 30'000'000U);
}

TEST_F(ServerOnTheNet, whoReadsSlowlyKeepsNoCopyOfThePage)
{
    constexpr std::size_t pageBytes = 4'000'000;
    start({}, {}, pageBytes);
    look();
    const long before = memoryInUse();
    std::vector<std::unique_ptr<Connection>> slow;
    for (int i = 0; i < 40; ++i) {
        slow.push_back(std::make_unique<Connection>(port(), "127.0.2." + std::to_string(i + 1)));
        slow.back()->send(request(port(), "/", known()));
        EXPECT_THAT(slow.back()->some(), HasSubstr("200 OK"));
    }
    EXPECT_LT(memoryInUse() - before, 40'000);
    EXPECT_GT(slow.back()->answer().whole.size(), pageBytes - 20'000);
}

TEST_F(ServerOnTheNet, aHundredWhoSayNothingKeepNobodyWaiting)
{
    std::vector<std::unique_ptr<BareSocket>> silent;
    for (int i = 0; i < 100; ++i) silent.push_back(std::make_unique<BareSocket>(port(), "127.0.0.66"));
    const auto begun = steady_clock::now();
    EXPECT_EQ(look().status, 200);
    EXPECT_LT(steady_clock::now() - begun, seconds(3)); // all of the silent have five seconds
}

TEST_F(ServerOnTheNet, aHundredAddressesThatSayNothingKeepNobodyWaitingWhoIsKnown)
{
    EXPECT_EQ(look().status, 200);
    std::vector<std::unique_ptr<BareSocket>> silent;
    for (int i = 0; i < 600; ++i)
        silent.push_back(std::make_unique<BareSocket>(port(), "127.0.2." + std::to_string(1 + i % 100)));
    const auto begun = steady_clock::now();
    EXPECT_EQ(look().status, 200);
    EXPECT_LT(steady_clock::now() - begun, seconds(3)); // all of the silent have five seconds
    // Beyond their number strangers hold nothing, not even a handle.
    const auto isClosed = [](const auto& each) { return each->closedWithin(milliseconds(20)).has_value(); };
    EXPECT_GE(std::ranges::count_if(silent, isClosed), std::ptrdiff_t(silent.size() - Limits().strangers));
}

TEST_F(ServerOnTheNet, whoAsksTooOftenIsLeftOutAndOthersAreNot)
{
    int served = 0;
    for (int i = 0; i < 120; ++i) {
        const Connection connection(port(), "127.0.0.66");
        served += connection.isOpen() ? 1 : 0;
    }
    EXPECT_GE(served, 40);
    EXPECT_LT(served, 110);
    EXPECT_EQ(look().status, 200);
}

TEST_F(ServerOnTheNet, whoGuessesIsLeftOutSoon)
{
    int refused = 0;
    for (int i = 0; i < 60; ++i)
        if (ask(port(), "/giris", "X-Davet: " + std::string(24, char('a' + i % 26)) + "\r\n", "127.0.0.66").status ==
            403)
            ++refused;
    EXPECT_GE(refused, 3);
    EXPECT_LE(refused, 20);
    EXPECT_EQ(look().status, 200);
}

TEST_F(ServerOnTheNet, onlyTheNamedAddressAnswers)
{
    const int handle = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in other{};
    other.sin_family = AF_INET;
    other.sin_port = htons(static_cast<std::uint16_t>(port()));
    other.sin_addr.s_addr = htonl(INADDR_LOOPBACK + 1); // 127.0.0.2
    EXPECT_NE(connect(handle, reinterpret_cast<const sockaddr*>(&other), sizeof other), 0);
    close(handle);
}

TEST_F(ServerOnTheNet, aPlaceThatIsTakenIsSaid)
{
    try {
        const Server second({"192.0.2.1", 18443}, certificateFor("192.0.2.1", folder_.path(), now_), access_,
                            [] { return std::make_shared<const Shown>(); });
        FAIL() << "192.0.2.1 is nobody's address";
    } catch (const files::Error& error) {
        EXPECT_THAT(error.what(), HasSubstr("192.0.2.1:18443 dinlenemiyor"));
    }
}

TEST_F(ServerOnTheNet, aPlaceBelongsToOneServer)
{
    EXPECT_THROW(Server({"127.0.0.1", port()}, certificateFor("127.0.0.1", folder_.path(), now_), access_,
                        [] { return std::make_shared<const Shown>(); }),
                 files::Error);
    EXPECT_EQ(look().status, 200);
}

/// The handle in this program that listens at a port.
int listenerAt(int port)
{
    for (int handle = 3; handle < 1024; ++handle) {
        sockaddr_in place{};
        socklen_t size = sizeof place;
        int listens = 0;
        socklen_t length = sizeof listens;
        if (getsockname(handle, reinterpret_cast<sockaddr*>(&place), &size) == 0 &&
            getsockopt(handle, SOL_SOCKET, SO_ACCEPTCONN, &listens, &length) == 0 && listens != 0 &&
            ntohs(place.sin_port) == port)
            return handle;
    }
    throw std::runtime_error("nobody listens");
}

TEST_F(ServerOnTheNet, aServerWhosePlaceIsTakenAwayKnowsIt)
{
    EXPECT_TRUE(server_->listens());
    shutdown(listenerAt(port()), SHUT_RDWR);
    for (int i = 0; i < 100 && server_->listens(); ++i) std::this_thread::sleep_for(milliseconds(50));
    EXPECT_FALSE(server_->listens());
}

/// PRESVA_LIVE_SECONDS makes it a long one; PRESVA_LIVE_PORT and PRESVA_LIVE_KEY have it ask a program that runs.
TEST_F(ServerOnTheNet, twoHundredTelephonesAreServed)
{
    start({}, {}, 300'000);
    const char* const asked = std::getenv("PRESVA_LIVE_SECONDS");
    const char* const otherPort = std::getenv("PRESVA_LIVE_PORT");
    const char* const otherKey = std::getenv("PRESVA_LIVE_KEY");
    const auto end = steady_clock::now() + seconds(asked ? std::atoi(asked) : 5);
    const int where = otherPort ? std::atoi(otherPort) : port();
    const std::string who = otherKey ? "Cookie: __Host-presva=" + std::string(otherKey) + "\r\n" : known();
    constexpr int telephones = 200;
    std::atomic<int> wrong = 0;
    std::vector<std::vector<double>> times(telephones);
    std::vector<std::thread> threads;
    for (int i = 0; i < telephones; ++i)
        threads.emplace_back([&, i] {
            const std::string from = "127.0.1." + std::to_string(i + 1);
            std::this_thread::sleep_for(milliseconds(i * 13));
            std::string mark;
            for (bool first = true; first || steady_clock::now() < end; first = false) {
                const auto begun = steady_clock::now();
                try {
                    std::string headers = who;
                    if (!mark.empty()) headers.append("If-None-Match: ").append(mark).append("\r\n");
                    const Answer answer = ask(where, first ? "/" : "/bugun", headers, from);
                    if (answer.status != 200 && answer.status != 304) ++wrong;
                    if (answer.headers.contains("etag")) mark = answer.headers.at("etag");
                } catch (const std::exception&) {
                    ++wrong;
                }
                times[std::size_t(i)].push_back(
                    std::chrono::duration<double, std::milli>(steady_clock::now() - begun).count());
                std::this_thread::sleep_for(milliseconds(2000));
            }
        });
    for (std::thread& each : threads) each.join();
    std::vector<double> all;
    for (const auto& each : times) all.insert(all.end(), each.begin(), each.end());
    std::ranges::sort(all);
    EXPECT_EQ(wrong, 0);
    EXPECT_GE(all.size(), std::size_t(telephones));
    std::printf("%zu answers, median %.1f ms, 99 of 100 within %.1f ms, slowest %.1f ms\n", all.size(),
                all[all.size() / 2], all[all.size() * 99 / 100], all.back());
}

} // namespace
} // namespace live
