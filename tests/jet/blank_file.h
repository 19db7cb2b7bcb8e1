#pragma once

#include "store/jet/format/header_layout.h"
#include "store/jet/format/usage_map_layout.h"
#include "store/jet/pages/page_code.h"
#include "store/jet/pages/row_page.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

/// Where the free map of blankFile begins in the file: first row of page 1, of the usual length.
inline constexpr std::size_t freeMapAt = 2 * jet::pageSize - jet::usage_map_layout::newRow;

/// The first pages of a database as far as Pager and usage maps look at them: signature, version, and page 1 with its
/// two maps (`pages` pages in use, all further ones free).
inline std::vector<std::uint8_t> blankFile(jet::PageCount pages = 16)
{
    namespace header = jet::header_layout;
    namespace map = jet::usage_map_layout;
    std::vector<std::uint8_t> file(pages * jet::pageSize);
    const std::span head = std::span(file).first<jet::pageSize>();
    jet::stampPage(head, jet::PageType::blank);
    std::ranges::copy(header::jetSignature, header::signature.of(head).begin());
    header::version.put(head, header::jet4);
    jet::maskHeader(head); // neither a password nor a key
    const std::span maps = std::span(file).subspan<jet::pageSize, jet::pageSize>();
    jet::initRowPage(maps, header::globalMapsPage);
    std::array<std::uint8_t, map::newRow> row{};
    for (unsigned page = pages; page < 512; ++page)
        row[map::inlineBits + page / 8] = static_cast<std::uint8_t>(row[map::inlineBits + page / 8] | 1U << page % 8);
    jet::appendRow(maps, row, jet::RowKind::ordinary);
    row.fill(0);
    jet::appendRow(maps, row, jet::RowKind::ordinary);
    return file;
}
