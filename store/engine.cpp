#include "store/engine.h"

#include "base/error.h"

using namespace Qt::StringLiterals;

namespace store {
namespace {

const QString provider = u"Provider=Microsoft.Jet.OLEDB.4.0;"_s;
const QString dataSource = u"Data Source="_s;

} // namespace

std::size_t Engine::countRows(const QString& table) { return open(table).rows.size(); }

void Engine::nameChange(const QString& /*slip*/) {}

bool Engine::prepareSearch(const QString& /*table*/, const QString& /*field*/) { return true; }

bool Engine::prepareMatching(const QString& /*table*/, const QString& /*field*/) { return true; }

bool Engine::prepareWriting(const QStringList& /*tables*/) { return true; }

std::optional<QString> Engine::whyReadOnly(const QString& /*table*/) { return std::nullopt; }

std::optional<QString> Engine::whyNotEmptied() { return std::nullopt; }

bool Engine::hasTable(const QString& /*table*/) { return false; }

std::unique_ptr<Snapshot> Engine::snapshot() { throw base::runtimeError(base::errors::invalidCall); }

QString connectionText(const QString& path) { return provider + dataSource + path; }

std::shared_ptr<Engine> Databases::connect(const QString& connection)
{
    const qsizetype at = connection.indexOf(dataSource);
    if (!connection.startsWith(provider) || at < 0) throw base::runtimeError(base::errors::invalidCall);
    return open(connection.mid(at + dataSource.size()));
}

} // namespace store
