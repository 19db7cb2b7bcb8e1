#include "tests/support/table.h"

std::string RowName::plain(const std::string& name)
{
    std::string plain;
    for (const char letter : name) {
        const bool stays =
            (letter >= '0' && letter <= '9') || (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
        if (stays)
            plain += letter;
        else if (!plain.empty() && plain.back() != '_')
            plain += '_';
    }
    while (!plain.empty() && plain.back() == '_') plain.pop_back();
    return plain;
}
