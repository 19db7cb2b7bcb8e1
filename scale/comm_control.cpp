#include "scale/comm_control.h"

#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace scale {

base::RuntimeError commError(int number)
{
    static constexpr std::array texts = {
        std::pair{base::errors::deviceUnavailable, "Aygıt kullanılamıyor"},
        std::pair{base::errors::permissionDenied, "Aygıtı kullanma izni yok"},
        std::pair{base::errors::invalidProperty, "Geçersiz özellik değeri"},
        std::pair{errors::notWhileOpen, "Bağlantı noktası açıkken bu işlem yapılamaz"},
        std::pair{errors::invalidPortNumber, "Geçersiz bağlantı noktası numarası"},
        std::pair{errors::alreadyOpen, "Bağlantı noktası zaten açık"},
        std::pair{errors::inUse, "Aygıt kullanılamıyor (başka bir program kullanıyor)"},
        std::pair{errors::notOpen, "Aygıt açık değil"},
        std::pair{errors::parametersRefused, "Bağlantı ayarları aygıta uygulanamadı"},
        std::pair{errors::onlyWhileOpen, "Bu işlem yalnızca bağlantı noktası açıkken yapılabilir"},
        std::pair{errors::readFailed, "Aygıttan okuma hatası"},
    };
    for (const auto& [known, text] : texts)
        if (known == number) return {number, QString::fromUtf8(text)};
    return base::runtimeError(number);
}

QString whyClosed(int port, int error)
{
    static constexpr std::array reasons = {
        std::pair{errors::invalidPortNumber, "açılamadı, aygıt takılı değil"},
        std::pair{errors::inUse, "açılamadı, başka bir program kullanıyor"},
        std::pair{base::errors::permissionDenied, "açılamadı, kullanma izni yok"},
        std::pair{base::errors::deviceUnavailable, "açılamadı, aygıt yanıt vermiyor"},
        std::pair{errors::parametersRefused, "açılamadı, hat ayarları uymuyor"},
        std::pair{errors::readFailed, "okunamadı, çeviriciyi denetleyin"},
    };
    for (const auto& [known, reason] : reasons)
        if (known == error) return u"Com%1 %2"_s.arg(port).arg(QString::fromUtf8(reason));
    return {};
}

QString whySilent(int port, int error)
{
    const QString why = error == 0 ? QString() : whyClosed(port, error);
    return (why.isEmpty() ? u"Com%1 kablo çıktı"_s.arg(port) : why) + u" (bekleniyor)"_s;
}

} // namespace scale
