#pragma once

#include "app/prompt.h"
#include "print/print_target.h"
#include "tools/scenario_script.h"

#include <QByteArray>
#include <QQueue>
#include <QString>
#include <memory>
#include <optional>

namespace scenario {

/// Answers message boxes from a queue of `answer` commands, as an operator who knows what is coming.
class AnsweringPrompt : public app::Prompt {
public:
    void answerNext(const Command& answer) { answers_.enqueue(answer); }
    const QString& lastMessage() const { return lastMessage_; }
    /// The first box that came without an answer, or an answer that its box does not have; empty when all went well.
    const QString& fault() const { return fault_; }
    /// The oldest answer for which no box has come yet.
    std::optional<Command> unusedAnswer() const;

    void exclamation(const QString& text) override;
    void errorReport(const base::RuntimeError& error) override;
    bool yesNo(const QString& text, const QString& title) override;
    std::optional<app::FontChoice> chooseFont(const app::FontChoice& preset) override;

private:
    QString answer(const QString& message, const QStringList& captions);

    QQueue<Command> answers_;
    QString lastMessage_;
    QString fault_;
};

/// Passes jobs on and keeps the last one that was printed, so that a scenario can read it.
class WatchedTarget : public print::PrintTarget {
public:
    explicit WatchedTarget(std::unique_ptr<print::PrintTarget> target) : target_(std::move(target)) {}

    print::Paper paper() override { return target_->paper(); }
    int createJob(const print::Document& document) override { return target_->createJob(document); }
    void sendAndFinish(int job, const print::Document& document) override;
    void cancel(int job) noexcept override { target_->cancel(job); }
    print::Taken taken(int job) override { return target_->taken(job); }
    QString markOf(int job) const override { return target_->markOf(job); }
    void recall(int job, const QString& mark) override { target_->recall(job, mark); }
    void settle(int job) noexcept override { target_->settle(job); }
    QString stateText() noexcept override { return target_->stateText(); }

    int printed() const { return printed_; }
    const QByteArray& lastPdf() const { return lastPdf_; }

private:
    std::unique_ptr<print::PrintTarget> target_;
    int printed_ = 0;
    QByteArray lastPdf_;
};

} // namespace scenario
