#pragma once

#include "scale/comm_control.h"
#include "scale/line_settings.h"

#include <QHash>
#include <QStringList>
#include <functional>
#include <utility>

/// A control over no line at all: it writes down what is done to it and fails where a test wants it to.
class FakeCommControl : public scale::CommControl {
public:
    int commPort() const override { return port; }
    void setCommPort(int number) override
    {
        step(QStringLiteral("port=%1").arg(number));
        port = number;
    }
    QString settings() const override { return line; }
    void setSettings(const QString& text) override
    {
        step(QStringLiteral("settings=%1").arg(text));
        const auto parsed = scale::parseLineSettings(text);
        if (!parsed) throw scale::commError(base::errors::invalidProperty);
        line = parsed->text();
    }
    int handshaking() const override { return flow; }
    void setHandshaking(int mode) override
    {
        step(QStringLiteral("flow=%1").arg(mode));
        flow = mode;
    }
    bool portOpen() const override { return open; }
    void setPortOpen(bool wanted) override
    {
        if (wanted && onOpen) onOpen();
        step(wanted ? QStringLiteral("open") : QStringLiteral("close"));
        if (wanted && open) throw scale::commError(scale::errors::alreadyOpen);
        open = wanted;
    }
    QString input() override { return std::exchange(burst, {}); }
    int inBufferCount() const override { return static_cast<int>(burst.size()); }
    int outBufferCount() const override { return 0; }
    void setInBufferCount(int count) override
    {
        step(QStringLiteral("in=%1").arg(count));
        burst.clear();
    }
    void setOutBufferCount(int count) override { step(QStringLiteral("out=%1").arg(count)); }
    int commEvent() const override { return event; }

    int port = 2;
    QString line = QStringLiteral("9600,n,8,1");
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
