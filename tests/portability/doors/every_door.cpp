// Says what the doors of platform/ find on this machine; changes nothing.

#include "platform/caps_lock.h"
#include "platform/print_queue.h"
#include "platform/registry.h"
#include "platform/screen_room.h"
#include "platform/serial_ports.h"
#include "platform/system_disk.h"

#include <cstdio>

int main()
{
    const std::filesystem::path absent = std::filesystem::temp_directory_path() / "presva-every-door.absent";
    std::printf("file there: %d\n", platform::systemDisk().exists(absent) ? 1 : 0);
    std::printf("Caps Lock: %d\n", platform::systemKeyboard()->toggled(platform::capsLockKey).value_or(false) ? 1 : 0);
    std::printf("Screen: %g\n", platform::screenRoom().value_or(platform::ScreenRoom()).scale);
    std::printf("Com1: %s\n", platform::serialPort(1, {}).value_or("none").string().c_str());
    std::printf("default queue: %s\n", platform::systemPrintQueue()->state().queue.c_str());
    const auto registry = platform::userRegistry();
    const bool shell = registry && registry->text(u"Environment", u"TEMP").has_value();
    std::printf("registry: %s\n", !registry ? "none" : shell ? "TEMP is there" : "TEMP is absent");
}
