#pragma once

#include "store/jet/format/usage_map_layout.h"
#include "store/jet/pages/pager.h"

#include <vector>

/// Usage maps: which pages somebody owns, may still fill, or nobody has (format/usage_map_layout.h draws them).
namespace jet {

/// Page numbers set in the map, ascending. Bits past the end of the file are left out.
/// Throws damaged when the map's bytes contradict the format.
std::vector<PageNo> mapPages(Pager& pager, MapRef map);
/// The map has bits for pages behind the end of the file, not much further than a file grows between two copies of it:
/// the mark of a file whose end is missing. Throws damaged as mapPages.
bool mapLeadsPastTheEnd(Pager& pager, MapRef map);
bool mapHas(Pager& pager, MapRef map, PageNo page);
/// Sets a page's bit; grows, re-bases or converts the map when the page lies outside its range. In a transaction.
void mapSet(Pager& pager, MapRef map, PageNo page);
/// The bitmap pages (type 05) that a map refers to; none for an inline map. They are in no owner's map.
/// Throws damaged as mapPages.
std::vector<PageNo> mapBitmapPages(Pager& pager, MapRef map);
/// Clears a page's bit; nothing when it lies outside the map. In a transaction.
void mapClear(Pager& pager, MapRef map, PageNo page);

/// Takes the lowest page out of the file's free set, growing the file when none is left. Its content is zeroed. In a
/// transaction. Throws damaged when the free map offers a page that cannot be free, disk at 2 GiB.
PageNo allocatePage(Pager& pager);
/// Gives a page back: `tombstone` becomes its type byte. The caller has removed it from every owner's map. In a
/// transaction. Throws damaged when it is free already.
void freePage(Pager& pager, PageNo page, PageType tombstone = PageType::blank);

} // namespace jet
