#include "live/addresses.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <netinet/in.h>

namespace live {
namespace {

struct Release {
    void operator()(ifaddrs* all) const { freeifaddrs(all); }
};

/// The address of a network card; empty where it has none that is of the Internet.
std::string textOf(const sockaddr* address)
{
    std::array<char, INET6_ADDRSTRLEN> text{};
    const void* bytes = nullptr;
    if (address != nullptr && address->sa_family == AF_INET)
        bytes = &reinterpret_cast<const sockaddr_in*>(address)->sin_addr;
    else if (address != nullptr && address->sa_family == AF_INET6)
        bytes = &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
    const bool isText = bytes != nullptr && inet_ntop(address->sa_family, bytes, text.data(), text.size()) != nullptr;
    return isText ? text.data() : "";
}

enum class Which { all, othersKnow };

std::vector<std::string> addressesOfCards(Which which)
{
    std::vector<std::string> addresses;
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) return addresses;
    const std::unique_ptr<ifaddrs, Release> all(first);
    for (const ifaddrs* each = first; each != nullptr; each = each->ifa_next) {
        const std::string text = textOf(each->ifa_addr);
        // Those that begin so hold only together with the name of the card.
        const bool isHidden = (each->ifa_flags & IFF_LOOPBACK) != 0 || text.starts_with("fe80:");
        if (!text.empty() && (which == Which::all || !isHidden)) addresses.push_back(text);
    }
    return addresses;
}

} // namespace

std::optional<std::string> plainAddress(const std::string& text)
{
    std::array<std::uint8_t, sizeof(in6_addr)> bytes{};
    std::array<char, INET6_ADDRSTRLEN> plain{};
    for (const int family : {AF_INET, AF_INET6})
        if (inet_pton(family, text.c_str(), bytes.data()) == 1 &&
            inet_ntop(family, bytes.data(), plain.data(), plain.size()) != nullptr)
            return plain.data();
    return std::nullopt;
}

bool isOwnAddress(const std::string& plain)
{
    const bool isVersionFour = plain.find(':') == std::string::npos;
    if (isVersionFour && plain.starts_with("127.")) return plain != "127.255.255.255";
    const std::vector<std::string> own = addressesOfCards(Which::all);
    return std::ranges::find(own, plain) != own.end();
}

std::vector<std::string> ownAddresses() { return addressesOfCards(Which::othersKnow); }

} // namespace live
