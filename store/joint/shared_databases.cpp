#include "store/joint/shared_databases.h"

#include "mill/queries.h"

namespace shared {

std::shared_ptr<store::Engine> SharedDatabases::open(const QString& path)
{
    if (std::shared_ptr<store::Engine> engine = sharedEngine(path)) return engine;
    std::shared_ptr<store::Engine> file = files_.open(path);
    // A table that is there and cannot be read ends here: a counter that notes nothing down would be missed by nobody.
    const QString state = mill::text(mill::Durum::table);
    if (!file->hasTable(state) || file->open(state).rows.empty()) return file;
    auto engine = std::make_shared<SharedEngine>(std::move(file));
    open_[path] = engine;
    if (told_) told_();
    return engine;
}

std::shared_ptr<SharedEngine> SharedDatabases::sharedEngine(const QString& path) const
{
    const auto found = open_.find(path);
    return found == open_.end() ? nullptr : found->second.lock();
}

} // namespace shared
