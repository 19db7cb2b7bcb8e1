#include "sheets/workbook.h"

#include "files/error.h"
#include "files/language.h"

namespace sheets {

struct Workbook::State {};

bool available() { return false; }

Workbook::Workbook(const std::filesystem::path&)
{
    throw files::Error(files::Fault::unsupported,
                       files::said("Bu kurulum .xlsx yazamaz (libxlsxwriter olmadan derlenmiş).",
                                   "This installation cannot write .xlsx (it was built without libxlsxwriter)."));
}

Workbook::~Workbook() = default;
void Workbook::beginSheet(std::string_view, const std::vector<Heading>&) {}
bool Workbook::text(std::size_t, const std::string&) { return false; }
void Workbook::number(std::size_t, double) {}
void Workbook::money(std::size_t, double) {}
void Workbook::moment(std::size_t, double) {}
void Workbook::boolean(std::size_t, bool) {}
void Workbook::nextRow() {}
void Workbook::close() {}

} // namespace sheets
