#include "store/jet/database/header.h"

#include "store/jet/format/doors.h"
#include "store/jet/format/header_layout.h"
#include "store/jet/format/usage_map_layout.h"
#include "store/jet/pages/damage.h"

#include <algorithm>
#include <string_view>

namespace jet {
namespace {

namespace at = header_layout;

bool isSigned(PageView page, std::string_view signature) { return at::isText(at::signature.of(page), signature); }

} // namespace

Header readHeader(Pager& pager)
{
    const PageView stored = pager.read(0);
    const std::string path = files::quotedPath(pager.path());
    if (isSigned(stored, at::aceSignature)) {
        throw Error(Fault::newFormat, path +
                                          " dosyası Access 2007 veya daha yeni biçimde (.accdb). Access ile \"Access "
                                          "2002-2003 Veritabanı (.mdb)\" olarak kaydedin.");
    }
    if (!isSigned(stored, at::jetSignature) || !isPageOf(stored, PageType::blank)) {
        throw Error(Fault::notADatabase, path + " dosyası bir Access veritabanı değil. Doğru dosyayı seçin.");
    }
    const std::uint32_t version = at::version.get(stored);
    if (version < at::jet4) {
        throw Error(Fault::oldFormat, path + " dosyası Access 97 veya daha eski biçimde. Access ile \"Access 2002-2003 "
                                             "Veritabanı (.mdb)\" biçimine dönüştürün.");
    }
    if (version > at::jet4) {
        throw Error(Fault::newFormat, path + " dosyası bu programın bildiğinden daha yeni biçimde. Access ile \"Access "
                                             "2002-2003 Veritabanı (.mdb)\" olarak kaydedin.");
    }
    std::array<std::uint8_t, pageSize> bytes{};
    std::copy(stored.begin(), stored.end(), bytes.begin());
    const PageBytes page(bytes);
    maskHeader(page);
    Header header;
    header.freePages = at::freeMap.get(page);
    header.catalogue = at::catalogue.get(page);
    header.codePage = at::codePage.get(page);
    header.collation = {at::collation.get(page), at::collationVersion.get(page)};
    if (header.freePages.page != at::globalMapsPage || header.catalogue == 0 || !pager.has(header.catalogue)) {
        throwDamaged(pager, 0, "başlık sayfasındaki sayfa numaraları geçersiz");
    }
    return header;
}

const AccountSet& accountSet(Collation collation) { return collation == turkish ? turkishAccounts : generalAccounts; }

void copyHeader(PageBytes page, PageView old)
{
    std::ranges::copy(old, page.begin());
    maskHeader(page);
    at::freeMap.put(page, freeMap);
    at::otherMap.put(page, secondGlobalMap);
    for (unsigned table = 0; table < at::systemTables; ++table) at::putSystemTable(page, table);
    at::encodingKey.put(page, 0);
    clearPassword(page);
    maskHeader(page);
}

void buildHeader(PageBytes page, Collation collation)
{
    const AccountSet& accounts = accountSet(collation);
    std::fill(page.begin(), page.end(), std::uint8_t{0});
    stampPage(page, PageType::blank);
    std::ranges::copy(at::jetSignature, at::signature.of(page).begin());
    at::version.put(page, at::jet4);
    at::freeMap.put(page, freeMap);
    at::otherMap.put(page, secondGlobalMap);
    for (unsigned table = 0; table < at::systemTables; ++table) at::putSystemTable(page, table);
    at::codePage.put(page, collation == turkish ? at::turkishCodePage : at::westernCodePage);
    const auto password = at::password.of(page);
    for (std::size_t i = 0; i < password.size(); ++i)
        password[i] = accounts.passwordMask[i % accounts.passwordMask.size()];
    at::build.put(page, accounts.build);
    at::collation.put(page, collation.lcid);
    std::ranges::copy(accounts.creationTime, at::creationTime.of(page).begin());
    at::magic.put(page, at::magicNumber);
    std::ranges::copy(at::formatNameText, at::formatName.of(page).begin());
    for (unsigned i = 0; i < at::counters; ++i)
        at::putCounter(page, i, i == 0 ? at::counterOfExclusive : at::counterOfOthers);
    maskHeader(page);
}

} // namespace jet
