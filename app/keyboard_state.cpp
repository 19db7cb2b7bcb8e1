#include "app/keyboard_state.h"

#include "base/letters.h"
#include <array>
#include <utility>

namespace app {

namespace {

class UnknownKeyboard final : public platform::Keyboard {
public:
    std::optional<bool> toggled(std::uint32_t /*key*/) override { return std::nullopt; }
    void send(std::uint32_t /*key*/, std::uint32_t /*flags*/) override {}
};

} // namespace

bool KeyboardState::CapsOku() { return keyboard_.toggled(platform::capsLockKey).value_or(false); }

void KeyboardState::CapsAyarla(bool& wanted)
{
    if (!keyboard_.toggled(platform::capsLockKey) || CapsOku() == wanted) return;
    CapsBas();
}

void KeyboardState::CapsBas()
{
    TusGonder(platform::capsLockKey, 0);
    TusGonder(platform::capsLockKey, platform::keyUp);
}

void KeyboardState::TusGonder(std::int32_t key, std::int32_t flags)
{
    keyboard_.send(static_cast<std::uint32_t>(key), static_cast<std::uint32_t>(flags));
}

std::unique_ptr<platform::Keyboard> keyboardOf(QStringView platformName)
{
    if (platformName == u"xcb" || platformName == u"windows") return platform::systemKeyboard();
    return std::make_unique<UnknownKeyboard>();
}

QString IlkHarfBuyut(QStringView caption)
{
    static constexpr std::array<std::pair<char16_t, char16_t>, 5> byHand = {
        {{u'i', u'\u0130'}, {u'\u0131', u'I'}, {u'\u00F6', u'\u00D6'}, {u'\u011F', u'\u011E'}, {u'\u015F', u'\u015E'}}};
    for (const auto& [small, capital] : byHand)
        if (caption.startsWith(QChar(small))) return QChar(capital) + caption.sliced(1).toString();
    return base::properCase(caption);
}

} // namespace app
