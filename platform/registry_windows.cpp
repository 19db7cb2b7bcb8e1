#include "platform/registry.h"

#include <windows.h>

namespace platform {

namespace {

static_assert(sizeof(wchar_t) == sizeof(char16_t), "texts of the registry are UTF-16");

std::wstring wide(const std::u16string& text) { return {text.begin(), text.end()}; }

[[noreturn]] void fail(const char* step, LSTATUS code)
{
    throw RegistryError(std::string(step) + ": error " + std::to_string(code));
}

/// An open branch of the user's registry; not open when the system said no.
class Branch {
public:
    explicit Branch(HKEY key) : key_(key) {}
    ~Branch()
    {
        if (key_ != nullptr) RegCloseKey(key_);
    }
    Branch(const Branch&) = delete;
    Branch& operator=(const Branch&) = delete;
    HKEY key() const { return key_; }

private:
    HKEY key_;
};

class UserRegistry final : public Registry {
public:
    std::optional<std::u16string> text(const std::u16string& branch, const std::u16string& name) override
    {
        HKEY key = nullptr;
        if (RegOpenKeyExW(HKEY_CURRENT_USER, wide(branch).c_str(), 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS)
            return std::nullopt;
        const Branch open(key);
        const std::wstring wanted = wide(name);
        DWORD type = 0;
        DWORD bytes = 0;
        if (RegQueryValueExW(key, wanted.c_str(), nullptr, &type, nullptr, &bytes) != ERROR_SUCCESS)
            return std::nullopt;
        if (type == REG_DWORD) return number(key, wanted);
        if (type != REG_SZ && type != REG_EXPAND_SZ) return std::nullopt;
        // One more than asked for: a text that somebody stored without its end gets one.
        std::wstring value(bytes / sizeof(wchar_t) + 1, L'\0');
        if (RegQueryValueExW(key, wanted.c_str(), nullptr, nullptr, reinterpret_cast<LPBYTE>(value.data()), &bytes) !=
            ERROR_SUCCESS)
            return std::nullopt; // it grew between the two questions; whoever asks again gets it
        value.resize(value.find(L'\0'));
        return std::u16string(value.begin(), value.end());
    }

    void setText(const std::u16string& branch, const std::u16string& name, const std::u16string& text) override
    {
        HKEY key = nullptr;
        LSTATUS answer = RegCreateKeyExW(HKEY_CURRENT_USER, wide(branch).c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                         KEY_SET_VALUE, nullptr, &key, nullptr);
        if (answer != ERROR_SUCCESS) fail("open branch", answer);
        const Branch open(key);
        const std::wstring value = wide(text);
        const auto size = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
        answer = RegSetValueExW(key, wide(name).c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()), size);
        if (answer != ERROR_SUCCESS) fail("set value", answer);
        answer = RegFlushKey(key);
        if (answer != ERROR_SUCCESS) fail("flush branch", answer);
    }

private:
    static std::optional<std::u16string> number(HKEY key, const std::wstring& name)
    {
        DWORD value = 0;
        DWORD bytes = sizeof value;
        if (RegQueryValueExW(key, name.c_str(), nullptr, nullptr, reinterpret_cast<LPBYTE>(&value), &bytes) !=
            ERROR_SUCCESS)
            return std::nullopt;
        const std::string digits = std::to_string(value);
        return std::u16string(digits.begin(), digits.end());
    }
};

} // namespace

std::unique_ptr<Registry> userRegistry() { return std::make_unique<UserRegistry>(); }

} // namespace platform
