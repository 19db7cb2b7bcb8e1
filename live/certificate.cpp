#include "live/certificate.h"

#include "files/error.h"
#include "files/quoted_path.h"

#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace live {
namespace {

constexpr std::int64_t day = 86'400;       ///< seconds
constexpr std::int64_t counts = 398 * day; ///< what browsers accept at most
constexpr std::int64_t renewedBefore = 30 * day;

template <auto release> struct Release {
    template <class T> void operator()(T* object) const { release(object); }
};
using Key = std::unique_ptr<EVP_PKEY, Release<EVP_PKEY_free>>;
using X509Certificate = std::unique_ptr<X509, Release<X509_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, Release<X509_EXTENSION_free>>;
using Number = std::unique_ptr<BIGNUM, Release<BN_free>>;
using File = std::unique_ptr<std::FILE, Release<std::fclose>>;

[[noreturn]] void refused(const std::string& what)
{
    std::array<char, 256> reason{};
    ERR_error_string_n(ERR_get_error(), reason.data(), reason.size());
    throw files::Error(files::Fault::disk, what + ": " + reason.data());
}

void need(bool done, const char* what)
{
    if (!done) refused(std::string("Sertifika yapılamadı (") + what + ")");
}

struct Pair {
    Key key;
    X509Certificate certificate;
};

void extend(X509* certificate, int kind, const std::string& value)
{
    const Extension extension(X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str()));
    need(extension && X509_add_ext(certificate, extension.get(), -1) == 1, value.c_str());
}

Pair make(const std::string& address, std::int64_t now)
{
    Pair pair{Key(EVP_EC_gen("P-256")), X509Certificate(X509_new())};
    X509* const certificate = pair.certificate.get();
    need(pair.key && certificate, "P-256");
    need(X509_set_version(certificate, X509_VERSION_3) == 1, "version");
    const Number serial(BN_new());
    constexpr int serialBits = 120;
    need(serial && BN_rand(serial.get(), serialBits, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY) == 1 &&
             BN_to_ASN1_INTEGER(serial.get(), X509_get_serialNumber(certificate)),
         "serial");
    // A telephone whose clock is behind must not take it for one of tomorrow.
    need(ASN1_TIME_set(X509_getm_notBefore(certificate), now - day) &&
             ASN1_TIME_set(X509_getm_notAfter(certificate), now - day + counts),
         "time");
    need(X509_set_pubkey(certificate, pair.key.get()) == 1, "key");
    X509_NAME* const name = X509_get_subject_name(certificate);
    need(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, reinterpret_cast<const unsigned char*>("Mendrik Presva"),
                                    -1, -1, 0) == 1 &&
             X509_set_issuer_name(certificate, name) == 1,
         "name");
    extend(certificate, NID_basic_constraints, "critical,CA:FALSE");
    extend(certificate, NID_key_usage, "critical,digitalSignature");
    extend(certificate, NID_ext_key_usage, "serverAuth");
    extend(certificate, NID_subject_alt_name, "IP:" + address);
    need(X509_sign(certificate, pair.key.get(), EVP_sha256()) > 0, "signature");
    return pair;
}

/// Seconds since 1970; 0 for what is no moment.
std::int64_t momentOf(const ASN1_TIME* time)
{
    std::tm parts{};
    return ASN1_TIME_to_tm(time, &parts) == 1 ? std::int64_t{timegm(&parts)} : 0;
}

Validity validityOf(const X509* certificate)
{
    return {momentOf(X509_get0_notBefore(certificate)), momentOf(X509_get0_notAfter(certificate)) - renewedBefore};
}

/// One that was made while the clock was ahead does not count yet, and no telephone would take it.
bool countsFor(X509* certificate, const std::string& address, std::int64_t now)
{
    return X509_check_ip_asc(certificate, address.c_str(), 0) == 1 && validityOf(certificate).covers(now);
}

/// A pair that fits, or nothing.
Pair read(const std::filesystem::path& path)
{
    const File file(std::fopen(path.c_str(), "re"));
    if (!file) return {};
    Pair pair;
    pair.key.reset(PEM_read_PrivateKey(file.get(), nullptr, nullptr, nullptr));
    pair.certificate.reset(PEM_read_X509(file.get(), nullptr, nullptr, nullptr));
    const bool fits =
        pair.key && pair.certificate && X509_check_private_key(pair.certificate.get(), pair.key.get()) == 1;
    ERR_clear_error();
    return fits ? std::move(pair) : Pair{};
}

std::string reasonOf(int code)
{
    if (code == ENOSPC || code == EDQUOT) return "diskte yer kalmadı; yer açıp yeniden deneyin.";
    if (code == EACCES || code == EPERM || code == EROFS) return "yazma izni yok; klasörün izinlerini denetleyin.";
    return "disk hatası (" + std::generic_category().message(code) + "); diski denetleyip yeniden deneyin.";
}

/// Under another name first: a power cut leaves the old file or the new one.
void write(const Pair& pair, const std::filesystem::path& path)
{
    std::filesystem::path part = path;
    part += ".part";
    ::unlink(part.c_str());
    const int handle = ::open(part.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    const File file(handle < 0 ? nullptr : ::fdopen(handle, "w"));
    if (!file || PEM_write_PrivateKey(file.get(), pair.key.get(), nullptr, nullptr, 0, nullptr, nullptr) != 1 ||
        PEM_write_X509(file.get(), pair.certificate.get()) != 1 || std::fflush(file.get()) != 0 ||
        ::fsync(handle) != 0 || ::rename(part.c_str(), path.c_str()) != 0)
        throw files::Error(files::Fault::disk, files::inQuotes(path) + " yazılamadı: " + reasonOf(errno));
}

std::string fingerprintOf(X509* certificate)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    need(X509_digest(certificate, EVP_sha256(), digest.data(), &length) == 1, "fingerprint");
    std::string text;
    for (unsigned int i = 0; i < length; ++i) {
        std::array<char, 4> byte{};
        std::snprintf(byte.data(), byte.size(), i == 0 ? "%02X" : ":%02X", digest.at(i));
        text += byte.data();
    }
    return text;
}

} // namespace

Certificate certificateFor(const std::string& address, const std::filesystem::path& folder, std::int64_t now)
{
    const std::filesystem::path path = folder / "sertifika.pem";
    Pair pair = read(path);
    if (!pair.certificate || !countsFor(pair.certificate.get(), address, now)) {
        pair = make(address, now);
        write(pair, path);
    }
    TlsContext context(SSL_CTX_new(TLS_server_method()));
    need(context && SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) == 1 &&
             SSL_CTX_use_certificate(context.get(), pair.certificate.get()) == 1 &&
             SSL_CTX_use_PrivateKey(context.get(), pair.key.get()) == 1,
         "TLS");
    // A client that has its connection negotiated again and again makes work for us alone.
    SSL_CTX_set_options(context.get(),
                        SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION | SSL_OP_CIPHER_SERVER_PREFERENCE);
    // What is no word of a request ends a reading, too: who renews keys without an end would never be asked the time.
    SSL_CTX_clear_mode(context.get(), SSL_MODE_AUTO_RETRY);
    // What is resumed by tickets costs no memory here.
    SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
    SSL_CTX_set_mode(context.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    return {std::move(context), fingerprintOf(pair.certificate.get()), validityOf(pair.certificate.get())};
}

} // namespace live
