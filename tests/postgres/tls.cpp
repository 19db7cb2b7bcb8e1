#include "tests/postgres/server_mill.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using testing::AllOf, testing::ContainsRegex, testing::HasSubstr;

int freePort()
{
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (::bind(socket, reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
        ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        throw std::runtime_error("there is no free port");
    ::close(socket);
    return ntohs(address.sin_port);
}

class Tls : public ServerMill {
protected:
    struct Listening {
        int port = freePort();
        std::filesystem::path certificate = server().listenWithTls(port);
    };
    static const Listening& listening()
    {
        static const Listening once;
        return once;
    }
    Outcome over(const std::string& host, const std::string& more) const
    {
        name(host, std::to_string(listening().port), "sahip", more);
        return toServer();
    }
};

TEST_F(Tls, letsOnlyTheServerOfTheCertificateBeTheServer)
{
    const std::string own = "Sertifika=" + listening().certificate.string() + "\n";
    EXPECT_THAT(over("127.0.0.1", own), succeeds());
    EXPECT_EQ(over("127.0.0.1", own + "TLS=dogrula\n").code, 0);

    const std::string other = server().makeCertificate("other", "IP:127.0.0.1");
    EXPECT_THAT(over("127.0.0.1", "Sertifika=" + other + "\n").err, HasSubstr("certificate verify failed"));
    EXPECT_THAT(over("127.0.0.1", "").err, ContainsRegex("certificate verify failed|root certificate file"))
        << "nobody the system trusts";
    EXPECT_THAT(over("localhost", own).err, HasSubstr("does not match host name"));
    EXPECT_THAT(over("127.0.0.1", "TLS=kapali\n").err, HasSubstr("Sunucu bu kullanıcıyı buradan içeri almıyor"));
    EXPECT_THAT(over("127.0.0.1", "Sertifika=" + other + "\n").err, HasSubstr("Sunucunun sertifikası tutmuyor"));
    EXPECT_THAT(over("127.0.0.1", "Sertifika=yok.crt\n").err,
                AllOf(HasSubstr("Sunucunun sertifika dosyası yok ya da okunamıyor"), HasSubstr("yok.crt")));
}

} // namespace
