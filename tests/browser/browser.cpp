#include "tests/browser/browser.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QUrl>

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr int patience = 60'000; ///< milliseconds for one answer, on a busy machine

/// The end of a pipe under a number that no standard place has.
int kept(int end)
{
    const int high = fcntl(end, F_DUPFD_CLOEXEC, 20);
    close(end);
    return high;
}

struct Pipe {
    int read, write;
};

Pipe makePipe()
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) qFatal("no pipe to the browser");
    return {kept(ends[0]), kept(ends[1])};
}

} // namespace

Browser::Browser()
{
    const Pipe orders = makePipe();
    const Pipe answers = makePipe();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, orders.read, 3);
    posix_spawn_file_actions_adddup2(&actions, answers.write, 4);
    for (const int output : {1, 2}) posix_spawn_file_actions_addopen(&actions, output, "/dev/null", O_WRONLY, 0);
    const QByteArray profile = "--user-data-dir=" + profile_.path().toUtf8();
    std::vector<const char*> arguments = {"chromium",
                                          "--headless=new",
                                          "--remote-debugging-pipe",
                                          profile.constData(),
                                          "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1",
                                          "--no-sandbox",
                                          "--disable-gpu",
                                          "--no-first-run",
                                          "--hide-scrollbars",
                                          "--disable-dev-shm-usage",
                                          "--disable-background-networking",
                                          "--disable-component-update",
                                          "--disable-extensions",
                                          "--lang=tr",
                                          nullptr};
    const int fault =
        posix_spawnp(&process_, "chromium", &actions, nullptr, const_cast<char**>(arguments.data()), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(orders.read);
    close(answers.write);
    if (fault != 0) qFatal("chromium is not installed: scripts/ensure-packages test");
    toBrowser_ = orders.write;
    fromBrowser_ = answers.read;

    const QString page = call(u"Target.createTarget"_s, {{u"url"_s, u"about:blank"_s}})[u"targetId"_s].toString();
    session_ =
        call(u"Target.attachToTarget"_s, {{u"targetId"_s, page}, {u"flatten"_s, true}})[u"sessionId"_s].toString();
    for (const char* domain : {"Page.enable", "Network.enable", "Runtime.enable", "Log.enable"})
        call(QString::fromLatin1(domain));
}

Browser::~Browser()
{
    close(toBrowser_);
    close(fromBrowser_);
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
}

QJsonObject Browser::next()
{
    while (!unread_.contains('\0')) {
        pollfd ready{fromBrowser_, POLLIN, 0};
        if (poll(&ready, 1, patience) <= 0) {
            kill(process_, SIGKILL); // nobody else would
            qFatal("chromium does not answer");
        }
        std::array<char, 65536> piece{};
        const ssize_t count = read(fromBrowser_, piece.data(), piece.size());
        if (count <= 0) qFatal("chromium has ended");
        unread_.append(piece.data(), count);
    }
    const qsizetype end = unread_.indexOf('\0');
    QJsonObject message = QJsonDocument::fromJson(unread_.first(end)).object();
    unread_.remove(0, end + 1);
    return message;
}

void Browser::note(const QJsonObject& event)
{
    const QString method = event[u"method"_s].toString();
    const QJsonObject parameters = event[u"params"_s].toObject();
    if (method == "Page.loadEventFired"_L1)
        loaded_ = true;
    else if (method == "Network.requestWillBeSent"_L1)
        requests_ << parameters[u"request"_s][u"url"_s].toString();
    else if (method == "Runtime.exceptionThrown"_L1)
        complaints_ << QString::fromUtf8(QJsonDocument(parameters).toJson());
    else if (method == "Log.entryAdded"_L1)
        complaints_ << parameters[u"entry"_s][u"text"_s].toString();
}

QJsonObject Browser::call(const QString& method, const QJsonObject& parameters)
{
    QJsonObject order{{u"id"_s, ++calls_}, {u"method"_s, method}, {u"params"_s, parameters}};
    if (!session_.isEmpty()) order[u"sessionId"_s] = session_;
    QByteArray text = QJsonDocument(order).toJson(QJsonDocument::Compact);
    text.append('\0');
    for (qsizetype sent = 0; sent < text.size();) {
        const ssize_t count = write(toBrowser_, text.constData() + sent, static_cast<std::size_t>(text.size() - sent));
        if (count < 0 && errno != EINTR) qFatal("chromium takes no orders");
        sent += std::max<ssize_t>(count, 0);
    }
    for (;;) {
        const QJsonObject message = next();
        if (message[u"id"_s].toInt() != calls_) {
            note(message);
            continue;
        }
        if (message.contains(u"error"_s))
            qFatal("%s: %s", qPrintable(method), qPrintable(message[u"error"_s][u"message"_s].toString()));
        return message[u"result"_s].toObject();
    }
}

void Browser::open(const QString& path) { openAddress(QUrl::fromLocalFile(path).toString()); }

void Browser::trustAnyCertificate() { call(u"Security.setIgnoreCertificateErrors"_s, {{u"ignore"_s, true}}); }

void Browser::openAddress(const QString& address)
{
    requests_.clear();
    complaints_.clear();
    loaded_ = false;
    call(u"Page.navigate"_s, {{u"url"_s, address}});
    while (!loaded_) note(next());
}

void Browser::awaitNextPage()
{
    loaded_ = false;
    while (!loaded_) note(next());
}

void Browser::awaitPicture()
{
    // What is drawn to measure follows with the next picture, and what that changes with the one behind it.
    valueOf(u"new Promise(done => requestAnimationFrame(() => requestAnimationFrame(() => done(1))))"_s);
}

void Browser::resize(int width, int height)
{
    call(u"Emulation.setDeviceMetricsOverride"_s,
         {{u"width"_s, width}, {u"height"_s, height}, {u"deviceScaleFactor"_s, 1}, {u"mobile"_s, width < 600}});
    awaitPicture();
}

void Browser::prefer(const QString& colours)
{
    const QJsonObject feature{{u"name"_s, u"prefers-color-scheme"_s}, {u"value"_s, colours}};
    call(u"Emulation.setEmulatedMedia"_s, {{u"features"_s, QJsonArray{feature}}});
    awaitPicture();
}

void Browser::click(const QString& selector)
{
    valueOf(u"document.querySelector('%1').scrollIntoView({block: 'center'})"_s.arg(selector));
    const QJsonValue box = valueOf(u"document.querySelector('%1').getBoundingClientRect().toJSON()"_s.arg(selector));
    QJsonObject mouse{{u"x"_s, box[u"x"_s].toDouble() + box[u"width"_s].toDouble() / 2},
                      {u"y"_s, box[u"y"_s].toDouble() + box[u"height"_s].toDouble() / 2},
                      {u"button"_s, u"left"_s},
                      {u"clickCount"_s, 1}};
    for (const char* step : {"mousePressed", "mouseReleased"}) {
        mouse[u"type"_s] = QString::fromLatin1(step);
        call(u"Input.dispatchMouseEvent"_s, mouse);
    }
}

void Browser::type(const QString& text) { call(u"Input.insertText"_s, {{u"text"_s, text}}); }

QJsonValue Browser::valueOf(const QString& expression)
{
    const QJsonObject answer = call(
        u"Runtime.evaluate"_s, {{u"expression"_s, expression}, {u"returnByValue"_s, true}, {u"awaitPromise"_s, true}});
    if (answer.contains(u"exceptionDetails"_s)) qFatal("%s fails in the page", qPrintable(expression));
    return answer[u"result"_s][u"value"_s];
}

QImage Browser::screenshot(const QJsonObject& parameters)
{
    const QJsonObject answer = call(u"Page.captureScreenshot"_s, parameters);
    return QImage::fromData(QByteArray::fromBase64(answer[u"data"_s].toString().toLatin1()), "PNG")
        .convertToFormat(QImage::Format_RGB32);
}

QImage Browser::picture() { return screenshot({}); }

QImage Browser::pictureOf(const QString& selector)
{
    valueOf(u"document.querySelector('%1').scrollIntoView({block: 'center'})"_s.arg(selector));
    const QJsonValue box = valueOf(u"(box => ({x: box.x + scrollX, y: box.y + scrollY, width: box.width, "
                                   "height: box.height, scale: 1}))"
                                   "(document.querySelector('%1').getBoundingClientRect())"_s.arg(selector));
    return screenshot({{u"clip"_s, box}});
}

QImage Browser::wholePicture()
{
    // Drawings follow the window's size a moment later: it must be as tall as the page before the picture is taken.
    const int width = valueOf(u"innerWidth"_s).toInt();
    const int height = valueOf(u"innerHeight"_s).toInt();
    resize(width, valueOf(u"document.documentElement.scrollHeight"_s).toInt());
    QImage whole = picture();
    resize(width, height);
    return whole;
}

QByteArray Browser::printed()
{
    const QJsonObject answer =
        call(u"Page.printToPDF"_s, {{u"preferCSSPageSize"_s, true}, {u"printBackground"_s, true}});
    return QByteArray::fromBase64(answer[u"data"_s].toString().toLatin1());
}
