#include "store/postgres/server_settings.h"

#include "files/error.h"
#include "files/language.h"
#include "files/quoted_path.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace postgres {
namespace {

using files::said;

constexpr std::size_t mostBytes = 65536;    // of a file that people write by hand
constexpr std::size_t mostNameLetters = 40; // of a counter's name: it stands in every row and in a status line
constexpr std::string_view keys[] = {"adres", "port", "veritabani", "kullanici", "tls", "sertifika", "sayac", "defter"};

std::string lower(std::string text)
{
    std::ranges::transform(text, text.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; });
    return text;
}

std::string trimmed(std::string_view text)
{
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
    while (!text.empty() && blank(text.front())) text.remove_prefix(1);
    while (!text.empty() && blank(text.back())) text.remove_suffix(1);
    return std::string(text);
}

std::string content(files::Disk& disk, const std::filesystem::path& path)
{
    const auto file = disk.open(path, files::Disk::Access::readOnly);
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(std::min<std::uint64_t>(file->size(), mostBytes)));
    bytes.resize(file->read(0, bytes));
    std::string text(bytes.begin(), bytes.end());
    if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
    return text;
}

std::size_t letters(std::string_view utf8)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(utf8, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

/// One reading of the file, with the sentences about it.
class Reader {
public:
    explicit Reader(std::filesystem::path path) : path_(std::move(path)) {}

    void read(std::string_view text)
    {
        int number = 0;
        while (!text.empty()) {
            const std::size_t end = std::min(text.find('\n'), text.size());
            ++number;
            take(trimmed(text.substr(0, end)), number);
            text.remove_prefix(std::min(end + 1, text.size()));
        }
    }
    std::optional<std::string> value(std::string_view key) const
    {
        const auto found = values_.find(key);
        return found == values_.end() || found->second.empty() ? std::nullopt : std::optional(found->second);
    }
    std::string required(std::string_view key, const char* written) const
    {
        if (const auto found = value(key)) return *found;
        refuse(std::string(written) + said(" satırı eksik ya da boş; ekleyin.", " is missing or empty; add it."));
    }
    [[noreturn]] void refuse(const std::string& why) const
    {
        throw files::Error(files::Fault::badValue, files::quotedPath(path_) + ": " + why);
    }

private:
    void take(const std::string& line, int number)
    {
        if (line.empty() || line[0] == '#' || line[0] == ';' || line[0] == '[') return;
        const std::size_t at = line.find('=');
        const std::string key = at == std::string::npos ? "" : lower(trimmed(std::string_view(line).substr(0, at)));
        const std::string place = std::to_string(number) + said(". satır: ", ": ");
        if (key == "sifre" || key == "parola" || key == "password")
            refuse(place + said("parola bu dosyada durmaz; onu ~/.pgpass dosyasına yazın ve buradan silin.",
                                "the password does not stand here; write it into ~/.pgpass, and delete it here."));
        if (std::ranges::find(keys, key) == std::end(keys))
            refuse(place + said("anlaşılmadı; bilinen adlar: ", "not understood; the names known are: ") +
                   "Adres, Port, Veritabani, Kullanici, TLS, Sertifika, Sayac, Defter.");
        if (!values_.emplace(key, trimmed(std::string_view(line).substr(at + 1))).second)
            refuse(place + said("bu ad ikinci kez yazılmış; birini silin.", "this name stands twice; delete one."));
    }

    std::filesystem::path path_;
    std::map<std::string, std::string, std::less<>> values_;
};

} // namespace

ServerSettings readServerSettings(files::Disk& disk, const std::filesystem::path& folder)
{
    const std::filesystem::path path = folder / settingsFile;
    Reader reader(path);
    reader.read(content(disk, path));

    ServerSettings settings;
    settings.host = reader.required("adres", "Adres");
    settings.port = reader.value("port").value_or(settings.port);
    settings.database = reader.required("veritabani", "Veritabani");
    settings.user = reader.required("kullanici", "Kullanici");
    settings.counter = reader.required("sayac", "Sayac");
    const bool digits = std::ranges::all_of(settings.port, [](char c) { return c >= '0' && c <= '9'; });
    if (!digits || settings.port.size() > 5 || std::stoi(settings.port) < 1 || std::stoi(settings.port) > 65535)
        reader.refuse(said("Port 1 ile 65535 arasında bir sayı olmalı.", "Port must be a number from 1 to 65535."));
    if (letters(settings.counter) > mostNameLetters)
        reader.refuse(said("Sayac en çok 40 harf olabilir.", "Sayac may have 40 letters at most."));
    settings.book = reader.value("defter").value_or("");
    if (letters(settings.book) > mostNameLetters)
        reader.refuse(said("Defter en çok 40 harf olabilir.", "Defter may have 40 letters at most."));
    const std::string tls = lower(reader.value("tls").value_or("dogrula"));
    if (tls != "dogrula" && tls != "kapali")
        reader.refuse(said("TLS dogrula ya da kapali olmalı.", "TLS must be dogrula or kapali."));
    settings.tls = tls == "kapali" ? ServerSettings::Tls::off : ServerSettings::Tls::verified;
    const bool here = settings.host.starts_with('/') || settings.host == "localhost" || settings.host == "127.0.0.1" ||
                      settings.host == "::1";
    if (settings.tls == ServerSettings::Tls::off && !here)
        reader.refuse(said("TLS=kapali yalnız aynı makinedeki bir sunucu içindir; satırı silin.",
                           "TLS=kapali is for a server on the same machine alone; take that line out."));
    if (const auto certificate = reader.value("sertifika"))
        settings.certificate = folder / std::filesystem::path(std::u8string(certificate->begin(), certificate->end()));
    return settings;
}

} // namespace postgres
