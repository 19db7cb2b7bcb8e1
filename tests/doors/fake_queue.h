#pragma once

#include "platform/print_queue.h"

#include <QByteArray>
#include <QStringList>
#include <functional>
#include <set>

using namespace Qt::StringLiterals;

/// What the print system knows; it outlives the program that prints. A copy is the print system at that moment.
struct FakeSpool {
    platform::QueueState state; ///< of its queue
    QString failAt;             ///< the call that is refused: create, start, write, draw or finish

    int jobs = 0;        ///< the number of the job created last
    std::set<int> taken; ///< jobs whose document it has whole
    std::set<int> cancelled;
    QStringList calls;          ///< in their order: create, start, write, finish, cancel NUMBER
    platform::JobTicket ticket; ///< of the job created last
    QByteArray received;        ///< of its document
    bool drawsPages = false;    ///< its printers are drawn on
    platform::Drawing drawn;    ///< by the job created last
};

/// A print queue that notes every call in its spool and fails at the one a test names.
class FakeQueue : public platform::PrintQueue {
public:
    /// `moment` runs before and after each step of a job.
    explicit FakeQueue(
        FakeSpool& spool, std::function<void()> moment = [] {})
        : spool_(spool), moment_(std::move(moment))
    {
    }

    platform::QueueState state() noexcept override { return spool_.state; }
    int createJob(const platform::JobTicket& ticket) override
    {
        step("create", [&] {
            spool_.ticket = ticket;
            spool_.received.clear();
            ++spool_.jobs;
        });
        return spool_.jobs;
    }
    void startDocument() override
    {
        step("start", [] {});
    }
    void write(std::span<const std::byte> bytes) override
    {
        step("write", [&] {
            spool_.received.append(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size()));
        });
    }
    bool drawsPages() const override { return spool_.drawsPages; }
    void draw(const platform::Drawing& drawing) override
    {
        step("draw", [&] { spool_.drawn = drawing; });
    }
    void finishDocument() override
    {
        step("finish", [this] { spool_.taken.insert(spool_.jobs); });
    }
    void cancelJob(int job) noexcept override
    {
        spool_.calls << u"cancel %1"_s.arg(job);
        spool_.cancelled.insert(job);
    }
    platform::DocumentState documentState(int job) noexcept override
    {
        using enum platform::DocumentState;
        return spool_.taken.contains(job) ? taken : job <= spool_.jobs ? notTaken : unknown;
    }

    std::string markOf(int job) const override { return "Kasa\nFiş " + std::to_string(job); }
    std::string queueOf(int) const override { return "Kasa"; }
    void recall(int job, const std::string& mark) override
    {
        spool_.calls << u"recall %1 %2"_s.arg(job).arg(QString::fromStdString(mark));
    }
    void settle(int job) noexcept override { spool_.calls << u"settle %1"_s.arg(job); }

private:
    template <class Action> void step(const char* name, Action&& action)
    {
        moment_();
        spool_.calls << QLatin1String(name);
        if (spool_.failAt == QLatin1String(name)) throw platform::PrintError(std::string(name) + " refused");
        action();
        moment_();
    }

    FakeSpool& spool_;
    std::function<void()> moment_;
};
