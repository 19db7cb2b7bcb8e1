#include "counter/booking.h"

#include "base/numbers.h"
#include "base/pass_over.h"
#include "mill/customer_name.h"
#include "mill/queries.h"

#include <cmath>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace counter {
namespace {

using base::passOver;
using mill::Cari, mill::Hareket;

using Texts = std::vector<std::pair<int, QString>>; ///< field position, what is to stand there

/// Nothing entered is nothing pressed, taken or paid: never a Null in the books.
QString quantity(const QString& display) { return display.isEmpty() ? u"0"_s : display; }

Texts termsOf(const mill::Pressing& pressing)
{
    return {{Cari::Yuzde, quantity(pressing.percentage)},
            {Cari::Kap, pressing.container},
            {Cari::Nakit, quantity(pressing.fee)}};
}

Texts figuresOf(const mill::Pressing& pressing)
{
    return {{Hareket::Zeytin, quantity(pressing.olives)},    {Hareket::Yağ, quantity(pressing.oil)},
            {Hareket::Yuzde, quantity(pressing.percentage)}, {Hareket::HakTut, quantity(pressing.entitlement)},
            {Hareket::Nakit, quantity(pressing.fee)},        {Hareket::CariHar, pressing.customer}};
}

void writeTerms(store::DataSource& source, const mill::Pressing& pressing, const base::Regional& regional)
{
    const bool known = makeNamedCurrent(source, pressing.customer);
    store::RecordSet& customers = source.recordSet();
    if (known) {
        passOver([&] { customers.edit(); });
    } else {
        passOver([&] { customers.addNew(); });
        passOver([&] { customers.setField(Cari::Unvan, pressing.customer, regional); });
    }
    for (const auto& term : termsOf(pressing)) passOver([&] { customers.setField(term.first, term.second, regional); });
    passOver([&] {
        customers.update();
        // The same name again must find this row, without recalling what it just stored.
        if (!known) customers.makeAddedCurrent();
    });
}

bool writePressing(store::RecordSet& journal, const store::SlipNote& slip, const base::Regional& regional)
{
    passOver([&] { journal.addNew(); });
    passOver([&] { journal.setField(Hareket::Tarih, store::DateDays{slip.moment}); });
    for (const auto& figure : figuresOf(slip.pressing))
        passOver([&] { journal.setField(figure.first, figure.second, regional); });
    return !passOver([&] { journal.update(); });
}

/// A failure that another pressing would meet as well. An index may refuse this one's values alone.
bool isOfTheFile(int error, store::Engine& database, const QString& table)
{
    using namespace base::errors;
    return error == databaseFault || error == databaseMissing || error == databaseInUse || error == changedElsewhere ||
           (error == readOnlyDatabase && database.whyReadOnly(table));
}

/// The field would round what is on the paper.
bool wouldRound(const store::FieldInfo& field, const QString& text, const base::Regional& regional)
{
    const bool ofNumbers = field.kind == store::FieldKind::number || field.kind == store::FieldKind::money;
    if (!ofNumbers || !field.whole) return false;
    const double number = base::toDouble(text, regional);
    return number != std::nearbyint(number);
}

/// Sets the fields of the row that is being written, and writes it. Why it cannot be, by the first field that refuses.
std::optional<QString> whyNotWritten(store::DataSource& source, const QString& table, const Texts& texts,
                                     const base::Regional& regional)
{
    store::RecordSet& rows = source.recordSet();
    for (const auto& entry : texts) {
        const int field = entry.first;
        const QString& text = entry.second;
        const auto position = static_cast<std::size_t>(field);
        if (position >= rows.fields().size()) return u"%1 tablosunun %2. alanı yok."_s.arg(table).arg(field + 1);
        const store::FieldInfo& info = rows.fields()[position];
        if (passOver([&] { rows.setField(field, text, regional); }))
            return u"%1 tablosunun %2 alanı “%3” değerini almıyor."_s.arg(table, info.name, text);
        if (wouldRound(info, text, regional))
            return u"%1 tablosunun %2 alanı tam sayı alır, “%3” değil."_s.arg(table, info.name, text);
        if (info.kind == store::FieldKind::text && info.size > 0 && text.size() > info.size)
            return u"%1 tablosunun %2 alanı en çok %3 harf alır, “%4” %5 harf."_s.arg(table, info.name)
                .arg(info.size)
                .arg(text)
                .arg(text.size());
    }
    const auto error = passOver([&] { rows.update(); });
    if (!error) return std::nullopt;
    if (isOfTheFile(error->number(), source.database(), table)) throw base::RuntimeError(*error);
    return error->text();
}

} // namespace

bool makeNamedCurrent(store::DataSource& customers, const QString& name)
{
    bool isCurrent = false;
    // No current record, or one that is gone, is another customer.
    passOver([&] { isCurrent = customers.recordSet().field(Cari::Unvan).text() == name; });
    if (isCurrent) return true;
    customers.setRecordSource(mill::customerNamed(name));
    customers.refreshQuietly();
    return customers.recordSet().size() > 0;
}

bool book(store::DataSource& customers, store::DataSource& journal, const store::SlipNote& slip,
          const base::Regional& regional)
{
    bool booked = false;
    const auto attempt = [&] {
        return passOver([&] {
            store::Change change(customers.database());
            customers.database().nameChange(slip.identity);
            bool added = false;
            passOver([&] { writeTerms(customers, slip.pressing, regional); });
            passOver([&] { added = writePressing(journal.recordSet(), slip, regional); });
            change.commit();
            booked = added;
        });
    };
    // Another program wrote at the same moment: once more, on what is there now.
    if (const auto error = attempt(); error && error->number() == base::errors::changedElsewhere) attempt();
    return booked;
}

std::optional<QString> whyNotBooked(store::Databases& databases, const QString& database, const store::SlipNote& slip,
                                    const base::Regional& regional)
{
    const QString& customer = slip.pressing.customer;
    if (std::optional<QString> why = mill::whyNoCustomer(customer)) return why;

    // Sources of its own: what the screen has searched stays where it is.
    store::DataSource customers(databases), journal(databases);
    customers.setRecordSource(mill::customerNamed(customer));
    // One day is enough: whether the table takes a row does not depend on which rows are listed.
    const QDate day = store::FieldValue(store::DateDays{slip.moment}).moment().date();
    journal.setRecordSource(mill::pressingsWhere(mill::periodCondition(day, day)));
    for (store::DataSource* source : {&customers, &journal}) {
        source->setDatabaseName(database);
        source->refresh();
    }

    const store::Change takenBack(customers.database());
    Texts terms = termsOf(slip.pressing);
    if (customers.recordSet().size() > 0) {
        customers.recordSet().edit();
    } else {
        customers.recordSet().addNew();
        terms.insert(terms.begin(), {Cari::Unvan, customer});
    }
    if (auto why = whyNotWritten(customers, mill::customerTable, terms, regional)) return why;

    journal.recordSet().addNew();
    if (passOver([&] { journal.recordSet().setField(Hareket::Tarih, store::DateDays{slip.moment}); }))
        return u"%1 tablosunun ilk alanı tarih almıyor."_s.arg(mill::journalTable);
    return whyNotWritten(journal, mill::journalTable, figuresOf(slip.pressing), regional);
}

} // namespace counter
