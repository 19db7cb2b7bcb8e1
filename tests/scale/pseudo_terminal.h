#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>
#include <fcntl.h>
#include <pty.h>
#include <stdexcept>
#include <termios.h>
#include <unistd.h>

/// The scale's end of a pseudo-terminal: a serial line that can really be pulled out.
class PseudoTerminal {
public:
    PseudoTerminal()
    {
        int slave = -1;
        char name[64] = {};
        termios raw = {};
        cfmakeraw(&raw);
        if (openpty(&master_, &slave, name, &raw, nullptr) != 0) throw std::runtime_error("openpty");
        ::close(slave);
        // A name of its own: the system gives the number of a terminal that has gone to the next test at once.
        path_ = folder_.filePath("ttyScale");
        if (::symlink(name, path_.toLocal8Bit().constData()) != 0) throw std::runtime_error("symlink");
    }
    ~PseudoTerminal() { pullOut(); }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    QString path() const { return path_; }
    void send(const QByteArray& bytes)
    {
        if (::write(master_, bytes.constData(), static_cast<std::size_t>(bytes.size())) != bytes.size())
            throw std::runtime_error("write");
    }
    /// Whoever has opened the line has set this speed, in bits a second.
    bool isAtSpeed(int speed) const
    {
        termios settings = {};
        if (tcgetattr(master_, &settings) != 0) return false;
        switch (speed) {
        case 1200:
            return cfgetospeed(&settings) == B1200;
        case 4800:
            return cfgetospeed(&settings) == B4800;
        case 9600:
            return cfgetospeed(&settings) == B9600;
        case 19200:
            return cfgetospeed(&settings) == B19200;
        default:
            throw std::runtime_error("speed");
        }
    }
    /// The cable is out: the device node goes, and whoever holds it open reads nothing any more.
    void pullOut()
    {
        if (master_ < 0) return;
        ::unlink(path_.toLocal8Bit().constData());
        ::close(master_);
        master_ = -1;
    }

private:
    QTemporaryDir folder_;
    int master_ = -1;
    QString path_;
};
