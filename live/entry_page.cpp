#include "live/entry_page.h"

#include "seasons/page.h"

namespace live {
namespace {

constexpr std::string_view style = R"(
body { margin: 0; min-height: 100vh; display: grid; place-content: center; text-align: center; padding: 1.5rem;
       font: 1.1rem/1.5 system-ui, sans-serif; background: #f6f4ec; color: #23261b; }
h1 { font-size: 1.5rem; }
)";

constexpr std::string_view script = R"(
(function () {
    'use strict';
    const words = document.getElementById('soz');
    async function enter() {
        const invitation = location.hash.slice(1);
        history.replaceState(null, '', '/');
        if (!invitation) return;
        words.textContent = 'Bağlanıyor…';
        try {
            const answer = await fetch('/giris', {headers: {'X-Davet': invitation}});
            if (answer.ok) location.replace('/');
            else if (answer.status === 403)
                words.textContent = 'Bu karekod kullanılmış ya da süresi geçmiş. Ekrandaki yenisini okutun.';
            else words.textContent = 'Sayaç bu telefonu şu anda kaydedemiyor; nedeni sayacın ekranında yazar. Sonra karekodu yeniden okutun.';
        } catch (fault) {
            words.textContent = 'Sayaç cevap vermiyor. Aynı ağda olduğunuza bakın, karekodu yeniden okutun.';
        }
    }
    addEventListener('hashchange', enter); // a code that is read while this page is open
    enter();
}());
)";

} // namespace

const std::string& entryPage()
{
    static const std::string page =
        "<!doctype html>\n<html lang=\"tr\"><head><meta charset=\"utf-8\">\n"
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; script-src " +
        seasons::sourceDigest(script) + "; style-src " + seasons::sourceDigest(style) +
        "; connect-src 'self'; base-uri 'none'; form-action 'none'\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>Mendrik "
        "Presva</title>\n<style>" +
        std::string(style) +
        "</style></head>\n<body><h1>Mendrik Presva</h1><p id=\"soz\">Bu telefon tanınmıyor. Sayacın ekranındaki "
        "karekodu okutun.</p>\n<script>" +
        std::string(script) + "</script></body></html>\n";
    return page;
}

} // namespace live
