#pragma once

#include "base/error.h"
#include "print/print_target.h"

#include <QList>
#include <QStringList>
#include <functional>
#include <optional>
#include <set>
#include <vector>

using namespace Qt::StringLiterals;

/// A printer that takes jobs over and keeps them, and fails where a test wants it to.
class FakePrinter : public print::PrintTarget {
public:
    enum class Step { paper, create, send };

    print::Paper paper() override
    {
        ++asked;
        reach(Step::paper);
        return sheet;
    }
    int createJob(const print::Document&) override
    {
        reach(Step::create);
        waiting.insert(++last_);
        return last_;
    }
    void sendAndFinish(int job, const print::Document& document) override
    {
        waiting.erase(job);
        reach(Step::send);
        if (!document.pdf.startsWith("%PDF")) throw base::runtimeError(base::errors::printer);
        sent << job;
        if (keepsDocuments) printed.push_back(document);
        if (answersGetLost) throw base::runtimeError(base::errors::printer);
    }
    void cancel(int job) noexcept override
    {
        waiting.erase(job);
        cancelled << job;
    }
    print::Taken taken(int job) override
    {
        if (silent) throw base::runtimeError(base::errors::printer);
        if (forgetful) return print::Taken::unknown;
        if (sent.contains(job)) return print::Taken::yes;
        return job <= last_ || waiting.contains(job) ? print::Taken::no : print::Taken::unknown;
    }
    QString markOf(int job) const override { return marks ? u"Kasa\nFiş %1"_s.arg(job) : QString(); }
    QString printerOf(int) const override { return marks ? u"Kasa"_s : QString(); }
    void recall(int job, const QString& mark) override { recalled << u"%1 %2"_s.arg(job).arg(mark); }
    void settle(int job) noexcept override { settled << job; }
    QString stateText() noexcept override { return {}; }

    print::Paper sheet = print::Paper::slipRoll80();
    std::optional<Step> failAt;       ///< every job fails there
    std::function<void(Step)> before; ///< runs before each step; what it throws is that step's failure
    bool keepsDocuments = true;
    bool silent = false;         ///< cannot be asked what became of a job
    bool forgetful = false;      ///< knows nothing of any job any more
    bool answersGetLost = false; ///< takes the job over, and nobody hears of it

    std::vector<print::Document> printed; ///< what was taken over
    QList<int> sent;                      ///< the numbers of what was taken over
    QList<int> cancelled;
    QList<int> settled;
    bool marks = false;    ///< gives its numbers anew
    QStringList recalled;  ///< number and mark of each
    std::set<int> waiting; ///< created and neither sent nor cancelled
    int asked = 0;         ///< for its paper

private:
    void reach(Step step) const
    {
        if (before) before(step);
        if (failAt == step) throw base::runtimeError(base::errors::printer);
    }

    int last_ = 0;
};
