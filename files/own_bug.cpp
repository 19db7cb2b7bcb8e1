#include "files/own_bug.h"

#include <filesystem>
#include <typeinfo>

namespace files {

std::string ownBug(std::string_view action, const std::exception& error, const char* file, int line)
{
    // The folders of whoever built the program tell nobody anything.
    const std::string name = std::filesystem::path(file).filename().string();
    return "Programda bir hata var: " + std::string(action) + " sırasında beklenmeyen bir durum oluştu (" +
           typeid(error).name() + ": " + error.what() + "; " + name + ':' + std::to_string(line) +
           "). İşlem yarıda bırakıldı; bu satırı programı yapanlara iletin.";
}

} // namespace files
