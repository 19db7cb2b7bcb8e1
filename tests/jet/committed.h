#pragma once

#include "store/jet/pages/pager.h"

#include <utility>

/// Does work as one change of the file.
template <class Work> void committed(jet::Pager& pager, Work&& work)
{
    jet::Transaction change(pager);
    std::forward<Work>(work)();
    change.commit();
}
