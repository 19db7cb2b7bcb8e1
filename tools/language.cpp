#include "tools/language.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

namespace tools {

namespace {

const char* kindOf(files::Fault fault)
{
    using files::Fault;
    static constexpr std::pair<Fault, const char*> kinds[] = {
        {Fault::notFound, "There is no such file"},
        {Fault::isFolder, "This is a folder, not a file"},
        {Fault::notADatabase, "This is no Access database"},
        {Fault::oldFormat, "This database is of Access 97 or older; convert it with Access"},
        {Fault::newFormat, "This database is of Access 2007 or newer (.accdb); save it as .mdb with Access"},
        {Fault::encoded, "The pages of this database are encoded; compact makes an open copy"},
        {Fault::cutShort, "The file ends too early; rescue saves what is there"},
        {Fault::inUse, "Another program has the file open; close it and try again"},
        {Fault::changedElsewhere, "Another program has changed the file meanwhile; nothing was written"},
        {Fault::noPermission, "The system does not allow it"},
        {Fault::readOnly, "This may only be read"},
        {Fault::damaged, "The file is damaged here; check says more, rescue saves what can be read"},
        {Fault::disk, "The system could not read or write"},
        {Fault::noSuchTable, "There is no table or field of that name"},
        {Fault::noSuchRow, "The row is no longer there"},
        {Fault::exists, "There is one of that name already"},
        {Fault::badValue, "A value cannot be used"},
        {Fault::required, "A field that must not be empty would be"},
        {Fault::emptyText, "A field that takes no empty text would get one"},
        {Fault::ruleBroken, "A rule of the table forbids this"},
        {Fault::noParent, "A relationship needs a row of another table that is not there"},
        {Fault::hasChildren, "Rows of another table need this one"},
        {Fault::duplicate, "A unique index has that value already"},
        {Fault::indexNotWritable, "An index of the table cannot be kept true, so the table is not written"},
        {Fault::syntax, "The text cannot be understood"},
        {Fault::unsupported, "This cannot be done here"},
        {Fault::server, "The server is out of reach, or refuses"},
    };
    static_assert(std::size(kinds) == static_cast<std::size_t>(Fault::server) + 1);
    return std::ranges::find(kinds, fault, &std::pair<Fault, const char*>::first)->second;
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
