#include "tools/scale_line.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace scenario {

struct ScaleLine::Cable {
    int master = -1;

    explicit Cable(int end) : master(end) {}
    ~Cable() { ::close(master); }
    Cable(const Cable&) = delete;
    Cable& operator=(const Cable&) = delete;
};

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
}

bool ScaleLine::plug()
{
    if (link_.isEmpty()) return false;
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (master < 0) return false;
    auto cable = std::make_unique<Cable>(master);
    termios raw{};
    char name[128];
    if (::grantpt(master) != 0 || ::unlockpt(master) != 0 || ::tcgetattr(master, &raw) != 0 ||
        ::ptsname_r(master, name, sizeof name) != 0)
        return false;
    ::cfmakeraw(&raw);
    ::tcsetattr(master, TCSANOW, &raw);
    QFile::remove(link_);
    if (!QFile::link(QFile::decodeName(name), link_)) return false;
    cable_ = std::move(cable);
    return true;
}

void ScaleLine::unplug() { cable_.reset(); }

void ScaleLine::send(const QByteArray& bytes)
{
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(cable_->master, bytes.constData() + done, static_cast<size_t>(bytes.size() - done));
        if (n <= 0) return;
        done += n;
    }
}

} // namespace scenario
