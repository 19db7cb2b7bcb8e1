#include "live/invitation_page.h"

#include "live/codes.h"
#include "seasons/texts.h"

namespace live {
namespace {

constexpr int codeSide = 420; ///< pixels; a telephone reads it from half a metre

std::string pageOf(const std::string& body)
{
    return "<!doctype html>\n<html lang=\"tr\"><head><meta charset=\"utf-8\"><meta http-equiv=\"refresh\" "
           "content=\"5\">\n"
           "<title>Mendrik Presva: telefon</title>\n<style>body { margin: 2rem auto; max-width: 34rem; text-align: "
           "center; "
           "font: 1.05rem/1.5 system-ui, sans-serif; color: #23261b; background: #fff; } h1 { font-size: 1.5rem; } "
           "ol { text-align: left; } svg { max-width: 100%; height: auto; } code { overflow-wrap: anywhere; font-size: "
           ".8rem; }"
           "</style></head>\n<body><h1>Sezonu telefondan görmek</h1>\n" +
           body + "</body></html>\n";
}

} // namespace

std::string invitationPage(const Invitation& invitation)
{
    return pageOf(codeForPage(invitation.address, codeSide) +
                  "\n<ol><li>Telefon değirmenin ağında (Wi-Fi) olsun.<li>Karekodu telefonun kamerasıyla "
                  "okutun.<li>Telefon bir kez "
                  "sertifikayı sorar: aşağıdaki parmak iziyle aynıysa devam edin.</ol>\n<p>Karekod bir telefon "
                  "içindir; okutulunca "
                  "burada yenisi görünür. Geçerli: <b>" +
                  seasons::escaped(invitation.counts) + "</b>.</p>\n<p>Parmak izi (SHA-256):<br><code>" +
                  seasons::escaped(invitation.fingerprint) + "</code></p>\n<p>Adres:<br><code>" +
                  seasons::escaped(invitation.address) + "</code></p>\n");
}

std::string closedPage()
{
    return pageOf("<p>Telefonlara kapalı. Açmak için: <code>mendrik-presva --live ADRES</code></p>\n");
}

} // namespace live
