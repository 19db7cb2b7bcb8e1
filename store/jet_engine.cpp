#include "store/jet_engine.h"

#include "base/error.h"
#include "files/quoted_path.h"
#include "store/jet/care/maintenance.h"
#include "store/jet/database/database.h"
#include "store/jet/sql/sql.h"

#include <cmath>
#include <filesystem>
#include <limits>

using namespace Qt::StringLiterals;

namespace store {
namespace {

std::u16string u16(const QString& text) { return text.toStdU16String(); }
QString qt(std::u16string_view text) { return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size())); }

static_assert(jet::maxPages <= 1U << 24, "a row key has 24 bits for the page, 8 for the slot");
RowKey keyOf(jet::RowId id) { return id.packed(); }

jet::RowId idOf(RowKey key) { return jet::RowId::unpacked(static_cast<std::uint32_t>(key)); }

int numberOf(jet::Fault fault)
{
    using jet::Fault;
    static constexpr std::pair<Fault, int> numbers[] = {
        {Fault::notFound, base::errors::databaseMissing},
        {Fault::isFolder, base::errors::databaseMissing},
        {Fault::noSuchRow, base::errors::recordDeleted},
        {Fault::syntax, base::errors::querySyntax},
        {Fault::badValue, base::errors::dataConversion},
        {Fault::required, base::errors::fieldRequired},
        {Fault::emptyText, base::errors::emptyText},
        {Fault::ruleBroken, base::errors::ruleBroken},
        {Fault::noParent, base::errors::noParent},
        {Fault::hasChildren, base::errors::hasChildren},
        {Fault::duplicate, base::errors::duplicateKey},
        {Fault::readOnly, base::errors::readOnlyDatabase},
        {Fault::indexNotWritable, base::errors::readOnlyDatabase},
        {Fault::noPermission, base::errors::readOnlyDatabase},
        {Fault::inUse, base::errors::databaseInUse},
        {Fault::changedElsewhere, base::errors::changedElsewhere},
    };
    for (const auto& [known, number] : numbers)
        if (known == fault) return number;
    return base::errors::databaseFault;
}

/// Runs a call of the engine and gives its failure the program's own form.
template <class Call> auto passing(Call&& call)
{
    try {
        return call();
    } catch (const jet::Error& error) {
        throw base::RuntimeError(numberOf(error.fault()), QString::fromUtf8(error.what()));
    }
}

template <class Number> void setRange(FieldInfo& field)
{
    field.kind = FieldKind::number;
    field.whole = std::numeric_limits<Number>::is_integer;
    field.lowest = std::numeric_limits<Number>::lowest();
    field.highest = std::numeric_limits<Number>::max();
}

FieldInfo fieldInfoOf(const jet::Column& column)
{
    using jet::ColumnType;
    FieldInfo field{qt(column.name)};
    switch (column.type) {
    case ColumnType::text:
        field.size = column.length / 2;
        [[fallthrough]];
    case ColumnType::memo:
        field.kind = FieldKind::text;
        break;
    case ColumnType::boolean:
        field.kind = FieldKind::boolean;
        break;
    case ColumnType::dateTime:
        field.kind = FieldKind::date;
        break;
    case ColumnType::byte:
        setRange<std::uint8_t>(field);
        break;
    case ColumnType::integer:
        setRange<std::int16_t>(field);
        break;
    case ColumnType::longInteger:
        setRange<std::int32_t>(field);
        break;
    case ColumnType::singleFloat:
        setRange<float>(field);
        break;
    case ColumnType::doubleFloat:
        setRange<double>(field);
        break;
    case ColumnType::currency:
        field.kind = FieldKind::money;
        field.highest = 922337203685477.5; // the format's 922337203685477.5807, as far as a double goes
        field.lowest = -field.highest;
        break;
    case ColumnType::numeric:
        field.kind = FieldKind::number;
        field.highest = std::nextafter(std::pow(10.0, column.precision - column.scale), 0.0);
        field.lowest = -field.highest;
        break;
    default:
        break;
    }
    return field;
}

FieldValue fieldOf(const jet::Value& value)
{
    struct Read {
        FieldValue operator()(jet::Null) const { return {}; }
        FieldValue operator()(bool flag) const { return flag; }
        FieldValue operator()(std::uint8_t number) const { return static_cast<double>(number); }
        FieldValue operator()(std::int16_t number) const { return static_cast<double>(number); }
        FieldValue operator()(std::int32_t number) const { return static_cast<double>(number); }
        FieldValue operator()(jet::Currency money) const { return Money{money.tenThousandths}; }
        // The seven digits that a single stands for, not the binary tail that widening would show.
        FieldValue operator()(float number) const { return QString::number(double(number), 'g', 7).toDouble(); }
        FieldValue operator()(double number) const { return number; }
        FieldValue operator()(jet::DateTime date) const { return DateDays{date.days}; }
        FieldValue operator()(const std::u16string& text) const { return qt(text); }
        FieldValue operator()(const jet::Bytes&) const { return {}; }
        FieldValue operator()(const jet::Guid&) const { return {}; }
        FieldValue operator()(const jet::Numeric& number) const
        {
            long double magnitude = 0;
            for (std::uint32_t word : number.magnitude) magnitude = magnitude * 4294967296.0L + word;
            for (int i = 0; i < number.scale; ++i) magnitude /= 10;
            return static_cast<double>(number.negative ? -magnitude : magnitude);
        }
    };
    return std::visit(Read{}, value);
}

jet::Value valueOf(const FieldValue& field)
{
    struct Write {
        jet::Value operator()(std::monostate) const { return jet::Null{}; }
        jet::Value operator()(bool flag) const { return flag; }
        jet::Value operator()(double number) const { return number; }
        jet::Value operator()(Money money) const { return jet::Currency{money.tenThousandths}; }
        jet::Value operator()(DateDays date) const { return jet::DateTime{date.days}; }
        jet::Value operator()(const QString& text) const { return u16(text); }
    };
    return std::visit(Write{}, field.raw());
}

class JetScope : public ChangeScope {
public:
    explicit JetScope(jet::Pager& pager) : transaction_(pager) {}
    void commit() override
    {
        passing([this] { transaction_.commit(); });
    }

private:
    jet::Transaction transaction_;
};

class JetSnapshot : public Snapshot {
public:
    JetSnapshot(files::Disk& disk, std::unique_ptr<jet::Snapshot> pages) : disk_(disk), pages_(std::move(pages)) {}
    void copyTo(const std::filesystem::path& to, const std::filesystem::path& part,
                const std::function<bool()>& goOn) override
    {
        passing([&] {
            jet::backup(disk_, *pages_, to, part, [&](int) {
                if (!goOn()) throw jet::Error(jet::Fault::disk, "Kopya yarıda bırakıldı.");
            });
        });
    }

private:
    files::Disk& disk_;
    std::unique_ptr<jet::Snapshot> pages_;
};

class JetEngine : public Engine {
public:
    JetEngine(files::Disk& disk, std::unique_ptr<jet::Database> database) : disk_(disk), database_(std::move(database))
    {
    }

    Listing open(const QString& source) override
    {
        return passing([&] {
            const QString text = source.trimmed();
            const bool query = text.startsWith("select "_L1, Qt::CaseInsensitive);
            const jet::Selection found = jet::select(*database_, u16(query ? text : u"Select * From [%1]"_s.arg(text)));
            if (!found.table) throw jet::Error(jet::Fault::unsupported, "Toplam sorgusu bir listeye bağlanamaz.");
            Listing listing;
            listing.table = qt(found.table->name());
            for (std::size_t column : found.fields)
                listing.fields.push_back(fieldInfoOf(found.table->columns()[column]));
            listing.rows.reserve(found.rows.size());
            for (jet::RowId id : found.rows) listing.rows.push_back(keyOf(id));
            return listing;
        });
    }

    FieldValue field(const Listing& listing, RowKey row, int position) override
    {
        const auto fetch = [&] {
            const jet::Table& table = tableOf(listing);
            const std::optional<jet::RowView> view = table.row(idOf(row));
            if (!view) throw base::runtimeError(base::errors::recordDeleted);
            return fieldOf(view->value(columnOf(table, listing, position)));
        };
        return passing([&] {
            try {
                return fetch();
            } catch (const jet::Error& error) {
                if (error.fault() != jet::Fault::changedElsewhere || database_->pager().inTransaction()) throw;
            }
            // A page had to be read, and the file is another now. Looking before every field would take too long.
            return jet::onWhatIsThere(database_->pager(), fetch);
        });
    }

    RowKey insert(const Listing& listing, const Assignments& values) override
    {
        return passing([&] {
            jet::Table& table = tableOf(listing);
            return keyOf(table.insert(assignments(table, listing, values)));
        });
    }

    void update(const Listing& listing, RowKey row, const Assignments& values) override
    {
        passing([&] {
            jet::Table& table = tableOf(listing);
            if (!table.row(idOf(row))) throw base::runtimeError(base::errors::recordDeleted);
            table.update(idOf(row), assignments(table, listing, values));
        });
    }

    void erase(const Listing& listing, RowKey row) override
    {
        passing([&] {
            jet::Table& table = tableOf(listing);
            if (!table.row(idOf(row))) throw base::runtimeError(base::errors::recordDeleted);
            table.erase(idOf(row));
        });
    }

    std::vector<RowKey> matching(const Listing& listing, const QString& criteria) override
    {
        return passing([&] {
            std::vector<RowKey> rows;
            jet::onWhatIsThere(database_->pager(), [&] {
                rows.clear();
                for (jet::RowId id : jet::rowsWhere(tableOf(listing), u16(criteria))) rows.push_back(keyOf(id));
            });
            return rows;
        });
    }

    std::size_t countRows(const QString& table) override
    {
        return passing([&]() -> std::size_t {
            return jet::onWhatIsThere(database_->pager(), [&] { return database_->table(u16(table)).liveRows(); });
        });
    }

    std::size_t execute(const QString& sql) override
    {
        return passing([&] { return jet::execute(*database_, u16(sql)); });
    }

    QList<FieldValue> aggregate(const QString& sql) override
    {
        return passing([&] {
            QList<FieldValue> row;
            for (const jet::Value& value : jet::select(*database_, u16(sql)).aggregates) row << fieldOf(value);
            return row;
        });
    }

    std::unique_ptr<ChangeScope> change() override
    {
        return passing([&] {
            jet::Pager& pager = database_->pager();
            if (!pager.inTransaction()) pager.lookAround();
            return std::make_unique<JetScope>(pager);
        });
    }

    bool prepareSearch(const QString& table, const QString& field) override
    {
        return passing([&] { return jet::prepareOrder(*database_, u16(table), u16(field)); });
    }

    bool prepareMatching(const QString& table, const QString& field) override
    {
        return passing([&] { return jet::prepareTexts(*database_, u16(table), u16(field)); });
    }

    bool prepareWriting(const QStringList& tables) override
    {
        return passing([&] {
            std::vector<std::u16string> names;
            for (const QString& table : tables) names.push_back(u16(table));
            return database_->verifyAhead(names);
        });
    }

    std::optional<QString> whyReadOnly(const QString& table) override
    {
        return passing([&]() -> std::optional<QString> {
            const std::optional<std::string> why =
                jet::onWhatIsThere(database_->pager(), [&] { return database_->table(u16(table)).whyReadOnly(); });
            return why ? std::optional(QString::fromStdString(*why)) : std::nullopt;
        });
    }

    bool hasTable(const QString& table) override
    {
        return passing(
            [&] { return jet::onWhatIsThere(database_->pager(), [&] { return database_->hasTable(u16(table)); }); });
    }

    std::unique_ptr<Snapshot> snapshot() override
    {
        return passing([&] { return std::make_unique<JetSnapshot>(disk_, database_->pager().snapshot()); });
    }

private:
    jet::Table& tableOf(const Listing& listing) { return database_->table(u16(listing.table)); }

    static std::size_t columnOf(const jet::Table& table, const Listing& listing, int position)
    {
        if (position < 0 || static_cast<std::size_t>(position) >= listing.fields.size())
            throw base::runtimeError(base::errors::noSuchField);
        const auto column = table.columnNamed(u16(listing.fields[static_cast<std::size_t>(position)].name));
        if (!column) throw base::runtimeError(base::errors::noSuchField);
        return *column;
    }

    static std::vector<jet::Assignment> assignments(const jet::Table& table, const Listing& listing,
                                                    const Assignments& values)
    {
        std::vector<jet::Assignment> result;
        for (const auto& [position, value] : values)
            result.push_back({columnOf(table, listing, position), valueOf(value)});
        return result;
    }

    files::Disk& disk_;
    std::unique_ptr<jet::Database> database_;
};

} // namespace

std::shared_ptr<Engine> JetDatabases::open(const QString& path)
{
    std::weak_ptr<Engine>& known = open_[path];
    if (std::shared_ptr<Engine> engine = known.lock()) return engine;
    auto engine = passing([&]() -> std::shared_ptr<Engine> {
        auto database = jet::Database::open(disk_, std::filesystem::path(path.toStdU16String()));
        const jet::Pager& pages = database->pager();
        // Read and never written it would be no journal: better no counter than one that books nothing.
        if (pages.protection() != jet::Protection::none)
            throw jet::Error(jet::Fault::encoded,
                             files::quotedPath(pages.path()) + " ile çalışılamaz: " + pages.whyNotWritable() + '.');
        return std::make_shared<JetEngine>(disk_, std::move(database));
    });
    known = engine;
    return engine;
}

} // namespace store
