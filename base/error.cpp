#include "base/error.h"

#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace base {

RuntimeError::RuntimeError(int number, QString text) : number_(number), text_(std::move(text)), utf8_(text_.toUtf8()) {}

RuntimeError runtimeError(int number)
{
    static constexpr std::array texts = {
        std::pair{errors::invalidCall, "Invalid procedure call or argument"},
        std::pair{errors::overflow, "Overflow"},
        std::pair{errors::subscript, "Subscript out of range"},
        std::pair{errors::typeMismatch, "Type mismatch"},
        std::pair{errors::outOfStack, "Out of stack space"},
        std::pair{errors::fileNotFound, "File not found"},
        std::pair{errors::inputPastEnd, "Input past end of file"},
        std::pair{errors::deviceUnavailable, "Device unavailable"},
        std::pair{errors::permissionDenied, "Permission denied"},
        std::pair{errors::pathAccess, "Path/File access error"},
        std::pair{errors::notSet, "Object variable or With block variable not set"},
        std::pair{errors::invalidNull, "Invalid use of Null"},
        std::pair{errors::noControl, "Control array element doesn't exist"},
        std::pair{errors::invalidProperty, "Invalid property value"},
        std::pair{errors::readOnlyText, "'Text' property is read-only"},
        std::pair{errors::printer, "Printer error"},
        std::pair{errors::noEdit, "Update or CancelUpdate without AddNew or Edit."},
        std::pair{errors::noCurrentRecord, "No current record."},
        std::pair{errors::recordDeleted, "Record is deleted."},
        std::pair{errors::fieldTooSmall, "The field is too small to accept the amount of data you attempted to add."},
        std::pair{errors::noSuchField, "Item not found in this collection."},
        std::pair{errors::dataConversion, "Data type conversion error."},
    };
    for (const auto& [known, text] : texts)
        if (known == number) return {number, QString::fromLatin1(text)};
    return {number, u"Error %1"_s.arg(number)};
}

} // namespace base
