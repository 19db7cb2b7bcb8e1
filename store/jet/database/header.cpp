#include "store/jet/database/header.h"

#include "store/jet/format/doors.h"
#include "store/jet/pages/damage.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>
#include <string_view>
#include <utility>

namespace jet {
namespace {

constexpr std::size_t maskedFrom = 0x18;
constexpr std::size_t maskedTo = 0x98;

namespace at {
constexpr std::size_t signature = 0x04;
constexpr std::size_t version = 0x14;
constexpr std::size_t freePages = 0x18;
constexpr std::size_t otherMap = 0x1C;
constexpr std::size_t catalogue = 0x20;
constexpr std::size_t codePage = 0x3C;
constexpr std::size_t encodingKey = 0x3E;
constexpr std::size_t password = 0x42;
constexpr std::size_t passwordEnd = 0x6A;
constexpr std::size_t build = 0x6A;
constexpr std::size_t collation = 0x6E;
constexpr std::size_t creationTime = 0x72;
constexpr std::size_t magic = 0x98;
constexpr std::size_t formatName = 0x9C;
constexpr std::size_t connections = 0xE00;
} // namespace at

constexpr std::string_view jetSignature{"Standard Jet DB\0", 16};
constexpr std::string_view aceSignature{"Standard ACE DB\0", 16};
constexpr std::uint32_t jet4Version = 1;

/// RC4 with the format's fixed key: the same bytes for every file.
std::array<std::uint8_t, maskedTo - maskedFrom> keyStream()
{
    constexpr std::array<std::uint8_t, 4> key{0xC7, 0xDA, 0x39, 0x6B};
    std::array<std::uint8_t, 256> state{};
    std::iota(state.begin(), state.end(), std::uint8_t{0});
    std::uint8_t j = 0;
    for (std::size_t i = 0; i < state.size(); ++i) {
        j = static_cast<std::uint8_t>(j + state[i] + key[i % key.size()]);
        std::swap(state[i], state[j]);
    }
    std::array<std::uint8_t, maskedTo - maskedFrom> stream{};
    std::uint8_t i = 0;
    j = 0;
    for (std::uint8_t& out : stream) {
        ++i;
        j = static_cast<std::uint8_t>(j + state[i]);
        std::swap(state[i], state[j]);
        out = state[static_cast<std::uint8_t>(state[i] + state[j])];
    }
    return stream;
}

/// The four bytes that hide the password: the whole days of the creation time. Without a readable time the mask is
/// taken from the area itself, where no password means nothing but the mask ten times.
std::array<std::uint8_t, 4> passwordMask(PageView page)
{
    const double days = std::bit_cast<double>(getU64(page.data() + at::creationTime));
    std::array<std::uint8_t, 4> mask{};
    if (std::isfinite(days) && days >= 0 && days < 4294967296.0) {
        putU32(mask.data(), static_cast<std::uint32_t>(days));
    } else {
        std::copy_n(page.begin() + at::password, mask.size(), mask.begin());
    }
    return mask;
}

bool hasPassword(PageView page)
{
    const std::array<std::uint8_t, 4> mask = passwordMask(page);
    for (std::size_t i = at::password; i < at::passwordEnd; ++i) {
        if (page[i] != mask[(i - at::password) % mask.size()]) return true;
    }
    return false;
}

bool startsWith(PageView page, std::string_view text)
{
    return std::equal(text.begin(), text.end(), page.begin() + at::signature,
                      [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
}

} // namespace

void maskHeader(PageBytes page)
{
    const auto stream = keyStream();
    for (std::size_t i = 0; i < stream.size(); ++i) page[maskedFrom + i] ^= stream[i];
}

Header readHeader(Pager& pager)
{
    const PageView stored = pager.read(0);
    const std::string path = files::quotedPath(pager.path());
    if (startsWith(stored, aceSignature)) {
        throw Error(Fault::newFormat, path +
                                          " dosyası Access 2007 veya daha yeni biçimde (.accdb). Access ile \"Access "
                                          "2002-2003 Veritabanı (.mdb)\" olarak kaydedin.");
    }
    if (!startsWith(stored, jetSignature) || stored[0] != 0) {
        throw Error(Fault::notADatabase, path + " dosyası bir Access veritabanı değil. Doğru dosyayı seçin.");
    }
    const std::uint32_t version = getU32(stored.data() + at::version);
    if (version < jet4Version) {
        throw Error(Fault::oldFormat, path + " dosyası Access 97 veya daha eski biçimde. Access ile \"Access 2002-2003 "
                                             "Veritabanı (.mdb)\" biçimine dönüştürün.");
    }
    if (version > jet4Version) {
        throw Error(Fault::newFormat, path + " dosyası bu programın bildiğinden daha yeni biçimde. Access ile \"Access "
                                             "2002-2003 Veritabanı (.mdb)\" olarak kaydedin.");
    }
    std::array<std::uint8_t, pageSize> bytes{};
    std::copy(stored.begin(), stored.end(), bytes.begin());
    const PageBytes page(bytes);
    maskHeader(page);
    if (getU32(page.data() + at::encodingKey) != 0) {
        throw Error(Fault::encoded, path + " dosyası kodlanmış (şifrelenmiş). Access ile kodlamasını kaldırın.");
    }
    if (hasPassword(page)) {
        throw Error(Fault::password, path + " dosyası parolalı. Access ile veritabanı parolasını kaldırın.");
    }
    Header header;
    header.freePages = {page[at::freePages], getU24(page.data() + at::freePages + 1)};
    header.catalogue = getU32(page.data() + at::catalogue);
    header.codePage = getU16(page.data() + at::codePage);
    header.collation = {getU16(page.data() + at::collation), page[at::collation + 3]};
    if (header.freePages.page != 1 || header.catalogue == 0 || header.catalogue >= pager.pageCount()) {
        throwDamaged(pager, 0, "başlık sayfasındaki sayfa numaraları geçersiz");
    }
    return header;
}

const AccountSet& accountSet(Collation collation)
{
    static constexpr AccountSet generalSet{{0x81, 0xAF, 0xD4, 0x6B, 0x4F, 0xEC, 0xE4, 0x40},
                                           {0x62, 0xA7, 0x00, 0x00},
                                           0x11A6,
                                           {0x06, 0xEA},
                                           {0x07, 0xE8},
                                           {0x06, 0xE8},
                                           {0x06, 0xED}};
    static constexpr AccountSet turkishSet{{0x06, 0xA2, 0xB1, 0xB2, 0x9F, 0x1D, 0xE6, 0x40},
                                           {0xEC, 0xB0, 0x00, 0x00},
                                           0x11A6,
                                           {0xF5, 0x89},
                                           {0xF4, 0x8B},
                                           {0xF5, 0x8B},
                                           {0xF5, 0x8E}};
    return collation == turkish ? turkishSet : generalSet;
}

void buildHeader(PageBytes page, Collation collation)
{
    const AccountSet& accounts = accountSet(collation);
    std::fill(page.begin(), page.end(), std::uint8_t{0});
    page[1] = 1;
    std::copy(jetSignature.begin(), jetSignature.end(), page.begin() + at::signature);
    putU32(page.data() + at::version, jet4Version);
    putU24(page.data() + at::freePages + 1, 1);
    page[at::otherMap] = 1;
    putU24(page.data() + at::otherMap + 1, 1);
    for (std::uint32_t table = 0; table < 4; ++table) putU32(page.data() + at::catalogue + 4 * table, 2 + table);
    putU16(page.data() + at::codePage, collation == turkish ? 1254 : 1252);
    for (std::size_t i = at::password; i < at::passwordEnd; ++i) {
        page[i] = accounts.passwordMask[(i - at::password) % accounts.passwordMask.size()];
    }
    putU32(page.data() + at::build, accounts.build);
    putU16(page.data() + at::collation, collation.lcid);
    std::copy(accounts.creationTime.begin(), accounts.creationTime.end(), page.begin() + at::creationTime);
    putU32(page.data() + at::magic, 0x654);
    std::copy_n("4.0", 3, page.begin() + at::formatName);
    for (std::size_t i = 0; i < 256; ++i) putU16(page.data() + at::connections + 2 * i, i == 0 ? 0x0101 : 0x0100);
    maskHeader(page);
}

} // namespace jet
