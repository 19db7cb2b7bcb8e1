#include "platform/serial_ports.h"
#include "tests/support/files.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace platform;

namespace {

void touch(const std::filesystem::path& path, std::string_view content = {})
{
    std::filesystem::create_directories(path.parent_path());
    writeFile(path, content);
}

SerialPortPlaces placesIn(const TemporaryFolder& root)
{
    SerialPortPlaces places;
    places.programDirectory = root / "program";
    places.devices = root / "dev";
    places.classes = root / "class";
    return places;
}

using Names = std::vector<std::string>;

struct SerialPortsNumberRow {
    Names fitted;   // mainboard ports that exist
    Names unfitted; // nodes without a port behind them
    Names adapters;
    int number;
    std::string device;
};
/// Which device answers to which port number, over folders that stand for the program's directory and the system.

RowTable<SerialPortsNumberRow> serialPortsNumber()
{
    RowTable<SerialPortsNumberRow> table;
    const Names none;
    const Names four = {"ttyS0", "ttyS1", "ttyS2", "ttyS3"};
    const Names usb = {"ttyACM0", "ttyUSB10", "ttyUSB2", "ttyUSB0"};
    table.push_back({"first mainboard port", {four, none, none, 1, "ttyS0"}});
    table.push_back({"fourth mainboard port", {four, none, none, 4, "ttyS3"}});
    table.push_back({"node without a port", {none, four, none, 1, ""}});
    table.push_back({"first adapter", {four, none, usb, 5, "ttyUSB0"}});
    table.push_back({"adapters in the order of their numbers", {four, none, usb, 7, "ttyUSB10"}});
    table.push_back({"modems after adapters", {four, none, usb, 8, "ttyACM0"}});
    table.push_back({"adapter renamed when it was plugged in again", {none, four, Names{"ttyUSB1"}, 5, "ttyUSB1"}});
    table.push_back({"no such adapter", {none, none, usb, 9, ""}});
    table.push_back({"a fitted fifth port goes before adapters", {Names{"ttyS4"}, none, usb, 5, "ttyS4"}});
    table.push_back({"number 0", {four, none, usb, 0, ""}});
    table.push_back({"number 17", {Names{"ttyS16"}, none, usb, 17, ""}});
    return table;
}

TABLE_SUITE(SerialPortsNumber, SerialPortsNumberRow, serialPortsNumber());

TEST_P(SerialPortsNumber, numbersFindTheirDevice)
{
    const auto& [fitted, unfitted, adapters, number, device] = row();
    const TemporaryFolder root;
    std::filesystem::create_directories(root / "dev");
    for (const Names& names : {fitted, unfitted, adapters})
        for (const std::string& name : names) touch(root / "dev" / name);
    for (const std::string& name : fitted) touch(root / "class" / name / "type", "4\n");
    for (const std::string& name : unfitted) touch(root / "class" / name / "type", "0\n");

    const auto found = serialPort(number, placesIn(root));
    ASSERT_EQ(found ? found->filename().string() : "", device);
}

TEST(SerialPorts, linkToAnUnpluggedAdapterKeepsItsNumber)
{
    const TemporaryFolder root;
    touch(root / "dev/ttyUSB0");
    std::filesystem::create_directories(root / "program");
    const std::filesystem::path link = root / "program/com5";
    std::filesystem::create_symlink(root / "dev/serial/by-id/usb-scale", link);
    ASSERT_EQ(serialPort(5, placesIn(root)).value(), link);
    ASSERT_FALSE(serialPort(6, placesIn(root)).has_value());
}

/// Adapters that are plugged in, with their links below serial/.
void plug(const TemporaryFolder& root, const std::string& node, const Names& links)
{
    touch(root / "dev" / node);
    for (const std::string& link : links) {
        const std::filesystem::path place = root / "dev/serial" / link;
        std::filesystem::create_directories(place.parent_path());
        std::filesystem::remove(place);
        std::filesystem::create_symlink(root / "dev" / node, place);
    }
}

TEST(SerialPorts, rememberedAdapterKeepsItsNumberWhateverNodeItHas)
{
    const TemporaryFolder root;
    const auto node = [&](int number) {
        const auto found = serialPort(number, placesIn(root), {{5, "by-id/usb-A"}, {7, "by-id/usb-B"}});
        return found ? realDevice(*found).filename().string() : "";
    };
    plug(root, "ttyUSB0", {"by-id/usb-A"});
    plug(root, "ttyUSB1", {"by-id/usb-B"});
    plug(root, "ttyUSB2", {"by-id/usb-New"});
    EXPECT_EQ(node(5), "ttyUSB0");
    EXPECT_EQ(node(6), "ttyUSB2"); // what nobody remembers gets the numbers that are left
    EXPECT_EQ(node(7), "ttyUSB1");
    EXPECT_EQ(node(8), "");

    plug(root, "ttyUSB0", {"by-id/usb-B"});
    plug(root, "ttyUSB1", {"by-id/usb-A"});
    EXPECT_EQ(node(5), "ttyUSB1");
    EXPECT_EQ(node(7), "ttyUSB0");

    std::filesystem::remove(root / "dev/ttyUSB1");
    EXPECT_EQ(node(5), "usb-A"); // its plug is out, and no other adapter takes its place
    EXPECT_EQ(node(6), "ttyUSB2");
}

TEST(SerialPorts, adapterIsNamedByItsMakeAndNumberUnlessAnotherHasTheSameName)
{
    const TemporaryFolder root;
    plug(root, "ttyUSB0", {"by-path/pci-1", "by-id/usb-CH340"});
    touch(root / "dev/ttyS0");
    EXPECT_EQ(stableName(root / "dev/ttyUSB0", placesIn(root)), "by-id/usb-CH340");
    EXPECT_EQ(stableName(root / "dev/ttyS0", placesIn(root)), std::nullopt);

    plug(root, "ttyUSB1", {"by-path/pci-2", "by-id/usb-CH340"}); // takes the link of the first
    EXPECT_EQ(stableName(root / "dev/ttyUSB0", placesIn(root)), "by-path/pci-1");
    EXPECT_EQ(stableName(root / "dev/ttyUSB1", placesIn(root)), "by-path/pci-2");
}

TEST(SerialPorts, adapterIsFoundByItsSocketWhileAnotherHasTheSameName)
{
    const TemporaryFolder root;
    const auto node = [&] {
        const auto found = serialPort(5, placesIn(root), {{5, "by-id/usb-CH340|by-path/pci-1"}});
        return found ? realDevice(*found).filename().string() : "";
    };
    plug(root, "ttyUSB0", {"by-path/pci-1", "by-id/usb-CH340"});
    EXPECT_EQ(rememberedName(root / "dev/ttyUSB0", placesIn(root)), "by-id/usb-CH340|by-path/pci-1");
    EXPECT_EQ(stillRemembered("by-id/usb-CH340|by-path/pci-1", placesIn(root)), "by-id/usb-CH340|by-path/pci-1");
    EXPECT_EQ(node(), "ttyUSB0");

    plug(root, "ttyUSB1", {"by-path/pci-2", "by-id/usb-CH340"}); // takes the link of the first
    EXPECT_EQ(node(), "ttyUSB0");
    EXPECT_EQ(rememberedName(root / "dev/ttyUSB1", placesIn(root)), "by-path/pci-2");
    EXPECT_EQ(stillRemembered("by-id/usb-CH340|by-path/pci-1", placesIn(root)), "by-path/pci-1");
}

TEST(SerialPorts, lineIsHungUpWhenItsOtherEndHasGone)
{
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(master, 0);
    ASSERT_EQ(::grantpt(master), 0);
    ASSERT_EQ(::unlockpt(master), 0);
    const std::string name = ::ptsname(master);
    const int line = ::open(name.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(line, 0);
    EXPECT_FALSE(isHungUp(line));
    EXPECT_TRUE(isThere(name));
    ::close(master);
    EXPECT_TRUE(isHungUp(line));
    EXPECT_FALSE(isThere(name));
    ::close(line);
}

TEST(SerialPorts, linksAreFollowedToTheRealDevice)
{
    const TemporaryFolder root;
    touch(root / "dev/ttyUSB3");
    std::filesystem::create_directories(root / "program");
    std::filesystem::create_symlink(root / "dev/ttyUSB3", root / "program/com3");
    const auto found = serialPort(3, placesIn(root)).value();
    ASSERT_EQ(realDevice(found), std::filesystem::canonical(root / "dev/ttyUSB3"));
}

} // namespace
