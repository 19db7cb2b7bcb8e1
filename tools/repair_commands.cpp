#include "tools/repair_commands.h"

#include "store/jet/calendar.h"
#include "store/restore.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace tools {

namespace {

constexpr double secondsADay = 86400;

store::CopyTime calendarTime(jet::DateTime moment)
{
    const auto seconds = static_cast<std::int64_t>(std::llround(moment.days * secondsADay));
    const auto day = static_cast<std::int64_t>(std::floor(static_cast<double>(seconds) / secondsADay));
    const auto rest = static_cast<int>(seconds - day * std::int64_t{86400});
    constexpr std::chrono::sys_days dayZero = std::chrono::year(1899) / 12 / 30;
    const std::chrono::year_month_day date(dayZero + std::chrono::days(day));
    return {static_cast<int>(date.year()),
            static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day())),
            false,
            rest / 3600,
            rest / 60 % 60,
            rest % 60};
}

std::string shown(const store::CopyTime& time, bool seconds)
{
    char text[64];
    int length = std::snprintf(text, sizeof text, "%02d.%02d.%04d", time.day, time.month, time.year);
    if (time.ofDay) return {text, static_cast<std::size_t>(length)};
    if (seconds)
        length += std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length), " %02d:%02d:%02d",
                                time.hour, time.minute, time.second);
    else
        length += std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length), " %02d:%02d", time.hour,
                                time.minute);
    return {text, static_cast<std::size_t>(length)};
}

/// Bytes of padding to the left or right of a text without letters outside ASCII.
std::string padded(std::string text, int width, bool right)
{
    const auto missing = static_cast<std::size_t>(std::max(0, width - static_cast<int>(text.size())));
    return right ? std::string(missing, ' ') + text : text + std::string(missing, ' ');
}

int list(jet::Disk& disk, const std::string& directory)
{
    const std::vector<store::CopyFacts> copies = store::listCopies(disk, pathOf(directory));
    Output out(standardOutput);
    if (copies.empty()) {
        say(out, "Klasörde yedek yok: " + directory + "/" + store::copyFolder);
        out.flush();
        return 1;
    }
    const auto line = [](const std::string& name, const std::string& time, const std::string& customers,
                         const std::string& pressings, const std::string& newest) {
        return padded(name, 28, false) + padded(time, 21, false) + padded(customers, 8, true) +
               padded(pressings, 10, true) + "  " + newest;
    };
    say(out, line("Yedek", "Tarih", "Cari", "Hareket", "Son hareket"));
    for (const store::CopyFacts& copy : copies) {
        const std::string name = padded(copy.name, 28, false);
        if (copy.unreadable)
            say(out, name + padded(shown(copy.time, true), 21, false) + "  okunamadı: " + *copy.unreadable);
        else
            say(out,
                line(copy.name, shown(copy.time, true), std::to_string(copy.customers), std::to_string(copy.pressings),
                     copy.newest ? shown(calendarTime(*copy.newest), false) : "-"));
    }
    out.flush();
    return 0;
}

} // namespace

int restore(jet::Disk& disk, Arguments arguments)
{
    if (arguments.size() == 1) return list(disk, arguments[0]);
    const store::Restored done = store::restoreCopy(disk, pathOf(arguments[0]), arguments[1], calendarTime(now()));
    const auto utf8 = [](const std::filesystem::path& path) {
        const std::u8string text = path.u8string();
        return std::string(text.begin(), text.end());
    };
    Output out(standardOutput);
    say(out, "Geri yüklendi: " + arguments[1] + " -> " + utf8(done.database));
    if (!done.aside.empty()) say(out, "Önceki dosya saklandı: " + utf8(done.aside));
    if (done.slipOpen)
        say(out, "Yarım kalmış bir fişin notu duruyor; program açılınca yazıcıya sorup kaydını bu dosyaya yapacak.");
    out.flush();
    return 0;
}

} // namespace tools
