#pragma once

#include <string>

namespace live {

/// What a telephone sees that is not known: the same for everybody, with nothing of the mill in it. Its script takes
/// the invitation behind the '#' of its address, which no server and no log ever sees, and asks to be made known.
const std::string& entryPage();

} // namespace live
