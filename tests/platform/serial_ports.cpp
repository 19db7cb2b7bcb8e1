#include "platform/serial_ports.h"
#include "tests/support/files.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

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
class SerialPortsNumber : public TableTest<SerialPortsNumberRow> {};

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

INSTANTIATE_TEST_SUITE_P(, SerialPortsNumber, testing::ValuesIn(serialPortsNumber()), RowName());

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
