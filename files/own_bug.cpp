#include "files/own_bug.h"

#include <filesystem>
#include <typeinfo>

namespace files {

std::string ownBug(std::string_view action, const std::exception& error, const std::source_location& place)
{
    // The folders of whoever built the program tell nobody anything.
    const std::string file = std::filesystem::path(place.file_name()).filename().string();
    return "Programda bir hata var: " + std::string(action) + " sırasında beklenmeyen bir durum oluştu (" +
           typeid(error).name() + ": " + error.what() + "; " + file + ':' + std::to_string(place.line()) +
           "). İşlem yarıda bırakıldı; bu satırı programı yapanlara iletin.";
}

} // namespace files
