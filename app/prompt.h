#pragma once

#include <QString>
#include <optional>

namespace base {
class RuntimeError;
}

namespace app {

/// A font as the operator chooses it for printing.
struct FontChoice {
    QString name;
    float size = 8; ///< points
    bool bold = false;
    bool italic = false;
};

/// The message boxes, as a door that tests can stand in.
class Prompt {
public:
    virtual ~Prompt() = default;

    /// A note with the exclamation icon, titled with the program's title.
    virtual void exclamation(const QString& text) = 0;
    /// The report of an error that no rule handled. While one is open, further ones are only logged.
    virtual void errorReport(const base::RuntimeError& error) = 0;
    /// A question with the critical icon, "No" being the default; true for yes. Closing the box means no.
    virtual bool yesNo(const QString& text, const QString& title) = 0;
    /// The font dialog, opened on `preset`; nothing when it was cancelled.
    virtual std::optional<FontChoice> chooseFont(const FontChoice& preset) = 0;

    /// Does beforehand, some milliseconds, what the first box of each kind would make its reader wait for.
    virtual void getReady() {}
};

} // namespace app
