#include "platform/serial_ports.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>
#include <windows.h>
// after windows.h, whose types it uses
#include <winternl.h>

namespace {

/// Adapters as the system lists them; they go with the test. A port is there while it has a name among the devices.
class SerialPorts : public testing::Test {
protected:
    void TearDown() override
    {
        for (const std::string& make : makes_)
            ::RegDeleteTreeA(HKEY_LOCAL_MACHINE, (R"(SYSTEM\CurrentControlSet\Enum\)" + make).c_str());
        for (const HANDLE port : ports_) ::CloseHandle(port); // and its name goes
    }
    void list(const std::string& make, const std::string& serial, const std::string& port, const std::wstring& title)
    {
        const std::string device = R"(SYSTEM\CurrentControlSet\Enum\)" + make + '\\' + serial;
        ::RegSetKeyValueA(HKEY_LOCAL_MACHINE, (device + R"(\Device Parameters)").c_str(), "PortName", REG_SZ,
                          port.c_str(), static_cast<DWORD>(port.size() + 1));
        ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, std::wstring(device.begin(), device.end()).c_str(), L"FriendlyName",
                          REG_SZ, title.c_str(), static_cast<DWORD>((title.size() + 1) * sizeof(wchar_t)));
        makes_.push_back(make);
    }
    /// By the system's inner call: Wine's own for names of devices takes COM23 for COM20.
    void plugIn(const std::string& port)
    {
        using Create = NTSTATUS(NTAPI*)(HANDLE*, ACCESS_MASK, OBJECT_ATTRIBUTES*, UNICODE_STRING*);
        const auto create = reinterpret_cast<Create>(
            reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleA("ntdll.dll"), "NtCreateSymbolicLinkObject")));
        ASSERT_TRUE(create);
        const auto textOf = [](std::wstring& text) {
            const auto bytes = static_cast<USHORT>(text.size() * sizeof(wchar_t));
            return UNICODE_STRING{bytes, bytes, text.data()};
        };
        std::wstring path = LR"(\??\)" + std::wstring(port.begin(), port.end());
        std::wstring device = LR"(\Device\Null)";
        UNICODE_STRING name = textOf(path);
        UNICODE_STRING target = textOf(device);
        OBJECT_ATTRIBUTES attributes{};
        InitializeObjectAttributes(&attributes, &name, OBJ_CASE_INSENSITIVE, nullptr, nullptr);
        HANDLE link = nullptr;
        ASSERT_GE(create(&link, GENERIC_ALL, &attributes, &target), 0) << port;
        ports_.push_back(link);
    }
    static std::string port(int number, const platform::RememberedAdapters& remembered = {})
    {
        const auto found = platform::serialPort(number, {}, remembered);
        return found ? found->string() : "none";
    }

private:
    std::vector<std::string> makes_;
    std::vector<HANDLE> ports_;
};

TEST_F(SerialPorts, aNumberIsThePortOfThatNumber)
{
    EXPECT_EQ(port(1), "COM1");
    EXPECT_EQ(port(16), "COM16");
    EXPECT_EQ(port(0), "none");
    EXPECT_EQ(port(17), "none");
}

TEST_F(SerialPorts, portsAboveTheLastTakeTheNumbersThatAreNotThere)
{
    plugIn("COM6");
    plugIn("COM23");
    plugIn("COM41");
    EXPECT_EQ(port(4), "COM4") << "no adapter's number";
    EXPECT_EQ(port(5), "COM23");
    EXPECT_EQ(port(6), "COM6");
    EXPECT_EQ(port(7), "COM41");
    EXPECT_EQ(port(8), "COM8");
}

TEST_F(SerialPorts, anAdapterKeepsItsNumberWhateverItsPortIsByNow)
{
    list(R"(USB\VID_1A86&PID_7523)", "5&2A", "COM21", L"USB-SERIAL CH340 (COM21)");
    const std::string name = R"(USB\VID_1A86&PID_7523\5&2A)";
    EXPECT_EQ(platform::stableName("COM21", {}), name);
    EXPECT_EQ(port(7, {{7, name}}), "COM21");
}

TEST_F(SerialPorts, anAdapterWithoutASerialNumberIsFoundInAnotherSocket)
{
    const std::string make = R"(USB\VID_1A86&PID_7523)";
    const std::string name = make + R"(\5&2A)";
    list(make, "5&2A", "COM21", L"USB-SERIAL CH340 (COM21)");
    list(make, "5&2B", "COM22", L"USB-SERIAL CH340 (COM22)");
    EXPECT_EQ(port(7, {{7, name}}), "COM21") << "it is nowhere, and waits";
    plugIn("COM22");
    EXPECT_EQ(port(7, {{7, name}}), "COM22");
    EXPECT_EQ(port(7, {{7, name}, {8, make + R"(\5&2B)"}}), "COM21") << "that one is another number's";
    plugIn("COM21");
    EXPECT_EQ(port(7, {{7, name}}), "COM21") << "it is back in its own";
}

TEST_F(SerialPorts, soIsOneWhoseDriverPutsTheNumberBehindTheMake)
{
    const std::string make = R"(FTDIBUS\VID_0403+PID_6001+)";
    list(make + "5&2A&0&1", "0000", "COM21", L"USB Serial Port (COM21)");
    list(make + "5&2B&0&2", "0000", "COM22", L"USB Serial Port (COM22)");
    list(make + "A50285BIA", "0000", "COM23", L"USB Serial Port (COM23)");
    list(make + "A9", "0000", "COM24", L"USB Serial Port (COM24)");
    plugIn("COM22");
    plugIn("COM23");
    EXPECT_EQ(port(7, {{7, make + R"(5&2A&0&1\0000)"}}), "COM22");
    EXPECT_EQ(port(7, {{7, make + R"(A9\0000)"}}), "COM24") << "a serial number of its own is no other";
}

TEST_F(SerialPorts, whichOfTwoAdaptersIsMeantIsNotGuessed)
{
    const std::string make = R"(USB\VID_1A86&PID_7523)";
    list(make, "5&2A", "COM21", L"USB-SERIAL CH340 (COM21)");
    list(make, "5&2B", "COM22", L"USB-SERIAL CH340 (COM22)");
    list(make, "5&2C", "COM23", L"USB-SERIAL CH340 (COM23)");
    plugIn("COM22");
    plugIn("COM23");
    EXPECT_EQ(port(7, {{7, make + R"(\5&2A)"}}), "COM21");
}

TEST_F(SerialPorts, anAdapterWithASerialNumberIsNoOther)
{
    const std::string make = R"(USB\VID_0403&PID_6001)";
    list(make, "A1", "COM21", L"USB Serial Port (COM21)");
    list(make, "A2", "COM22", L"USB Serial Port (COM22)");
    plugIn("COM22");
    EXPECT_EQ(port(7, {{7, make + R"(\A1)"}}), "COM21");
}

TEST_F(SerialPorts, twoDevicesThatClaimOnePortHaveNoNameOfTheirOwn)
{
    list(R"(USB\VID_1A86&PID_7523)", "5&2A", "COM21", L"USB-SERIAL CH340 (COM21)");
    list(R"(FTDIBUS\VID_0403+PID_6001)", "A1", "COM21", L"USB Serial Port (COM21)");
    EXPECT_EQ(platform::stableName("COM21", {}), std::nullopt);
    EXPECT_EQ(platform::titleOf("COM21"), "COM21");
}

TEST_F(SerialPorts, anAdapterIsShownByTheNameOfItsDriver)
{
    list(R"(FTDIBUS\VID_0403+PID_6001)", "A1", "COM22", L"USB Seri Bağlantı Noktası (COM22)");
    EXPECT_EQ(platform::titleOf("COM22"), "USB Seri Bağlantı Noktası (COM22)");
    EXPECT_EQ(platform::titleOf("COM1"), "COM1");
}

} // namespace
