#pragma once

#include <array>
#include <string_view>

namespace mill {

/// A kind of container that oil is filled into.
struct Container {
    double litres;
    std::u16string_view name; ///< as the list shows it and a customer's row keeps it
};

/// In the order of the list.
inline constexpr std::array<Container, 4> containers = {{
    {5, u" 5 Litrelik Kap"},
    {10, u"10 Litrelik Kap"},
    {15, u"15 Litrelik Kap"},
    {20, u"20 Litrelik Kap"},
}};

} // namespace mill
