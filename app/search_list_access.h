#pragma once

namespace app {

/// Tells assistive tools about search lists: a list whose rows can be read and picked. Rows come into being for a tool
/// when it asks for them. To be called before the first list is made; further calls do nothing.
void describeSearchLists();

} // namespace app
