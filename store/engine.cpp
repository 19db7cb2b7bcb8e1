#include "store/engine.h"

#include "base/error.h"

using namespace Qt::StringLiterals;

namespace store {
namespace {

const QString provider = u"Provider=Microsoft.Jet.OLEDB.4.0;"_s;
const QString dataSource = u"Data Source="_s;

} // namespace

std::unique_ptr<Snapshot> Engine::snapshot() { throw base::runtimeError(base::errors::invalidCall); }

QString connectionText(const QString& path) { return provider + dataSource + path; }

std::shared_ptr<Engine> Databases::connect(const QString& connection)
{
    const qsizetype at = connection.indexOf(dataSource);
    if (!connection.startsWith(provider) || at < 0) throw base::runtimeError(base::errors::invalidCall);
    return open(connection.mid(at + dataSource.size()));
}

} // namespace store
