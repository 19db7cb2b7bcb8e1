#include "app/server_line.h"
#include "app/form1.h"

#include "base/error.h"
#include "files/error.h"
#include "platform/system_disk.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

using namespace Qt::StringLiterals;

namespace app {
namespace {

constexpr std::size_t slice = 20;                    // lines of the history, at most
constexpr std::chrono::milliseconds longestSlice{5}; // of the screen's thread, and the line that is under way then
constexpr int pause = 10;                            // ms between two slices
constexpr int retry = 50;                            // ms, while somebody works
constexpr std::size_t mostPending = 5000; // lines at hand; the line keeps a few more, and then reads on later
constexpr int faultPause = 2000;          // ms, until a file that refuses is tried again

constexpr double sameMoment = 1.0 / 86400; // days

/// The line is about a pressing of the slip's customer at its moment.
bool concerns(const postgres::HistoryLine& line, const store::SlipNote& slip)
{
    const auto is = [&](const std::string& json) {
        const QJsonObject row = QJsonDocument::fromJson(QByteArray::fromStdString(json)).object();
        return row[u"carihar"_s].toString() == slip.pressing.customer &&
               std::abs(row[u"tarih"_s].toDouble() - slip.moment) < sameMoment;
    };
    return line.table == "hareket" && (is(line.before) || is(line.after));
}

} // namespace

ServerLine::ServerLine(std::shared_ptr<shared::SharedEngine> engine, const postgres::ServerSettings& settings,
                       Doors doors)
    : engine_(std::move(engine)), doors_(std::move(doors))
{
    timer_.setSingleShot(true);
    connect(&timer_, &QTimer::timeout, this, [this] { step(); });
    tell();
    line_ = std::make_unique<postgres::SharedLine>(settings, engine_->place(), engine_->waiting(), [this] {
        QMetaObject::invokeMethod(
            this, [this] { look(); }, Qt::QueuedConnection);
    });
    engine_->onWaiting([this](const std::vector<postgres::WaitingChange>& changes) {
        line_->bring(changes);
        tell();
    });
}

ServerLine::~ServerLine() { engine_->onWaiting({}); }

void ServerLine::look()
{
    if (pending_.size() > mostPending) return; // the last slice of them looks again
    postgres::News news = line_->take();
    connected_ = news.connected;
    why_ = QString::fromStdString(news.why);
    clock_ = QString::fromStdString(news.clock);
    if (pending_.empty()) sinceFirst_.start();
    pending_.insert(pending_.end(), std::make_move_iterator(news.lines.begin()),
                    std::make_move_iterator(news.lines.end()));
    tell();
    if (!pending_.empty() && !timer_.isActive()) timer_.start(0);
}

std::size_t ServerLine::sliceLength() const
{
    const std::size_t most = std::min(slice, pending_.size() - done_);
    const std::optional<store::SlipNote> slip = doors_.slip();
    for (std::size_t i = 0; slip && i < most; ++i)
        if (concerns(pending_[done_ + i], *slip)) return i;
    return most;
}

void ServerLine::step()
{
    int next = retry;
    if (doors_.mayTake(sinceFirst_.elapsed())) {
        try {
            next = !engine_->getReady() || takeSlice() ? pause : faultPause;
            fault_.clear();
        } catch (const base::RuntimeError& error) {
            fault_ = error.text();
            next = faultPause;
        }
        tell();
    }
    if (!pending_.empty()) timer_.start(next);
}

bool ServerLine::takeSlice()
{
    const std::size_t length = sliceLength();
    if (length == 0) return false;
    const shared::Taken taken = engine_->take(std::span(pending_).subspan(done_, length), longestSlice);
    done_ += taken.lines;
    if (done_ == pending_.size()) {
        pending_.clear();
        done_ = 0;
        look();
    }
    doors_.taken(taken);
    return true;
}

void ServerLine::tell()
{
    const int pressings = engine_->waitingPressings();
    const QString waiting = pressings > 0                   ? u"%1 sıkım"_s.arg(pressings)
                            : engine_->waitingChanges() > 0 ? u"%1 değişiklik"_s.arg(engine_->waitingChanges())
                                                            : QString();
    QString state = u"Sunucu: "_s;
    if (!fault_.isEmpty())
        state += u"gelenler yazılamıyor: "_s + fault_;
    else if (connected_ && why_.isEmpty())
        state += waiting.isEmpty() ? u"bağlı"_s : waiting + u" gönderiliyor"_s;
    else if (!waiting.isEmpty())
        state += waiting + u" bekliyor"_s;
    else
        state += connected_ ? u"kabul etmiyor"_s : u"bağlantı yok"_s;
    if (!why_.isEmpty() && fault_.isEmpty()) state += u". "_s + why_;
    if (!clock_.isEmpty()) state += u"; "_s + clock_;
    doors_.told(state);
}

std::unique_ptr<ServerLine> lineToServer(Form1& form, const shared::SharedDatabases& databases)
{
    const std::shared_ptr<shared::SharedEngine> engine = databases.sharedEngine(form.DataCari.databaseName());
    const std::filesystem::path folder(form.surroundings().directory.toStdU16String());
    const auto say = [&form](const QString& state) { form.status->setServer(state); };
    const auto none = [&say](const QString& state) {
        say(state);
        return std::unique_ptr<ServerLine>();
    };
    if (!platform::systemDisk().exists(folder / postgres::settingsFile))
        return engine ? none(u"Sunucu: Sunucu.ini yok; değişiklikler bekliyor"_s) : nullptr;
    try {
        const postgres::ServerSettings settings = postgres::readServerSettings(platform::systemDisk(), folder);
        if (!engine && settings.book.empty()) return nullptr;
        if (!engine && !form.DataCari.hasRecordSet()) return none(u"Sunucu: veritabanı açılınca bağlanılacak"_s);
        if (!engine) return none(u"Sunucu: bu dosya ortak deftere bağlı değil; presva-mdb to-server ile bağlayın"_s);
        if (settings.book != engine->place().name)
            return none(u"Sunucu: Sunucu.ini'deki Defter bu dosyanınki (%1) değil; değişiklikler bekliyor"_s.arg(
                QString::fromStdString(engine->place().name)));
        return std::make_unique<ServerLine>(
            engine, settings,
            ServerLine::Doors{.mayTake = [&form](qint64 waited) { return form.mayTakeNews(waited); },
                              .slip = [&form] { return form.surroundings().slips.open(); },
                              .taken = [&form](const shared::Taken& taken) { form.newsTaken(taken); },
                              .told = say});
    } catch (const files::Error& error) {
        return none(u"Sunucu: "_s + QString::fromUtf8(error.what()));
    }
}

} // namespace app
