#pragma once

#include <QImage>
#include <QString>

struct _XDisplay; // NOLINT(bugprone-reserved-identifier): so does Xlib name it

/// The window of a process on an X server, as a person in front of it has it: seen, and closed by its button.
class WindowOf {
public:
    WindowOf(const QString& display, qint64 process);
    ~WindowOf();
    WindowOf(const WindowOf&) = delete;
    WindowOf& operator=(const WindowOf&) = delete;

    bool isShown() const;   ///< the process has a window of a screen's size in front of people
    QImage picture() const; ///< null while there is none
    void close() const;     ///< asks for it, as a window manager does

private:
    unsigned long find() const; ///< 0: none

    _XDisplay* display_;
    qint64 process_;
};

/// The picture shows the keypad's keys, which the counter paints once it stands ready.
bool holdsKeypad(const QImage& picture);
