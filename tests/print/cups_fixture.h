#pragma once

#include <QByteArray>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>
#include <arpa/inet.h>
#include <atomic>
#include <csignal>
#include <memory>
#include <mutex>
#include <netinet/in.h>
#include <poll.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

/// A printer on the network that takes whatever is sent to its port and keeps it, job by job.
class SocketPrinter {
public:
    SocketPrinter()
    {
        listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 || ::listen(listener_, 8) != 0 ||
            ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0)
            return;
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { serve(); });
    }
    ~SocketPrinter()
    {
        stop_ = true;
        if (thread_.joinable()) thread_.join();
        ::close(listener_);
    }
    SocketPrinter(const SocketPrinter&) = delete;
    SocketPrinter& operator=(const SocketPrinter&) = delete;

    int port() const { return port_; }
    std::vector<QByteArray> jobs() const
    {
        const std::lock_guard lock(mutex_);
        return jobs_;
    }
    void forget()
    {
        const std::lock_guard lock(mutex_);
        jobs_.clear();
    }

private:
    static constexpr int patience = 50; // milliseconds until the end of the test is looked for

    void serve()
    {
        while (!stop_) {
            pollfd wait{listener_, POLLIN, 0};
            if (::poll(&wait, 1, patience) <= 0) continue;
            const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
            if (connection >= 0) receive(connection);
        }
    }

    void receive(int connection)
    {
        QByteArray job;
        while (!stop_) {
            pollfd wait{connection, POLLIN, 0};
            if (::poll(&wait, 1, patience) <= 0) continue;
            char bytes[16384];
            const ssize_t count = ::read(connection, bytes, sizeof bytes);
            if (count <= 0) break;
            job.append(bytes, count);
        }
        ::close(connection);
        const std::lock_guard lock(mutex_);
        if (!job.isEmpty()) jobs_.push_back(job);
    }

    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> stop_ = false;
    mutable std::mutex mutex_;
    std::vector<QByteArray> jobs_;
    std::thread thread_;
};

/// A print scheduler of the test's own: its queues, spool and settings live in a temporary folder, and it listens on a
/// socket there, so it meets neither the machine's scheduler nor its network. One at a time in a process.
///
///     CupsFixture cups;
///     if (!cups.start()) QSKIP(qPrintable(cups.whyNot()));
///     cups.addQueue("slip", CupsFixture::Paper::roll80);
///     cups.setDefault("slip");
///
/// After start() the environment of the process points every user of the print system here. What queues print arrives
/// at `printer`, byte by byte as it was sent unless the queue is a filtered one.
class CupsFixture {
public:
    enum class Paper {
        roll80,   ///< 80 x 200 mm, any length up to 2 m
        roll58,   ///< 58 x 100 mm, any length up to 2 m
        narrow80, ///< 80 x 297 mm, no other length
        lengths,  ///< 72 x 210 mm or 72 x 3276 mm, the longer one by default, no other length
        a4,       ///< A4, any other size
        raw,      ///< no driver: the queue says nothing of its paper
        filtered, ///< as roll80, through the print system's own page filter
    };

    SocketPrinter printer;

    ~CupsFixture() { kill(); }

    /// False if this machine has no scheduler; then whyNot() says what is missing.
    bool start()
    {
        for (const QString program : {"cupsd", "lpadmin", "cupsdisable", "cupsenable", "cupsreject", "cupsaccept",
                                      "lpstat", "lpoptions", "cancel"})
            if (find(program).isEmpty()) return refuse(program + " is not installed (packages cups, cups-client)");
        folder_ = std::make_unique<QTemporaryDir>("/tmp/presva-cups-XXXXXX");
        // The scheduler prints as a user without rights, who has to get through this folder.
        QFile::setPermissions(folder_->path(), QFile::Permissions(0x7755));
        if (!folder_->isValid() || !writeConfiguration()) return refuse("the temporary folder cannot be written");

        qputenv("CUPS_SERVER", socketPath().toUtf8());
        qputenv("CUPS_SERVERROOT", path("root").toUtf8());
        qputenv("HOME", path("home").toUtf8());
        qunsetenv("LPDEST");
        qunsetenv("PRINTER");
        return startAgain();
    }
    QString whyNot() const { return whyNot_; }

    /// For PrintQueueChoice::scheduler and the environment variable CUPS_SERVER.
    QString socketPath() const { return path("cups.sock"); }

    /// The scheduler answers nothing until goOn(), and keeps its lines open.
    void pause() { ::kill(static_cast<pid_t>(scheduler_.processId()), SIGSTOP); }
    void goOn() { ::kill(static_cast<pid_t>(scheduler_.processId()), SIGCONT); }
    /// The scheduler dies without a word, as in a crash.
    void kill()
    {
        if (scheduler_.state() == QProcess::NotRunning) return;
        scheduler_.kill();
        scheduler_.waitForFinished();
    }
    bool startAgain()
    {
        QFile::remove(socketPath());
        // A test that crashes must not leave its scheduler running.
        scheduler_.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
        scheduler_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        scheduler_.start(find("cupsd"), {"-f", "-c", path("cupsd.conf"), "-s", path("cups-files.conf")});
        QElapsedTimer timer;
        for (timer.start(); timer.elapsed() < 20000;) {
            if (answers()) return true;
            if (scheduler_.waitForFinished(0) || scheduler_.state() == QProcess::NotRunning) break;
            QTest::qSleep(20);
        }
        return refuse("the scheduler does not start: " + log());
    }

    bool addQueue(const QString& name, Paper paper)
    {
        return addQueue(name, paper, u"socket://127.0.0.1:%1/?snmp=false"_s.arg(printer.port()));
    }
    /// A queue whose printer says `reasons` ("media-empty-error ...") whenever it prints, and keeps saying it. Its jobs
    /// and their options are read with complainersJobs().
    bool addComplainingQueue(const QString& name, const QString& reasons)
    {
        return write(path("reasons-" + name), reasons.toUtf8()) && addQueue(name, Paper::roll80, "complainer:/" + name);
    }
    /// Jobs of that complaining queue stay at the printer until it is let go.
    bool holdComplainer(const QString& name) { return write(path("hold-" + name), "1"); }
    bool letComplainerGo(const QString& name) { return QFile::remove(path("hold-" + name)); }
    /// The options that came with the jobs of complaining queues, one job after the other.
    QStringList complainersJobs() const
    {
        QFile file(path("state/complainer-jobs"));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts)
                                              : QStringList();
    }
    /// A queue for slips, which everybody prints on who names none.
    bool addDefault(const QString& name) { return addQueue(name, Paper::roll80) && setDefault(name); }
    bool removeQueue(const QString& name) { return run("lpadmin", {"-x", name}); }
    bool setDefault(const QString& name) { return run("lpadmin", {"-d", name}); }
    /// Of this user only; it outlives the queue.
    bool setUserDefault(const QString& name) { return run("lpoptions", {"-d", name}); }
    bool setUserOption(const QString& name, const QString& option)
    {
        return run("lpoptions", {"-p", name, "-o", option});
    }
    bool stop(const QString& name) { return run("cupsdisable", {name}); }
    bool resume(const QString& name) { return run("cupsenable", {name}); }
    bool reject(const QString& name) { return run("cupsreject", {name}); }
    bool accept(const QString& name) { return run("cupsaccept", {name}); }

    /// "slip-3 ..." for each job that still waits or prints.
    QStringList openJobs()
    {
        QString output;
        run("lpstat", {"-W", "not-completed", "-o"}, &output);
        return output.split(u'\n', Qt::SkipEmptyParts);
    }
    /// The scheduler knows nothing of any job any more, as after an administrator's tidying up; the paper stays.
    bool forgetJobs() { return run("cancel", {"-a", "-x"}); }
    /// Whether the scheduler keeps the document of a job that was printed; it starts again for that.
    bool keepDocuments(bool keep)
    {
        kill();
        return writeSchedulersConfiguration(keep) && startAgain();
    }
    /// Prints a file through the system's own tool.
    bool printFile(const QString& queue, const QString& file) { return run("lp", {"-d", queue, file}); }

    /// What the scheduler wrote into its log, the last lines of it.
    QString log() const
    {
        QFile file(path("error_log"));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll().right(3000)) : QString();
    }

private:
    QString path(const QString& name) const { return folder_->filePath(name); }

    bool refuse(const QString& why)
    {
        whyNot_ = why;
        return false;
    }

    static QString find(const QString& program)
    {
        const QString found = QStandardPaths::findExecutable(program);
        return found.isEmpty() ? QStandardPaths::findExecutable(program, {"/usr/sbin", "/usr/bin", "/sbin"}) : found;
    }

    static bool write(const QString& path, const QByteArray& content)
    {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    }

    bool writeConfiguration()
    {
        for (const QString name : {"root", "spool", "cache", "state", "temp", "home", "bin"})
            if (!QDir(folder_->path()).mkdir(name)) return false;
        const QByteArray own = folder_->path().toUtf8() + "/";
        // The system's programs, and one more printer.
        const QDir programs("/usr/lib/cups");
        for (const QString& entry : programs.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
            if (entry != "backend") QFile::link(programs.filePath(entry), path("bin/" + entry));
        if (!QDir(path("bin")).mkdir("backend")) return false;
        QFile::link(programs.filePath("backend/socket"), path("bin/backend/socket"));
        const QString complainer = path("bin/backend/complainer");
        write(complainer, complainerProgram());
        // For its owner alone: the scheduler runs such a back end as itself, so that it may write its notes.
        QFile::setPermissions(complainer, QFile::Permissions(0x7700));

        return writeSchedulersConfiguration(true) &&
               write(path("cups-files.conf"), "ServerRoot " + own + "root\nRequestRoot " + own + "spool\nCacheDir " +
                                                  own + "cache\nStateDir " + own + "state\nTempDir " + own +
                                                  "temp\nServerBin " + own + "bin\nErrorLog " + own +
                                                  "error_log\nAccessLog " + own + "access_log\nPageLog " + own +
                                                  "page_log\nPrintcap " + own + "printcap\nSandboxing relaxed\n");
    }

    bool writeSchedulersConfiguration(bool keepsDocuments) const
    {
        return write(path("cupsd.conf"),
                     "Listen " + socketPath().toUtf8() +
                         "\nLogLevel info\nMaxLogSize 0\nDirtyCleanInterval 0\nBrowsing Off\nDefaultAuthType None\n"
                         "WebInterface No\nErrorPolicy retry-job\nPreserveJobFiles " +
                         (keepsDocuments ? "86400" : "No") +
                         "\n<Location />\n  Order allow,deny\n  Allow all\n</Location>\n"
                         "<Policy default>\n  <Limit All>\n    Order allow,deny\n    Allow all\n"
                         "  </Limit>\n</Policy>\n");
    }

    /// Reads the job to its end, notes its options and complains.
    QByteArray complainerProgram() const
    {
        const QByteArray own = folder_->path().toUtf8() + "/";
        return "#!/bin/sh\n"
               "[ $# -eq 0 ] && { echo 'direct complainer \"Complainer\" \"Complainer\"'; exit 0; }\n"
               "queue=${DEVICE_URI##*/}\n"
               "cat ${6:+\"$6\"} >/dev/null\n"
               "echo \"$5\" >>" +
               own +
               "state/complainer-jobs\n"
               "for reason in $(cat " +
               own +
               "reasons-$queue); do echo \"STATE: +$reason\" >&2; done\n"
               "while [ -e " +
               own +
               "hold-$queue ]; do sleep 0.1; done\n"
               "exit 0\n";
    }

    bool addQueue(const QString& name, Paper paper, const QString& device)
    {
        if (paper == Paper::raw) return run("lpadmin", {"-p", name, "-E", "-v", device, "-m", "raw"});
        const QString driver = path("driver.ppd");
        return write(driver, driverOf(paper)) && run("lpadmin", {"-p", name, "-E", "-v", device, "-P", driver});
    }

    /// A driver that passes PDF through and says what paper the printer has.
    static QByteArray driverOf(Paper paper)
    {
        struct Sheet {
            QByteArray name;
            int width, height, margin; // points
            int maxHeight;             // 0: no sizes but this one and A4
        };
        const bool roll80 = paper == Paper::roll80 || paper == Paper::filtered;
        const Sheet sheet = roll80                     ? Sheet{"X80MMY200MM", 227, 567, 11, 5670}
                            : paper == Paper::roll58   ? Sheet{"X58MMY100MM", 164, 283, 14, 5670}
                            : paper == Paper::lengths  ? Sheet{"X72MMY3276MM", 204, 9286, 4, 0}
                            : paper == Paper::narrow80 ? Sheet{"X80MMY297MM", 227, 842, 11, 0}
                                                       : Sheet{"A4", 595, 842, 12, 1000};
        const QByteArray width = QByteArray::number(sheet.width);
        const QByteArray height = QByteArray::number(sheet.height);
        const QByteArray right = QByteArray::number(sheet.width - sheet.margin);
        const QByteArray margin = QByteArray::number(sheet.margin);
        const QByteArray topBottom = paper == Paper::a4 ? margin : "0";
        const QByteArray top = QByteArray::number(sheet.height - topBottom.toInt());

        const QByteArray accepted = paper == Paper::filtered ? "application/vnd.cups-pdf" : "application/pdf";
        QByteArray text = "*PPD-Adobe: \"4.3\"\n*FormatVersion: \"4.3\"\n*FileVersion: \"1.0\"\n"
                          "*LanguageVersion: English\n*LanguageEncoding: ISOLatin1\n*PCFileName: \"TEST.PPD\"\n"
                          "*Manufacturer: \"Test\"\n*Product: \"(Test)\"\n*ModelName: \"Test\"\n"
                          "*ShortNickName: \"Test\"\n*NickName: \"Test\"\n*PSVersion: \"(3010.000) 0\"\n"
                          "*LanguageLevel: \"3\"\n*ColorDevice: False\n*DefaultColorSpace: Gray\n*FileSystem: False\n"
                          "*Throughput: \"1\"\n*cupsVersion: 2.4\n*cupsFilter: \"" +
                          accepted + " 0 -\"\n";
        for (const QByteArray option : {"PageSize", "PageRegion"}) {
            text += "*OpenUI *" + option + ": PickOne\n*OrderDependency: 10 AnySetup *" + option + "\n*Default" +
                    option + ": " + sheet.name + "\n*" + option + " " + sheet.name + ": \"\"\n";
            if (sheet.name != "A4") text += "*" + option + " A4: \"\"\n";
            if (paper == Paper::lengths) text += "*" + option + " X72MMY210MM: \"\"\n";
            text += "*CloseUI: *" + option + "\n";
        }
        text += "*DefaultImageableArea: " + sheet.name + "\n*ImageableArea " + sheet.name + ": \"" + margin + " " +
                topBottom + " " + right + " " + top + "\"\n*DefaultPaperDimension: " + sheet.name +
                "\n*PaperDimension " + sheet.name + ": \"" + width + " " + height + "\"\n";
        if (sheet.name != "A4") text += "*ImageableArea A4: \"11 0 584 842\"\n*PaperDimension A4: \"595 842\"\n";
        if (paper == Paper::lengths)
            text += "*ImageableArea X72MMY210MM: \"4 0 200 595\"\n*PaperDimension X72MMY210MM: \"204 595\"\n";
        if (sheet.maxHeight > 0) {
            const QByteArray longest = QByteArray::number(sheet.maxHeight);
            text +=
                "*VariablePaperSize: True\n*MaxMediaWidth: \"" + width + "\"\n*MaxMediaHeight: \"" + longest +
                "\"\n*HWMargins: " + margin + " " + topBottom + " " + margin + " " + topBottom +
                "\n*CustomPageSize True: \"\"\n*ParamCustomPageSize Width: 1 points 72 " + width +
                "\n*ParamCustomPageSize Height: 2 points 72 " + longest +
                "\n*ParamCustomPageSize WidthOffset: 3 points 0 0\n*ParamCustomPageSize HeightOffset: 4 points 0 0\n"
                "*ParamCustomPageSize Orientation: 5 int 0 0\n";
        }
        return text + "*DefaultFont: Courier\n*Font Courier: Standard \"(1.05)\" Standard ROM\n";
    }

    bool answers() const
    {
        const int probe = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray name = socketPath().toUtf8();
        if (name.size() >= qsizetype(sizeof address.sun_path)) return false;
        std::copy(name.begin(), name.end(), address.sun_path);
        const bool connected = ::connect(probe, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        ::close(probe);
        return connected;
    }

    bool run(const QString& program, const QStringList& arguments, QString* output = nullptr)
    {
        QProcess process;
        process.start(find(program), arguments);
        const bool ended = process.waitForFinished(20000) && process.exitStatus() == QProcess::NormalExit;
        if (output) *output = QString::fromUtf8(process.readAllStandardOutput());
        if (ended && process.exitCode() == 0) return true;
        return refuse(program + ": " + QString::fromUtf8(process.readAllStandardError()) + log());
    }

    std::unique_ptr<QTemporaryDir> folder_;
    QProcess scheduler_;
    QString whyNot_;
};

/// A scheduler that takes connections and never answers.
class SilentScheduler {
public:
    SilentScheduler()
    {
        listener_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray name = path().toUtf8();
        std::copy(name.begin(), name.end(), address.sun_path);
        good_ = ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
                ::listen(listener_, 8) == 0;
    }
    ~SilentScheduler() { ::close(listener_); }
    SilentScheduler(const SilentScheduler&) = delete;
    SilentScheduler& operator=(const SilentScheduler&) = delete;

    bool good() const { return good_; }
    QString path() const { return folder_.filePath("cups.sock"); }

private:
    QTemporaryDir folder_{"/tmp/presva-silent-XXXXXX"};
    int listener_ = -1;
    bool good_ = false;
};
