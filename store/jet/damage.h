#pragma once

#include "store/jet/error.h"
#include "store/jet/pager.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace jet {

/// A path as people read it in a sentence: quoted, UTF-8.
std::string quotedPath(const std::filesystem::path& path);
/// A name of a table, column or index as people read it in a sentence.
std::string quotedName(std::u16string_view name);

/// Throws Fault::damaged for bytes on a page that contradict the format. `what` is a Turkish clause.
[[noreturn]] void throwDamaged(const Pager& pager, PageNo page, std::string_view what);

} // namespace jet
