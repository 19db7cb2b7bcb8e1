#include "tools/scenario_world.h"

#include "base/error.h"

using namespace Qt::StringLiterals;

namespace scenario {

QString AnsweringPrompt::answer(const QString& message, const QStringList& captions)
{
    lastMessage_ = message;
    if (answers_.isEmpty()) {
        if (fault_.isEmpty()) fault_ = u"a message box that nobody answers: "_s + message;
        return captions.last();
    }
    QString given = answers_.dequeue().arguments[0];
    if (!captions.contains(given)) {
        if (fault_.isEmpty()) fault_ = u"the box has no button '%1' but %2"_s.arg(given, captions.join(", "_L1));
        return captions.last();
    }
    return given;
}

std::optional<Command> AnsweringPrompt::unusedAnswer() const
{
    return answers_.isEmpty() ? std::nullopt : std::optional(answers_.head());
}

void AnsweringPrompt::exclamation(const QString& text) { answer(text, {u"Tamam"_s}); }

void AnsweringPrompt::errorReport(const base::RuntimeError& error) { answer(error.text(), {u"Tamam"_s}); }

bool AnsweringPrompt::yesNo(const QString& text, const QString& title)
{
    return answer(title + ": "_L1 + text, {u"Evet"_s, u"Hayır"_s}) == "Evet"_L1;
}

std::optional<app::FontChoice> AnsweringPrompt::chooseFont(const app::FontChoice& preset)
{
    const QString message = u"Yazı Tipi: %1 %2"_s.arg(preset.name).arg(preset.size);
    if (answer(message, {u"Tamam"_s, u"İptal"_s}) == "Tamam"_L1) return preset;
    return std::nullopt;
}

void WatchedTarget::sendAndFinish(int job, const print::Document& document)
{
    target_->sendAndFinish(job, document);
    ++printed_;
    lastPdf_ = document.pdf;
}

} // namespace scenario
