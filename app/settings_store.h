#pragma once

#include "platform/registry.h"
#include <QString>
#include <memory>

namespace app {

/// The user's choices: texts addressed by application name, section and key.
///
/// Windows keeps them in the registry branch that such programs have always used. Elsewhere every application name has
/// one INI file in the user's configuration folder, with one previous copy beside it ("... .ini.previous").
///
/// What always holds: a value is a text and comes back letter for letter; reading looks at the store every time, so a
/// change by hand or by a second program counts at once; saving has reached the disk when it returns. Names are looked
/// up ignoring letter case. A key that exists with an empty text gives the empty text, not the default.
///
/// A file that cannot be made sense of (a hard stop, a slip of the editor) is never written over: reading falls back to
/// the previous copy, and the next saving puts the bad file aside ("... .ini.damaged") before it writes. A file that
/// must not be read or written makes saving fail with error 75 (base::errors::pathAccess).
class SettingsStore {
public:
    SettingsStore(); ///< the user's own: the registry where there is one, else files in the configuration folder
    explicit SettingsStore(QString folder); ///< files in that folder
    explicit SettingsStore(std::unique_ptr<platform::Registry> registry);

    QString get(const QString& application, const QString& section, const QString& key, const QString& otherwise) const;
    void save(const QString& application, const QString& section, const QString& key, const QString& text);

    /// A stored Boolean; error 13 unless it is one of the two words. A number is not accepted here.
    bool flag(const QString& application, const QString& section, const QString& key, bool otherwise = false) const;
    void saveFlag(const QString& application, const QString& section, const QString& key, bool value);

private:
    QString fileOf(const QString& application) const;

    std::unique_ptr<platform::Registry> registry_; ///< null: files
    QString folder_;
};

/// The executable's file name without extension, as it is at run time: the application name of the keypad's setting.
QString executableName();

} // namespace app
