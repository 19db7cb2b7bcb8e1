#include "store/joint/shared_databases.h"

#include "base/pass_over.h"
#include "mill/queries.h"

namespace shared {

std::shared_ptr<store::Engine> SharedDatabases::open(const QString& path)
{
    if (std::shared_ptr<store::Engine> engine = sharedEngine(path)) return engine;
    std::shared_ptr<store::Engine> file = files_.open(path);
    bool isShared = false;
    // Most files have no such table.
    base::passOver([&] { isShared = !file->open(mill::text(mill::Durum::table)).rows.empty(); });
    if (!isShared) return file;
    auto engine = std::make_shared<SharedEngine>(std::move(file));
    open_[path] = engine;
    return engine;
}

std::shared_ptr<SharedEngine> SharedDatabases::sharedEngine(const QString& path) const
{
    const auto found = open_.find(path);
    return found == open_.end() ? nullptr : found->second.lock();
}

} // namespace shared
