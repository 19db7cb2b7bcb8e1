#include "scale/stored_port.h"

#include "base/flag_text.h"
#include "base/numbers.h"
#include "base/pass_over.h"
#include "scale/setting_keys.h"

namespace scale {

using namespace Qt::StringLiterals;

ReadingChoice storedReading(const StoredSetting& stored)
{
    return {stored(setting_keys::format), stored(setting_keys::stillOnly) == base::flagText(true)};
}

std::optional<PortRefusal> openStored(CommControl& control, const StoredSetting& stored, const base::Regional& regional,
                                      const std::function<void(const ReadingChoice& choice)>& readAs)
{
    base::passOver([&] {
        if (control.portOpen()) control.setPortOpen(false);
    });
    try {
        if (const QString line = stored(setting_keys::lineSettings); !line.isEmpty()) control.setSettings(line);
        // A bad port number says nothing here; it shows, if at all, in a port that does not open.
        if (const QString number = stored(setting_keys::portNumber); !number.isEmpty())
            base::passOver([&] { control.setCommPort(base::toInt16(number, regional)); });
        if (const QString mode = stored(setting_keys::flowControl); !mode.isEmpty())
            control.setHandshaking(base::toInt32(mode, regional));
    } catch (const base::RuntimeError& error) {
        return PortRefusal{u"port ayarları geçersiz"_s, error};
    }
    const ReadingChoice reading = storedReading(stored);
    // Read as it is, a line in a format that nobody knows would show another weight.
    if (!reading.format.isEmpty() && !formatOf(reading))
        return PortRefusal{u"biçimi bilinmiyor (%1), Port Ayarları'ndan seçin"_s.arg(reading.format), std::nullopt};
    readAs(reading);
    base::passOver([&] { control.setPortOpen(true); });
    return std::nullopt;
}

} // namespace scale
