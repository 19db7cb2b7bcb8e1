#include "bench/mill.h"
#include "bench/sides.h"

#include <cstdio>
#include <fstream>

namespace sides {

/// The register of customers as a spreadsheet would write it; none of its texts needs quotes.
void prepareCsv(const Files& files)
{
    if (std::filesystem::exists(files.customersCsv())) return;
    std::ofstream csv(files.customersCsv());
    csv << "Unvan,Yuzde,Kap,Nakit\n";
    for (const long_mill::Customer& customer : long_mill::customers()) {
        char numbers[60];
        std::snprintf(numbers, sizeof numbers, "%.1f,", static_cast<double>(customer.share));
        csv << long_mill::utf8(customer.name) << ',' << numbers << long_mill::utf8(customer.container) << ','
            << customer.fee / 10000 << '\n';
    }
}

} // namespace sides
