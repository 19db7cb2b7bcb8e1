#include "counter/register.h"

#include "base/numbers.h"
#include "base/pass_over.h"
#include "counter/booking.h"
#include "mill/customer_name.h"
#include "mill/queries.h"

using namespace Qt::StringLiterals;

namespace counter {

using mill::Cari;

Register::Register(store::DataSource& customers, base::Regional regional, std::function<void()> processEvents)
    : customers_(customers), regional_(std::move(regional)), processEvents_(std::move(processEvents))
{
}

void Register::search(const QString& typed)
{
    customers_.setRecordSource(mill::customerSearch(typed));
    store::VeriYenile(customers_, processEvents_);
}

bool Register::hasFound() { return customers_.recordSet().recordCount() != 0; }

bool Register::isCurrent(const QString& name)
{
    return hasFound() && customers_.recordSet().field(Cari::Unvan).text() == name;
}

Terms Register::termsOfCurrent()
{
    const auto text = [this](Cari::Field field) {
        std::optional<QString> caption;
        base::passOver([&] { caption = customers_.recordSet().field(field).toCaption(regional_); });
        return caption;
    };
    // A file of somebody else's may hold texts there.
    const auto figure = [&](Cari::Field field) {
        std::optional<QString> caption = text(field);
        if (caption && !caption->isEmpty() && !base::isNumeric(*caption, regional_)) caption.reset();
        return caption;
    };
    return {figure(Cari::Yuzde), text(Cari::Kap), figure(Cari::Nakit)};
}

void Register::makeCurrent(const QString& name)
{
    if (makeNamedCurrent(customers_, name)) return;
    throw base::RuntimeError(base::errors::recordDeleted,
                             u"“%1” adıyla kayıtlı müşteri yok; hiçbir şey silinmedi."_s.arg(name));
}

Terms Register::termsOf(const QString& name) { return makeNamedCurrent(customers_, name) ? termsOfCurrent() : Terms(); }

void Register::add(const QString& name)
{
    if (const std::optional<QString> why = mill::whyNoCustomer(name))
        throw base::RuntimeError(base::errors::invalidCall, *why);
    // One row for each customer, also where the search has another one in front.
    if (!customers_.database().open(mill::customerNamed(name)).rows.empty()) {
        makeNamedCurrent(customers_, name);
        return;
    }
    // Before anything is added: a name that the search could never find again is not saved.
    const QString criteria = mill::customerCriteria(name);
    store::RecordSet& customers = customers_.recordSet();
    customers.addNew();
    customers.setField(Cari::Unvan, name, regional_);
    customers.update();
    customers.findFirst(criteria);
}

void Register::eraseCurrent()
{
    // Pressings first, the customer's row last.
    store::RecordSet& customers = customers_.recordSet();
    store::Change change(customers_.database());
    customers_.database().execute(mill::deletePressingsOf(customers.field(Cari::Unvan).text()));
    customers.erase();
    change.commit();
}

void Register::eraseAll()
{
    store::Change change(customers_.database());
    customers_.database().execute(mill::deleteCustomers);
    customers_.database().execute(mill::deletePressings);
    change.commit();
}

void Register::erasePressings() { customers_.database().execute(mill::deletePressings); }

} // namespace counter
