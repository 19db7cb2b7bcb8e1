// Opens a serial port and says what it hears, line by line, until a line is "end" or nothing has come for ten seconds.
// usage: heard_on_port COM1 [SPEED]

#include "platform/overlapped_port.h"

#include <cstdio>
#include <cstdlib>
#include <windows.h>

int main(int count, char** arguments)
{
    if (count < 2) return 2;
    platform::OverlappedPort port;
    platform::PortSettings settings;
    if (count > 2) settings.speed = std::atoi(arguments[2]);
    if (const auto fault = port.open(arguments[1], settings)) {
        std::printf("fault %d\n", static_cast<int>(*fault));
        return 1;
    }
    std::printf("open\n");
    std::fflush(stdout);
    std::string bytes;
    while (bytes.find("end\r") == std::string::npos) {
        if (::WaitForSingleObject(port.arrived(), 10000) != WAIT_OBJECT_0) {
            std::printf("silence\n");
            return 1;
        }
        if (!port.take(bytes)) {
            std::printf("%s: %s\n", bytes.c_str(), platform::isHungUp(port.line()) ? "hung up" : "failed");
            return 1;
        }
    }
    std::printf("%s\n", bytes.c_str());
}
