#pragma once

#include "files/disk.h"

#include <filesystem>
#include <string>

namespace postgres {

/// The file in the data folder that names a server.
inline constexpr const char* settingsFile = "Sunucu.ini";

/// Where the mill's server is, and as whom it is reached. The password has its own place: libpq takes it from ~/.pgpass
/// or the environment (PGPASSWORD, PGPASSFILE).
struct ServerSettings {
    /// How the line is kept from being read and changed, and the server from being played by another.
    enum class Tls {
        verified, ///< certificate and name of the server are looked at
        off,      ///< for a server on the same machine
    };

    std::string host; ///< a name, an address, or the folder of a socket (it begins with "/")
    std::string port = "5432";
    std::string database;
    std::string user;
    Tls tls = Tls::verified;
    std::filesystem::path certificate; ///< who vouches for the server's certificate; empty: those the system trusts
    std::string counter;               ///< the mill's name of this counter, at most 40 letters
    std::string book; ///< the register that this counter shares with others, at most 40 letters; empty: none

    /// Under whose name the rows stand on the server.
    const std::string& rowsOf() const { return book.empty() ? counter : book; }
};

/// Sunucu.ini of that folder:
///
///     [Sunucu]
///     Adres=192.168.1.10
///     Port=5432
///     Veritabani=degirmen
///     Kullanici=hat1
///     TLS=dogrula          (or kapali)
///     Sertifika=sunucu.crt (in the same folder, unless it says another)
///     Sayac=Hat 1
///     Defter=Değirmen
///
/// Port, TLS, Sertifika and Defter may be missing. Throws notFound, and badValue for a line that says nothing known, a
/// key that is missing or stands twice, and for a password, with the line or the key.
ServerSettings readServerSettings(files::Disk& disk, const std::filesystem::path& folder);

} // namespace postgres
