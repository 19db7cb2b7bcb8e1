// Shows the season, and today's pressings, to telephones in the mill's network.

#include "files/error.h"
#include "files/part_file.h"
#include "files/quoted_path.h"
#include "live/access.h"
#include "live/board.h"
#include "live/certificate.h"
#include "live/codes.h"
#include "live/invitation_page.h"
#include "live/server.h"
#include "platform/console.h"
#include "platform/system_disk.h"
#include "seasons/texts.h"
#include "store/restore.h"
#include "tools/command_line.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

constexpr std::string_view help =
    R"(presva-live: sezonu ve bugünün sıkımlarını değirmenin ağındaki telefonlara gösterir.
Yalnız gösterir: hiçbir şey buradan yazılamaz, silinemez.

Kullanım: presva-live KLASÖR --address ADRES [--port KAPI] [--valid DAKİKA] [--forget]

  KLASÖR            veri klasörü (içindeki Yag.mdb yalnız okunur)
  --address ADRES   bu bilgisayarın değirmenin ağındaki adresi; yalnız bu adres dinlenir
                    (yazılmazsa bu bilgisayarın adresleri sayılır)
  --port KAPI       varsayılan: 8443
  --valid DAKİKA    okutulmamış karekod bu kadar geçerlidir, 1-1440 (varsayılan: 10);
                    kâğıda basılacaksa daha uzun verin
  --forget          önce tanınan bütün telefonları unutur
  --help            bu metin

Karekod burada ve KLASÖR/Canli/karekod.html sayfasında görünür. Durdurmak için Ctrl+C.
)";

struct Options {
    std::filesystem::path folder;
    std::string address;
    int port = 8443;
    std::chrono::minutes valid = 10min;
    bool forget = false;
};

int numberIn(const std::string& option, const std::string& text, int least, int most)
{
    int number = 0;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (fault != std::errc() || end != text.data() + text.size() || number < least || number > most)
        tools::misused(option + " " + std::to_string(least) + " ile " + std::to_string(most) +
                       " arasında bir sayı ister.");
    return number;
}

/// The addresses of this machine that others in its networks may know it by.
std::vector<std::string> ownAddresses()
{
    std::vector<std::string> addresses;
    ifaddrs* all = nullptr;
    if (getifaddrs(&all) != 0) return addresses;
    for (const ifaddrs* each = all; each != nullptr; each = each->ifa_next) {
        if (each->ifa_addr == nullptr || each->ifa_addr->sa_family != AF_INET || (each->ifa_flags & IFF_LOOPBACK) != 0)
            continue;
        std::array<char, NI_MAXHOST> text{};
        if (getnameinfo(each->ifa_addr, sizeof(sockaddr_in), text.data(), text.size(), nullptr, 0, NI_NUMERICHOST) == 0)
            addresses.emplace_back(text.data());
    }
    freeifaddrs(all);
    return addresses;
}

/// The address in the one way to write it. Misused for what is none, or every network's.
std::string plainAddress(const std::string& text)
{
    std::array<std::uint8_t, sizeof(in6_addr)> bytes{};
    std::array<char, INET6_ADDRSTRLEN> plain{};
    for (const int family : {AF_INET, AF_INET6}) {
        if (inet_pton(family, text.c_str(), bytes.data()) != 1) continue;
        if (bytes == std::array<std::uint8_t, sizeof(in6_addr)>{})
            tools::misused("Bütün ağlara açılmaz; değirmenin ağındaki adresi yazın.");
        if (inet_ntop(family, bytes.data(), plain.data(), plain.size()) != nullptr) return plain.data();
    }
    std::string known;
    for (const std::string& each : ownAddresses()) known += (known.empty() ? "" : ", ") + each;
    tools::misused("--address bir IP adresi ister. Bu bilgisayarın adresleri: " + (known.empty() ? "yok" : known));
}

Options optionsOf(std::vector<std::string> words)
{
    Options options;
    options.forget = std::erase(words, "--forget") > 0;
    const tools::Parsed parsed = tools::parse("presva-live", words, {"--address", "--port", "--valid"});
    if (parsed.words.size() != 1) tools::misused("Komut şöyle yazılır: presva-live KLASÖR --address ADRES");
    options.folder = tools::pathOf(parsed.words[0]);
    options.address = plainAddress(parsed.option("--address").value_or(""));
    if (const auto port = parsed.option("--port")) options.port = numberIn("--port", *port, 1024, 65535);
    if (const auto valid = parsed.option("--valid"))
        options.valid = std::chrono::minutes(numberIn("--valid", *valid, 1, 1440));
    return options;
}

void makePrivateFolder(const std::filesystem::path& folder)
{
    if ((mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) || chmod(folder.c_str(), S_IRWXU) != 0)
        throw files::Error(files::Fault::noPermission,
                           files::inQuotes(folder) + " klasörü yapılamadı: " + std::generic_category().message(errno));
}

void writePage(files::Disk& disk, const std::filesystem::path& path, const std::string& text)
{
    files::PartFile part = files::PartFile::replacing(disk, path);
    disk.open(part.path(), files::Disk::Access::createNew)
        ->write(0, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    part.publish();
}

/// Shows each invitation on the terminal and as a page, until it is told to stop or nobody is answered any more.
void showInvitations(files::Disk& disk, const Options& options, const std::filesystem::path& page, live::Access& access,
                     const live::Server& server, const std::string& fingerprint, const sigset_t& stopping)
{
    const std::string host = live::hostText(options.address, server.port());
    std::string last;
    while (server.listens()) {
        const std::string invitation = access.invitation();
        if (invitation != last) {
            last = invitation;
            const double ends =
                tools::now().days + std::chrono::duration<double, std::ratio<86400>>(options.valid).count();
            const live::Invitation shown{std::string("https://").append(host).append("/#").append(invitation),
                                         fingerprint, seasons::momentText(ends) + " saatine kadar"};
            writePage(disk, page, live::invitationPage(shown));
            std::printf("\n%s\n%s\nParmak izi: %s\nGeçerli: %s\n", live::codeForTerminal(shown.address).c_str(),
                        shown.address.c_str(), fingerprint.c_str(), shown.counts.c_str());
            std::fflush(stdout);
        }
        const timespec second{1, 0};
        if (sigtimedwait(&stopping, nullptr, &second) > 0) return;
    }
}

int serve(const Options& options)
{
    // The counter beside us comes first, and a telephone that goes away is no reason to end.
    setpriority(PRIO_PROCESS, 0, 19);
    std::signal(SIGPIPE, SIG_IGN);
    umask(S_IRWXG | S_IRWXO);
    sigset_t stopping;
    sigemptyset(&stopping);
    for (const int each : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&stopping, each);
    pthread_sigmask(SIG_BLOCK, &stopping, nullptr); // in every thread from here on

    files::Disk& disk = platform::systemDisk();
    const std::filesystem::path own = options.folder / "Canli";
    const std::filesystem::path telephones = own / "telefonlar";
    const std::filesystem::path page = own / "karekod.html";
    const live::Board board(
        disk, store::databaseIn(disk, options.folder), [] { return tools::now().days; },
        [](const std::string& sentence) { std::fprintf(stderr, "%s\n", sentence.c_str()); });
    makePrivateFolder(own);
    if (options.forget && disk.exists(telephones)) disk.remove(telephones);
    live::Access access(disk, telephones, options.valid, [] { return std::int64_t{std::time(nullptr)}; });
    live::Certificate certificate = live::certificateFor(options.address, own, std::time(nullptr));
    const std::string fingerprint = certificate.fingerprint;
    const live::Server server({options.address, options.port}, std::move(certificate), access,
                              [&board] { return board.shown(); });
    showInvitations(disk, options, page, access, server, fingerprint, stopping);
    writePage(disk, page, live::closedPage());
    if (server.listens()) return 0;
    throw files::Error(files::Fault::disk, live::hostText(options.address, server.port()) +
                                               " artık dinlenemiyor; programı yeniden başlatın.");
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const std::vector<std::string> words = platform::commandWords(argc, argv);
        if (words.empty() || std::ranges::find(words, "--help") != words.end()) {
            std::fputs(help.data(), stdout);
            return words.empty() ? 1 : 0;
        }
        return serve(optionsOf(words));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "presva-live: %s\n", error.what());
        return 1;
    }
}
