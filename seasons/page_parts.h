#pragma once

#include <string_view>

/// What a page is furnished with, compiled in so that the program needs no file at run time.
namespace seasons::parts {

extern const std::string_view style;
extern const std::string_view script;
extern const std::string_view live;   ///< of a page that is served: looks for today's pressings again and again
extern const std::string_view charts; ///< the library that draws; empty where the build had none

} // namespace seasons::parts
