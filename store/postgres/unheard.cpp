#include "store/postgres/unheard.h"

#include "files/error.h"
#include "files/language.h"
#include "store/jet/database/database.h"

#include <set>
#include <string>

namespace postgres {

using files::said;

Unheard unheardIn(files::Disk& disk, const std::filesystem::path& file, const std::filesystem::path& next)
{
    Unheard found;
    if (!disk.exists(file)) return found;
    std::set<std::string> brought;
    if (!next.empty())
        for (const WaitingNote& note : notesIn(*jet::Database::open(disk, next, jet::Pager::Mode::readOnly)))
            brought.insert(note.identity);
    try {
        const auto database = jet::Database::open(disk, file, jet::Pager::Mode::readOnly);
        found.inRegister = placeIn(*database).has_value();
        for (const WaitingNote& note : notesIn(*database))
            if (!brought.contains(note.identity)) found.waiting.add(note);
    } catch (const files::Error&) {
        found = {.readable = false, .inRegister = false, .waiting = {}};
    }
    return found;
}

std::string counted(const Waiting& waiting)
{
    return std::to_string(waiting.changes) + said(" değişiklik (", " changes (") + std::to_string(waiting.pressings) +
           said(" sıkım)", " pressings)");
}

std::string howItIsBrought(const Unheard& unheard)
{
    return unheard.inRegister
               ? said("Önce programı o dosyayla açın ve alt satırda \"Sunucu: bağlı\" yazınca kapatın.",
                      "Start the program with that file first, and close it when its lowest line says \"Sunucu: "
                      "bağlı\".")
               : said("Önce o dosyayı presva-mdb to-server ile deftere sokun.",
                      "Let that file join the register first, with presva-mdb to-server.");
}

} // namespace postgres
