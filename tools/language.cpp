#include "tools/language.h"

#include <algorithm>
#include <cstdlib>

namespace tools {

namespace {

const char* kindOf(files::Fault fault)
{
    using files::Fault;
    switch (fault) {
    case Fault::notFound:
        return "There is no such file";
    case Fault::isFolder:
        return "This is a folder, not a file";
    case Fault::notADatabase:
        return "This is no Access database";
    case Fault::oldFormat:
        return "This database is of Access 97 or older; convert it with Access";
    case Fault::newFormat:
        return "This database is of Access 2007 or newer (.accdb); save it as .mdb with Access";
    case Fault::encoded:
        return "The pages of this database are encoded; compact makes an open copy";
    case Fault::cutShort:
        return "The file ends too early; rescue saves what is there";
    case Fault::inUse:
        return "Another program has the file open; close it and try again";
    case Fault::changedElsewhere:
        return "Another program has changed the file meanwhile; nothing was written";
    case Fault::noPermission:
        return "The system does not allow it";
    case Fault::readOnly:
        return "This may only be read";
    case Fault::damaged:
        return "The file is damaged here; check says more, rescue saves what can be read";
    case Fault::disk:
        return "The system could not read or write";
    case Fault::noSuchTable:
        return "There is no table or field of that name";
    case Fault::noSuchRow:
        return "The row is no longer there";
    case Fault::exists:
        return "There is one of that name already";
    case Fault::badValue:
        return "A value cannot be used";
    case Fault::required:
        return "A field that must not be empty would be";
    case Fault::emptyText:
        return "A field that takes no empty text would get one";
    case Fault::ruleBroken:
        return "A rule of the table forbids this";
    case Fault::noParent:
        return "A relationship needs a row of another table that is not there";
    case Fault::hasChildren:
        return "Rows of another table need this one";
    case Fault::duplicate:
        return "A unique index has that value already";
    case Fault::indexNotWritable:
        return "An index of the table cannot be kept true, so the table is not written";
    case Fault::syntax:
        return "The text cannot be understood";
    case Fault::unsupported:
        return "This cannot be done here";
    case Fault::server:
        return "The server is out of reach, or refuses";
    }
    return "It did not work";
}

} // namespace

void chooseLanguage(std::vector<std::string>& arguments)
{
    for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* const set = std::getenv(name);
        if (set == nullptr || *set == '\0') continue;
        files::inEnglish() = std::string_view(set).starts_with("en");
        break;
    }
    const auto option = std::ranges::find(arguments, "--lang");
    if (option == arguments.end()) return;
    const std::string wanted = option + 1 == arguments.end() ? std::string() : *(option + 1);
    if (wanted != "tr" && wanted != "en") misused("--lang tr ya da en olmalı (tr or en).");
    files::inEnglish() = wanted == "en";
    arguments.erase(option, option + 2);
}

std::string sentenceOf(const files::Error& error)
{
    if (!speaksEnglish()) return error.what();
    return std::string(kindOf(error.fault())) + " [" + error.what() + "]";
}

} // namespace tools
