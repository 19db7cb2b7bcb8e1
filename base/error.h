#pragma once

#include <QString>
#include <exception>

namespace base {

/// An action that cannot go on, with the number and the text that the operator is shown.
/// Thrown by conversions, record sets, the serial control and the printer; it ends at the
/// handler that began the action, never in the event loop.
class RuntimeError : public std::exception {
public:
    RuntimeError(int number, QString text);

    int number() const noexcept { return number_; }
    const QString& text() const noexcept { return text_; }
    const char* what() const noexcept override { return utf8_.constData(); }

private:
    int number_;
    QString text_;
    QByteArray utf8_;
};

/// Numbers of the errors that can surface. They are part of what operators and logs know: never renumber.
namespace errors {
inline constexpr int invalidCall = 5;
inline constexpr int overflow = 6;
inline constexpr int subscript = 9;
inline constexpr int typeMismatch = 13;
inline constexpr int outOfStack = 28;
inline constexpr int fileNotFound = 53;
inline constexpr int inputPastEnd = 62;
inline constexpr int deviceUnavailable = 68;
inline constexpr int permissionDenied = 70;
inline constexpr int pathAccess = 75;
inline constexpr int notSet = 91;
inline constexpr int invalidNull = 94;
inline constexpr int noControl = 340;
inline constexpr int invalidProperty = 380;
inline constexpr int readOnlyText = 383;
inline constexpr int printer = 482;
inline constexpr int databaseFault = 3000;
inline constexpr int noEdit = 3020;
inline constexpr int noCurrentRecord = 3021;
inline constexpr int duplicateKey = 3022;
inline constexpr int databaseMissing = 3024;
inline constexpr int readOnlyDatabase = 3027;
inline constexpr int databaseInUse = 3045;
inline constexpr int querySyntax = 3075;
inline constexpr int fieldTooSmall = 3163;
inline constexpr int changedElsewhere = 3197;
inline constexpr int hasChildren = 3200;
inline constexpr int noParent = 3201;
inline constexpr int noSuchField = 3265;
inline constexpr int fieldRequired = 3314;
inline constexpr int emptyText = 3315;
inline constexpr int ruleBroken = 3317;
inline constexpr int recordDeleted = 3167;
inline constexpr int dataConversion = 3421;
} // namespace errors

/// The error of that number with its standard text ("Type mismatch" for 13 ...).
RuntimeError runtimeError(int number);

} // namespace base
