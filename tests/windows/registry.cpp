#include "platform/registry.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace {

/// A branch of the test's own, which goes with it.
class UserRegistry : public testing::Test {
protected:
    void TearDown() override { ::RegDeleteTreeA(HKEY_CURRENT_USER, R"(Software\PresvaTest)"); }
    const std::u16string branch = uR"(Software\PresvaTest\Mendrik Presva\Properties)";
    std::unique_ptr<platform::Registry> registry = platform::userRegistry();
};

TEST_F(UserRegistry, keepsTextsLetterForLetter)
{
    ASSERT_NE(registry, nullptr);
    ASSERT_EQ(registry->text(branch, u"Font"), std::nullopt);
    for (const std::u16string text : {u"Arial", u"", u"ÇĞİÖŞÜ çğıöşü 'x' \\ \"y\"", u"True"}) {
        registry->setText(branch, u"Font", text);
        ASSERT_EQ(registry->text(branch, u"Font"), text);
        ASSERT_EQ(registry->text(branch, u"FONT"), text);
    }
    ASSERT_EQ(registry->text(branch, u"Size"), std::nullopt);
}

TEST_F(UserRegistry, keepsThemWhereEveryProgramFindsThem)
{
    registry->setText(branch, u"CommPort", u"7");
    char text[16] = {};
    DWORD bytes = sizeof text;
    ASSERT_EQ(::RegGetValueA(HKEY_CURRENT_USER, R"(Software\PresvaTest\Mendrik Presva\Properties)", "CommPort",
                             RRF_RT_REG_SZ, nullptr, text, &bytes),
              ERROR_SUCCESS);
    ASSERT_STREQ(text, "7");
}

TEST_F(UserRegistry, readsANumberThatSomebodyElseStored)
{
    HKEY key = nullptr;
    ASSERT_EQ(::RegCreateKeyA(HKEY_CURRENT_USER, R"(Software\PresvaTest\Mendrik Presva\Properties)", &key),
              ERROR_SUCCESS);
    const DWORD number = 9600;
    ::RegSetValueExA(key, "Speed", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
    ::RegCloseKey(key);
    ASSERT_EQ(registry->text(branch, u"Speed"), u"9600");
}

} // namespace
