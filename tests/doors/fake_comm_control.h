#pragma once

#include "scale/comm_control.h"
#include "scale/line_settings.h"

#include <QHash>
#include <QStringList>
#include <functional>
#include <utility>

using namespace Qt::StringLiterals;

/// A control over no line at all: it writes down what is done to it and fails where a test wants it to.
class FakeCommControl : public scale::CommControl {
public:
    int commPort() const override { return port; }
    void setCommPort(int number) override
    {
        step(u"port=%1"_s.arg(number));
        port = number;
    }
    QString settings() const override { return line; }
    void setSettings(const QString& text) override
    {
        step(u"settings=%1"_s.arg(text));
        const auto parsed = scale::parseLineSettings(text);
        if (!parsed) throw scale::commError(base::errors::invalidProperty);
        line = parsed->text();
    }
    int handshaking() const override { return flow; }
    void setHandshaking(int mode) override
    {
        step(u"flow=%1"_s.arg(mode));
        flow = mode;
    }
    bool portOpen() const override { return open; }
    void setPortOpen(bool wanted) override
    {
        if (wanted && onOpen) onOpen();
        step(wanted ? u"open"_s : u"close"_s);
        if (wanted && open) throw scale::commError(scale::errors::alreadyOpen);
        open = wanted;
    }
    QString input() override { return std::exchange(burst, {}); }
    int inBufferCount() const override { return static_cast<int>(burst.size()); }
    int outBufferCount() const override { return 0; }
    void setInBufferCount(int count) override
    {
        step(u"in=%1"_s.arg(count));
        burst.clear();
    }
    void setOutBufferCount(int count) override { step(u"out=%1"_s.arg(count)); }
    int commEvent() const override { return event; }

    int port = 2;
    QString line = u"9600,n,8,1"_s;
    int flow = 0;
    bool open = false;
    QString burst; ///< what can be read
    int event = scale::events::received;

    std::function<void()> onOpen; ///< what a test wants to see when the port is to be opened
    QStringList steps;            ///< in their order: port=3, settings=..., flow=0, open, close, in=0, out=0
    QHash<QString, int> failures; ///< step and the error it raises; its property stays as it was

private:
    void step(const QString& text)
    {
        steps += text;
        if (failures.contains(text)) throw scale::commError(failures.value(text));
    }
};
