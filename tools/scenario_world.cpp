#include "tools/scenario_world.h"

#include "base/error.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <cstdlib>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace scenario {

QString AnsweringPrompt::answer(const QString& message, const QStringList& captions)
{
    lastMessage_ = message;
    if (answers_.isEmpty()) {
        if (fault_.isEmpty()) fault_ = u"a message box that nobody answers: "_s + message;
        return captions.last();
    }
    QString given = answers_.dequeue().arguments[0];
    if (!captions.contains(given)) {
        if (fault_.isEmpty()) fault_ = u"the box has no button '%1' but %2"_s.arg(given, captions.join(", "_L1));
        return captions.last();
    }
    return given;
}

std::optional<Command> AnsweringPrompt::unusedAnswer() const
{
    return answers_.isEmpty() ? std::nullopt : std::optional(answers_.head());
}

void AnsweringPrompt::exclamation(const QString& text) { answer(text, {u"Tamam"_s}); }

void AnsweringPrompt::errorReport(const base::RuntimeError& error) { answer(error.text(), {u"Tamam"_s}); }

bool AnsweringPrompt::yesNo(const QString& text, const QString& title)
{
    return answer(title + ": "_L1 + text, {u"Evet"_s, u"Hayır"_s}) == "Evet"_L1;
}

std::optional<app::FontChoice> AnsweringPrompt::chooseFont(const app::FontChoice& preset)
{
    const QString message = u"Yazı Tipi: %1 %2"_s.arg(preset.name).arg(preset.size);
    if (answer(message, {u"Tamam"_s, u"İptal"_s}) == "Tamam"_L1) return preset;
    return std::nullopt;
}

void WatchedTarget::sendAndFinish(int job, const print::Document& document)
{
    target_->sendAndFinish(job, document);
    ++printed_;
    lastPdf_ = document.pdf;
}

ScaleLine::ScaleLine(const QString& directory)
{
    const QString link = directory + u"/com1"_s;
    if (QFileInfo(link).isSymLink() || QFile::exists(link)) return;
    link_ = link;
    plug();
}

ScaleLine::~ScaleLine()
{
    if (!link_.isEmpty()) QFile::remove(link_);
    unplug();
}

bool ScaleLine::plug()
{
    if (link_.isEmpty()) return false;
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (master < 0) return false;
    termios raw{};
    char name[128];
    if (::grantpt(master) != 0 || ::unlockpt(master) != 0 || ::tcgetattr(master, &raw) != 0 ||
        ::ptsname_r(master, name, sizeof name) != 0) {
        ::close(master);
        return false;
    }
    ::cfmakeraw(&raw);
    ::tcsetattr(master, TCSANOW, &raw);
    QFile::remove(link_);
    if (!QFile::link(QFile::decodeName(name), link_)) {
        ::close(master);
        return false;
    }
    unplug();
    master_ = master;
    return true;
}

void ScaleLine::unplug()
{
    if (master_ >= 0) ::close(master_);
    master_ = -1;
}

void ScaleLine::send(const QByteArray& bytes)
{
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(master_, bytes.constData() + done, static_cast<size_t>(bytes.size() - done));
        if (n <= 0) return;
        done += n;
    }
}

std::optional<QString> textOfPdf(const QByteArray& pdf)
{
    QProcess reader;
    reader.start(u"pdftotext"_s, {u"-layout"_s, u"-"_s, u"-"_s});
    if (!reader.waitForStarted()) return std::nullopt;
    reader.write(pdf);
    reader.closeWriteChannel();
    reader.waitForFinished();
    return QString::fromUtf8(reader.readAllStandardOutput()).simplified();
}

} // namespace scenario
