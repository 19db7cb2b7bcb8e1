#pragma once

#include "app/prompt.h"
#include "base/error.h"

#include <QList>
#include <QStringList>
#include <functional>

/// Stands in for the message boxes: answers as told beforehand, without showing anything, and remembers what was asked.
class FakePrompt : public app::Prompt {
public:
    void exclamation(const QString& text) override
    {
        exclamations << text;
        shown(text);
    }
    void errorReport(const base::RuntimeError& error) override
    {
        errors << error.number();
        shown(error.text());
    }
    bool yesNo(const QString& text, const QString& title) override
    {
        questions << title + u'|' + text;
        shown(text);
        return answer;
    }
    std::optional<app::FontChoice> chooseFont(const app::FontChoice& preset) override
    {
        fontPresets << preset;
        return takesPresetFont ? preset : font;
    }

    bool answer = false;                            ///< to every question
    std::optional<app::FontChoice> font;            ///< what is chosen in the font dialog; nothing: it is cancelled
    bool takesPresetFont = false;                   ///< the font dialog is confirmed as it opens, whatever `font` is
    std::function<void(const QString& text)> onBox; ///< runs while a box is shown; what it throws comes out of the box

    QStringList exclamations;
    QList<int> errors;                  ///< the numbers of the errors reported
    QStringList questions;              ///< each as title|text
    QList<app::FontChoice> fontPresets; ///< what the font dialog was opened on

private:
    void shown(const QString& text) const
    {
        if (onBox) onBox(text);
    }
};
