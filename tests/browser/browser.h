#pragma once

#include <QByteArray>
#include <QImage>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <sys/types.h>

/// Chromium without a window, driven by its own protocol over two pipes. It can reach no host but this one.
/// What goes wrong between us and it ends the test program with a sentence.
class Browser {
public:
    Browser();
    ~Browser();
    Browser(const Browser&) = delete;
    Browser& operator=(const Browser&) = delete;

    /// Opens a file and returns when it is loaded and its scripts have run.
    void open(const QString& path);
    void openAddress(const QString& address);
    /// To be called at once after the opening of a page that leads to another by itself; returns when that is loaded.
    void awaitNextPage();
    void trustAnyCertificate();
    void resize(int width, int height);
    void prefer(const QString& colours); ///< "light" or "dark"
    void click(const QString& selector); ///< with the mouse, in the middle of the first such element
    void type(const QString& text);      ///< into whatever has the focus
    /// The value of an expression of the page.
    QJsonValue valueOf(const QString& expression);
    QImage picture();                          ///< what the window shows
    QImage pictureOf(const QString& selector); ///< of one element
    QImage wholePicture();
    QByteArray printed(); ///< a PDF

    /// Everything that the page has asked for since it was opened.
    const QStringList& requests() const { return requests_; }
    /// Errors of its scripts and complaints of the browser.
    const QStringList& complaints() const { return complaints_; }

private:
    QJsonObject call(const QString& method, const QJsonObject& parameters = {});
    QJsonObject next();
    void awaitPicture();
    void note(const QJsonObject& event);
    QImage screenshot(const QJsonObject& parameters);

    QTemporaryDir profile_;
    pid_t process_ = -1;
    int toBrowser_ = -1;
    int fromBrowser_ = -1;
    QByteArray unread_;
    QString session_;
    int calls_ = 0;
    bool loaded_ = false;
    QStringList requests_;
    QStringList complaints_;
};
