#include "store/postgres/leave.h"

#include "files/error.h"
#include "files/language.h"
#include "files/quoted_path.h"
#include "store/jet/database/database.h"
#include "store/postgres/shared_tables.h"

namespace postgres {
namespace {

using files::said;

[[noreturn]] void refuse(const std::filesystem::path& file, const std::string& why)
{
    throw files::Error(files::Fault::badValue,
                       files::quotedPath(file) + why + said(" Hiçbir şey değiştirilmedi.", " Nothing was changed."));
}

} // namespace

Left leaveRegister(files::Disk& disk, const std::filesystem::path& file, bool dropWaiting)
{
    const auto database = jet::Database::open(disk, file);
    const std::optional<Place> place = placeIn(*database);
    if (!place) refuse(file, said(" ortak bir deftere bağlı değil.", " is in no shared register."));
    const Waiting waiting = waitingIn(*database);
    if (waiting.changes > 0 && !dropWaiting)
        refuse(file, said(": sunucunun daha duymadığı ", ": the server has not heard of ") +
                         std::to_string(waiting.changes) + said(" değişiklik bekliyor (", " changes (") +
                         std::to_string(waiting.pressings) +
                         said(" sıkım). Programı açın, alt satırda \"Sunucu: bağlı\" yazınca kapatıp yeniden deneyin. "
                              "Sunucu artık yoksa --waiting drop: satırlar bu dosyada kalır, defter onları duymaz.",
                              " pressings). Start the program, close it when its lowest line says \"Sunucu: bağlı\", "
                              "and try again. Where the server is no more, --waiting drop: the rows stay in this "
                              "file, and the register never hears of them."));
    jet::Transaction change(database->pager());
    takePlaceAway(*database);
    change.commit();
    return {place->name, waiting.changes};
}

bool forgetRegister(files::Disk& disk, const std::filesystem::path& file)
{
    const auto database = jet::Database::open(disk, file);
    // Its place may be what was lost.
    if (!database->hasTable(Durum::table) && !database->hasTable(Giden::table)) return false;
    jet::Transaction change(database->pager());
    takePlaceAway(*database);
    change.commit();
    return true;
}

void requireNoOtherRegister(files::Disk& disk, const std::filesystem::path& file, const std::string& name)
{
    const auto database = jet::Database::open(disk, file, jet::Pager::Mode::readOnly);
    const std::optional<Place> place = placeIn(*database);
    if (!place || place->name == name) return;
    refuse(file,
           said(" ortak bir defterde: ", " is in a shared register: ") + place->name + ". " +
               (name.empty() ? said("Sunucu.ini'de Defter satırı yok", "Sunucu.ini has no line Defter")
                             : said("Sunucu.ini'deki Defter başka", "the line Defter of Sunucu.ini says another")) +
               said(". Satırı düzeltin ya da önce presva-mdb leave-register ile o defterden ayrılın.",
                    ". Put the line right, or leave that register first with presva-mdb leave-register."));
}

void requireNoRegister(jet::Database& database)
{
    const std::optional<Place> place = placeIn(database);
    if (!place) return;
    refuse(database.pager().path(),
           said(" ortak bir defterde: ", " is in a shared register: ") + place->name +
               said(". Buradan yazılanı sunucu ve öteki sayaçlar duymaz: müşterileri ve sıkımları sayaçta girin ya da "
                    "silin. Dosyaya ancak defterden ayrılınca (presva-mdb leave-register) buradan yazılır.",
                    ". Neither the server nor the other counters would hear of what is written from here: enter and "
                    "delete customers and pressings at the counter. Only a file that has left the register (presva-mdb "
                    "leave-register) is written from here."));
}

} // namespace postgres
