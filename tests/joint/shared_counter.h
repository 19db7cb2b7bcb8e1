#pragma once

#include "counter/booking.h"
#include "counter/register.h"
#include "mill/queries.h"
#include "platform/system_disk.h"
#include "store/jet_engine.h"
#include "store/joint/shared_databases.h"
#include "store/postgres/server_settings.h"

#include <QElapsedTimer>
#include <QThread>
#include <algorithm>
#include <functional>
#include <optional>

using namespace Qt::StringLiterals;

/// A counter without its window: the file of a folder, its line to the server, and what an operator does.
class SharedCounter {
public:
    explicit SharedCounter(const QString& folder, bool connected = true) : folder_(folder)
    {
        for (store::DataSource* source : {&customers_, &journal_}) source->setDatabaseName(folder + u"/Yag.mdb"_s);
        customers_.setRecordSource(mill::customerTable);
        journal_.setRecordSource(mill::pressingsWhere(mill::totalsCriteria));
        customers_.refresh();
        journal_.refresh();
        engine_ = databases_.sharedEngine(folder + u"/Yag.mdb"_s);
        if (!engine_) throw std::runtime_error("the file is in no shared register");
        engine_->onWaiting([this](const auto& changes) {
            if (line_) line_->bring(changes);
        });
        if (connected) connect();
    }
    ~SharedCounter() { engine_->onWaiting({}); }

    void connect()
    {
        line_.emplace(postgres::readServerSettings(platform::systemDisk(), folder_.toStdString()), engine_->place(),
                      engine_->waiting(), [] {});
        pending_.clear();
    }
    void disconnect()
    {
        line_.reset();
        pending_.clear();
    }

    bool press(const QString& customer, double olives, const QString& percentage = u"12"_s)
    {
        store::SlipNote slip;
        slip.moment = 46000 + olives / 100000;
        const auto shown = [](double number) { return QString::number(number, 'f', 2).replace(u'.', u','); };
        slip.pressing = {customer, shown(olives), shown(olives / 5), percentage, u"1"_s, u"0"_s, u"10 Litrelik Kap"_s};
        return counter::book(customers_, journal_, slip, base::Regional::turkish());
    }
    void add(const QString& customer) { register_.add(customer); }
    void erase(const QString& customer)
    {
        register_.makeCurrent(customer);
        register_.eraseCurrent();
    }
    void eraseAll() { register_.eraseAll(); }
    store::Engine& engine() { return *engine_; }
    shared::SharedEngine& shared() { return *engine_; }

    /// What others did comes in, a slice at a time. True when there was something.
    bool take(std::size_t slice = 50)
    {
        if (!line_) return false;
        postgres::News news = line_->take();
        why = news.why;
        clock = news.clock;
        connected = news.connected;
        pending_.insert(pending_.end(), news.lines.begin(), news.lines.end());
        if (pending_.empty()) return false;
        while (!engine_->getReady()) QThread::msleep(1);
        const std::size_t count = std::min(slice, pending_.size());
        engine_->take(std::span(pending_).first(count));
        pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(count));
        return true;
    }
    /// Until that holds; false after a minute.
    bool until(const std::function<bool()>& holds)
    {
        QElapsedTimer time;
        for (time.start(); time.elapsed() < 60000;) {
            if (holds()) return true;
            if (!take()) QThread::msleep(5);
        }
        return false;
    }
    /// Everything of its own is confirmed, and the file knows the history up to there.
    bool settled(std::int64_t number)
    {
        return until([&] { return engine_->waiting().empty() && engine_->place().number >= number; });
    }

    std::string why, clock;
    bool connected = false;

protected:
    QString folder_;
    store::JetDatabases files_{platform::systemDisk()};
    shared::SharedDatabases databases_{files_};
    store::DataSource customers_{databases_}, journal_{databases_};

private:
    counter::Register register_{customers_, base::Regional::turkish(), {}};
    std::shared_ptr<shared::SharedEngine> engine_;
    std::optional<postgres::SharedLine> line_;
    std::vector<postgres::HistoryLine> pending_;
};
