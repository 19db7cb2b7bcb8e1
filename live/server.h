#pragma once

#include "live/access.h"
#include "live/board.h"
#include "live/certificate.h"
#include "live/gate.h"
#include "live/tls_stream.h"

#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace live {

/// Answers telephones: one request for each connection, GET alone, three addresses, each letter for letter.
///
///     /         the page for a telephone that is known; for others a few words and the script that takes an invitation
///     /bugun    today's pressings, for a telephone that is known
///     /giris    with an invitation in the header X-Davet: makes the telephone known, by a cookie
///
/// Nothing in here writes to the database, and no path leads to a file.
class Server {
public:
    struct Place {
        std::string address; ///< an IP address of this machine
        int port = 0;        ///< 0: any
    };
    /// What is shown at the moment; asked by several threads at once.
    using Look = std::function<std::shared_ptr<const Shown>()>;

    /// Listens when it returns. Throws files::Error where the place cannot be had.
    Server(const Place& place, Certificate certificate, Access& access, Look look, Limits limits = {},
           Bounds bounds = {});
    ~Server(); ///< waits for answers that are under way
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    int port() const;
    /// False when the system has taken the place away; nobody is answered any more then.
    bool listens() const;

private:
    class Answers;
    std::unique_ptr<Answers> answers_;
    int port_ = 0;
    std::thread thread_;
};

/// "192.168.1.20:8443", "[fd00::1]:8443".
std::string hostText(const std::string& address, int port);

} // namespace live
