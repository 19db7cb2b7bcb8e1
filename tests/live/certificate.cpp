#include "live/certificate.h"
#include "tests/support/files.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <openssl/x509v3.h>
#include <sys/stat.h>

namespace live {
namespace {

constexpr std::int64_t day = 86'400; ///< seconds

class CertificateOfAnAddress : public testing::Test {
protected:
    std::string of(const std::string& address, std::int64_t days = 0) const
    {
        return certificateFor(address, folder_.path(), now_ + days * day).fingerprint;
    }
    std::filesystem::path file() const { return folder_ / "sertifika.pem"; }

    const std::int64_t now_ = 1'763'650'000;
    TemporaryFolder folder_;
};

TEST_F(CertificateOfAnAddress, staysForMoreThanAYearAndIsThenAnother)
{
    const std::string first = of("192.168.1.20");
    EXPECT_EQ(first.size(), 32 * 3 - 1);
    EXPECT_EQ(of("192.168.1.20", 366), first);
    EXPECT_NE(of("192.168.1.20", 368), first);
}

TEST_F(CertificateOfAnAddress, isAnotherWhereTheClockWasAhead)
{
    const std::string ahead = of("192.168.1.20", 400);
    EXPECT_NE(of("192.168.1.20"), ahead);
    const std::string now = of("192.168.1.20");
    EXPECT_EQ(of("192.168.1.20", -1), now); // a clock that is behind by a day
    EXPECT_NE(of("192.168.1.20", -2), now);
}

TEST_F(CertificateOfAnAddress, saysWhenAnotherOneIsDue)
{
    const Validity validity = certificateFor("192.168.1.20", folder_.path(), now_).validity;
    EXPECT_TRUE(validity.covers(now_));
    EXPECT_TRUE(validity.covers(now_ - day));
    EXPECT_FALSE(validity.covers(now_ - day - 1));
    EXPECT_TRUE(validity.covers(now_ + 367 * day - 1));
    EXPECT_FALSE(validity.covers(now_ + 367 * day));
}

TEST_F(CertificateOfAnAddress, isAnotherForAnotherAddress)
{
    const std::string first = of("192.168.1.20");
    EXPECT_NE(of("192.168.1.21"), first);
    EXPECT_NE(of("fd00::1"), first);
}

TEST_F(CertificateOfAnAddress, namesTheAddressAndSignsItself)
{
    const Certificate certificate = certificateFor("192.168.1.20", folder_.path(), now_);
    X509* const x509 = SSL_CTX_get0_certificate(certificate.context.get());
    EXPECT_EQ(X509_check_ip_asc(x509, "192.168.1.20", 0), 1);
    EXPECT_EQ(X509_check_ip_asc(x509, "192.168.1.2", 0), 0);
    EXPECT_EQ(X509_verify(x509, X509_get0_pubkey(x509)), 1);
    EXPECT_EQ(X509_check_ca(x509), 0); // a telephone that trusts it trusts nothing else because of it
}

TEST_F(CertificateOfAnAddress, keyIsTheOwnersAlone)
{
    of("192.168.1.20");
    struct stat facts {};
    ASSERT_EQ(stat(file().c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0600);
}

TEST_F(CertificateOfAnAddress, damagedFileIsReplaced)
{
    const std::string first = of("192.168.1.20");
    std::string text = textOfFile(file());
    writeFile(file(), text.substr(0, text.size() / 2));
    EXPECT_NE(of("192.168.1.20"), first);
    EXPECT_EQ(of("192.168.1.20"), of("192.168.1.20"));
}

} // namespace
} // namespace live
