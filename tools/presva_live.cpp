// Shows the season, and today's pressings, to telephones in the mill's network.

#include "files/error.h"
#include "files/part_file.h"
#include "files/quoted_path.h"
#include "live/access.h"
#include "live/addresses.h"
#include "live/board.h"
#include "live/certificate.h"
#include "live/codes.h"
#include "live/invitation_page.h"
#include "live/own_folder.h"
#include "live/server.h"
#include "platform/console.h"
#include "platform/system_disk.h"
#include "seasons/texts.h"
#include "store/restore.h"
#include "tools/command_line.h"

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <optional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <utility>

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

/// The address in the one way to write it. Misused for what is none of this machine.
std::string ownAddress(const std::string& text)
{
    std::string known;
    for (const std::string& each : live::ownAddresses()) known += (known.empty() ? "" : ", ") + each;
    known = " Bu bilgisayarın adresleri: " + (known.empty() ? "yok" : known) + ".";
    const auto plain = live::plainAddress(text);
    if (!plain) tools::misused("--address bir IP adresi ister." + known);
    if (*plain == "0.0.0.0" || *plain == "::")
        tools::misused("Bütün ağlara açılmaz; değirmenin ağındaki adresi yazın." + known);
    if (!live::isOwnAddress(*plain)) tools::misused(*plain + " bu bilgisayarın adresi değil." + known);
    return *plain;
}

Options optionsOf(std::vector<std::string> words)
{
    Options options;
    options.forget = std::erase(words, "--forget") > 0;
    const tools::Parsed parsed = tools::parse("presva-live", words, {"--address", "--port", "--valid"});
    if (parsed.words.size() != 1) tools::misused("Komut şöyle yazılır: presva-live KLASÖR --address ADRES");
    options.folder = tools::pathOf(parsed.words[0]);
    options.address = ownAddress(parsed.option("--address").value_or(""));
    if (const auto port = parsed.option("--port")) options.port = numberIn("--port", *port, 1024, 65535);
    if (const auto valid = parsed.option("--valid"))
        options.valid = std::chrono::minutes(numberIn("--valid", *valid, 1, 1440));
    return options;
}

std::int64_t clockNow() { return std::time(nullptr); }

/// Seconds since the machine was started, asleep or not, whatever is done to its clock.
std::int64_t running()
{
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return now.tv_sec;
}

/// Something that fails, is tried again and again, and is told when it begins.
class Trouble {
public:
    void is(const std::string& sentence)
    {
        if (sentence != told_) std::fprintf(stderr, "%s\n", sentence.c_str());
        told_ = sentence;
    }
    void over(const std::string& sentence)
    {
        if (!std::exchange(told_, {}).empty()) std::fprintf(stderr, "%s\n", sentence.c_str());
    }

private:
    std::string told_;
};

/// The page with the code. Telephones are served whether it can be written or not.
class CodePage {
public:
    CodePage(files::Disk& disk, std::filesystem::path path) : disk_(disk), path_(std::move(path)) {}

    void show(std::string text)
    {
        text_ = std::move(text);
        writeAgain();
    }
    void writeAgain()
    {
        isWritten_ = false;
        keep();
    }
    /// Tries again what could not be written.
    void keep()
    {
        if (isWritten_) return;
        try {
            write();
            isWritten_ = true;
            trouble_.over(files::inQuotes(path_) + " yeniden yazılabildi.");
        } catch (const files::Error& error) {
            trouble_.is(error.what() + std::string(" Telefonlara yine cevap veriliyor, karekod bu pencerede; sayfa "
                                                   "yeniden denenecek."));
        }
    }

private:
    void write()
    {
        files::PartFile part = files::PartFile::replacing(disk_, path_);
        part.write(text_);
        part.publish();
    }

    files::Disk& disk_;
    const std::filesystem::path path_;
    std::string text_;
    bool isWritten_ = true;
    Trouble trouble_;
};

/// Forgets the telephones first where that was asked for, in a folder that nobody else uses.
std::filesystem::path telephonesIn(files::Disk& disk, const live::OwnFolder& own, const Options& options)
{
    std::filesystem::path telephones = own.path() / "telefonlar";
    if (options.forget && disk.exists(telephones)) disk.remove(telephones);
    return telephones;
}

/// Serves telephones, and shows each invitation on the terminal and as a page.
class Service {
public:
    Service(files::Disk& disk, const Options& options)
        : options_(options), board_(
                                 disk, store::databaseIn(disk, options.folder), [] { return tools::now().days; },
                                 [](const std::string& sentence) { std::fprintf(stderr, "%s\n", sentence.c_str()); }),
          own_(disk, options.folder / "Canli"), page_(disk, own_.path() / "karekod.html"),
          access_(disk, telephonesIn(disk, own_, options), options.valid, clockNow, running)
    {
        // The code of one who was stopped by force opens nothing any more.
        if (disk.exists(own_.path() / "karekod.html")) page_.show(live::closedPage());
        listen(live::certificateFor(options_.address, own_.path(), clockNow()));
    }

    /// Until it is told to stop. Throws files::Error where nobody is answered any more.
    void run(const sigset_t& stopping)
    {
        const timespec second{1, 0};
        do {
            restoreFolder();
            renewCertificate();
            showInvitation();
            page_.keep();
            if (const auto trouble = access_.trouble())
                std::fprintf(stderr, "Bir telefon kaydedilemedi: %s\n", trouble->c_str());
        } while (server_->listens() && sigtimedwait(&stopping, nullptr, &second) <= 0);
        page_.show(live::closedPage());
        if (!server_->listens())
            throw files::Error(files::Fault::disk, host() + " artık dinlenemiyor; programı yeniden başlatın.");
    }

private:
    std::string host() const { return live::hostText(options_.address, options_.port); }

    void listen(live::Certificate certificate)
    {
        fingerprint_ = certificate.fingerprint;
        validity_ = certificate.validity;
        shown_.clear();
        server_.reset(); // it has the place that the next one takes
        server_ = std::make_unique<live::Server>(live::Server::Place{options_.address, options_.port},
                                                 std::move(certificate), access_, [this] { return board_.shown(); });
    }

    void restoreFolder()
    {
        try {
            if (!own_.restore()) return;
            std::fprintf(stderr,
                         "%s silinmiş; yeniden yapıldı. Telefonları unutturmak için programı durdurup --forget "
                         "ile başlatın.\n",
                         files::inQuotes(own_.path()).c_str());
            page_.writeAgain();
        } catch (const files::Error& error) {
            if (error.fault() == files::Fault::inUse) throw;
            trouble_.is(error.what());
        }
    }

    /// Its time comes, or the clock with which it was made was ahead.
    void renewCertificate()
    {
        constexpr std::int64_t rest = 600; // seconds between attempts
        if (validity_.covers(clockNow()) || running() < nextAttempt_) return;
        nextAttempt_ = running() + rest;
        std::optional<live::Certificate> next;
        try {
            next = live::certificateFor(options_.address, own_.path(), clockNow());
        } catch (const files::Error& error) {
            trouble_.is(error.what());
            return;
        }
        listen(std::move(*next));
    }

    void showInvitation()
    {
        constexpr std::int64_t setAnew = 60; // seconds by which a clock is another one
        const std::string invitation = access_.invitation();
        const std::int64_t clockIsAhead = clockNow() - running();
        if (invitation == shown_ && std::abs(clockIsAhead - clockWasAhead_) < setAnew) return;
        if (invitation != issued_) begun_ = running();
        issued_ = shown_ = invitation;
        clockWasAhead_ = clockIsAhead;

        constexpr double secondsOfADay = 86400;
        const std::int64_t left = begun_ + std::chrono::seconds(options_.valid).count() - running();
        const std::string until = seasons::momentText(tools::now().days + static_cast<double>(left) / secondsOfADay);
        const live::Invitation shown{"https://" + host() + "/#" + invitation, fingerprint_, until + " saatine kadar"};
        std::printf("\n%s\n%s\nParmak izi: %s\nGeçerli: %s\n", live::codeForTerminal(shown.address).c_str(),
                    shown.address.c_str(), fingerprint_.c_str(), shown.counts.c_str());
        std::fflush(stdout);
        page_.show(live::invitationPage(shown));
    }

    const Options& options_;
    live::Board board_;
    live::OwnFolder own_; ///< before anything in it is read or written
    CodePage page_;
    live::Access access_;
    std::string fingerprint_;
    live::Validity validity_;
    std::int64_t nextAttempt_ = 0; ///< at another certificate, by running()
    std::string shown_;            ///< the invitation on the page; empty where it has to be shown anew
    std::string issued_;           ///< the one that began at begun_
    std::int64_t begun_ = 0;       ///< by running()
    std::int64_t clockWasAhead_ = 0;
    Trouble trouble_;
    std::unique_ptr<live::Server> server_;
};

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
    if (disk.exists(options.folder) && !disk.exists(options.folder / ""))
        tools::misused(files::inQuotes(options.folder) + " bir dosya; içinde durduğu klasörü yazın.");
    Service(disk, options).run(stopping);
    return 0;
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
