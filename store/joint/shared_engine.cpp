#include "store/joint/shared_engine.h"

#include "base/error.h"
#include "base/pass_over.h"
#include "mill/queries.h"
#include "store/jet/values/order_key.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QUuid>
#include <algorithm>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace shared {
namespace {

using mill::Cari, mill::Durum, mill::Giden, mill::Hareket;
using store::FieldValue;

// What presva.islet calls the changes.
const QString pressingComes = mill::text(Giden::pressingComes);
const QString customerTerms = u"cari"_s;
const QString pressingsGo = u"sikimlar-sil"_s;
const QString customerGoes = u"cari-sil"_s;

constexpr int longestName = 100; // as the server takes them
constexpr int longestContainer = 50;

/// Names of the columns on the server, in the order of the fields.
const QString customerColumns[] = {u"unvan"_s, u"yuzde"_s, u"kap"_s, u"nakit"_s};
const QString pressingColumns[] = {u"tarih"_s,  u"zeytin"_s, u"yag"_s,    u"yuzde"_s,
                                   u"haktut"_s, u"nakit"_s,  u"carihar"_s};

[[noreturn]] void refuse(const QString& sentence) { throw base::RuntimeError(base::errors::invalidCall, sentence); }

QString qt(const std::string& text) { return QString::fromStdString(text); }

QString number(double value)
{
    if (!std::isfinite(value)) refuse(u"Sonsuz bir sayı ortak deftere yazılamaz."_s);
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

/// As the server takes it: a number as a text that means the same double.
QJsonValue written(const FieldValue& value)
{
    if (value.isNull()) return QJsonValue::Null;
    if (value.isText()) return value.text();
    if (const auto* const date = std::get_if<store::DateDays>(&value.raw())) return number(date->days);
    return number(value.number().value_or(0));
}

/// As the history says it. A number that JSON has none for stands there as a text.
FieldValue read(const QJsonValue& value)
{
    if (value.isDouble()) return value.toDouble();
    if (value.isString()) return value.toString();
    return {};
}

std::optional<double> numberIn(const FieldValue& value)
{
    if (const auto* const date = std::get_if<store::DateDays>(&value.raw())) return date->days;
    return value.number();
}

bool same(const FieldValue& one, const FieldValue& other)
{
    if (one.isText() || other.isText()) return one.isText() && other.isText() && one.text() == other.text();
    return numberIn(one) == numberIn(other);
}

QString quoted(QString name) { return u'\'' + name.replace(u'\'', u"''"_s) + u'\''; }

/// Names of tables are the same in any case.
bool isOf(const store::Listing& listing, const QString& table)
{
    return listing.table.compare(table, Qt::CaseInsensitive) == 0;
}

store::Listing fieldsOf(store::Engine& file, const QString& question)
{
    store::Listing listing = file.open(question);
    listing.rows.clear();
    return listing;
}

QJsonObject objectIn(const std::string& json)
{
    return QJsonDocument::fromJson(QByteArray::fromStdString(json)).object();
}

} // namespace

class SharedScope : public store::ChangeScope {
public:
    explicit SharedScope(SharedEngine& engine) : engine_(engine)
    {
        if (engine.depth_ == 0) engine.requireLoaded();
        inner_ = engine.file_->change();
        ++engine_.depth_;
    }
    ~SharedScope() override
    {
        inner_.reset();
        if (--engine_.depth_ == 0) engine_.takenBack(); // nothing is left to take back after a commit
    }
    void commit() override
    {
        if (engine_.depth_ > 1) return inner_->commit();
        engine_.loaded_ = false; // a commit that fails may have reached the file all the same
        inner_->commit();
        engine_.loaded_ = true;
        engine_.committed();
    }

private:
    SharedEngine& engine_;
    std::unique_ptr<store::ChangeScope> inner_;
};

SharedEngine::SharedEngine(std::shared_ptr<store::Engine> file)
    : file_(std::move(file)), customers_(fieldsOf(*file_, mill::customerNamed(mill::totalsName))),
      journal_(fieldsOf(*file_, mill::pressingsWhere(mill::totalsCriteria))),
      notes_(fieldsOf(*file_, mill::text(Giden::table)))
{
    load();
}

void SharedEngine::requireLoaded()
{
    if (!loaded_) load();
}

/// Everything or nothing: half of the notes would make this counter's own pressings come in as another's.
void SharedEngine::load()
{
    loaded_ = false;
    const store::Listing state = file_->open(mill::text(Durum::table));
    if (state.rows.empty())
        throw base::RuntimeError(base::errors::databaseFault, u"Bu dosya ortak bir deftere bağlı değil."_s);
    const auto stated = [&](Durum::Field field) { return file_->field(state, state.rows[0], field); };
    postgres::Place place = {stated(Durum::Defter).text().toStdString(), stated(Durum::Kimlik).text().toStdString(),
                             std::llround(stated(Durum::Sira).number().value_or(0)),
                             stated(Durum::Iz).text().toStdString()};

    std::vector<Note> notes;
    const store::Listing all = file_->open(mill::text(Giden::table));
    for (const store::RowKey row : all.rows) {
        const auto text = [&](Giden::Field field) { return file_->field(all, row, field).text(); };
        notes.push_back({row, file_->field(all, row, Giden::Sira).number().value_or(0), text(Giden::Kimlik),
                         text(Giden::Ne), text(Giden::Unvan), text(Giden::Veri).toUtf8()});
    }

    state_ = state;
    place_ = std::move(place);
    waiting_.clear();
    customersWaiting_.clear();
    waitingPressings_ = 0;
    for (const Note& each : notes) {
        lastNumber_ = std::max(lastNumber_, each.number);
        keep(each);
    }
    loaded_ = true;
}

void SharedEngine::keep(const Note& note)
{
    waitingPressings_ += note.kind == pressingComes;
    if (isOfRegister(note)) ++customersWaiting_[note.customer];
    waiting_.insert(note.identity, note);
}

void SharedEngine::drop(const QString& identity)
{
    const Note note = waiting_.take(identity);
    waitingPressings_ -= note.kind == pressingComes;
    if (isOfRegister(note) && --customersWaiting_[note.customer] == 0) customersWaiting_.remove(note.customer);
}

bool SharedEngine::isOfRegister(const Note& note) { return note.kind == customerTerms || note.kind == customerGoes; }

std::vector<postgres::WaitingChange> SharedEngine::waiting() const
{
    std::vector<const Note*> notes;
    notes.reserve(static_cast<std::size_t>(waiting_.size()));
    for (const Note& each : waiting_) notes.push_back(&each);
    std::ranges::sort(notes, {}, &Note::number);
    std::vector<postgres::WaitingChange> changes;
    changes.reserve(notes.size());
    for (const Note* each : notes) changes.push_back({each->identity.toStdString(), each->json.toStdString()});
    return changes;
}

template <class Work> auto SharedEngine::within(const Work& work)
{
    SharedScope scope(*this);
    auto result = work();
    scope.commit();
    return result;
}

std::unique_ptr<store::ChangeScope> SharedEngine::change() { return std::make_unique<SharedScope>(*this); }

void SharedEngine::committed()
{
    std::vector<postgres::WaitingChange> changes;
    for (const Note& each : std::exchange(fresh_, {})) {
        changes.push_back({each.identity.toStdString(), each.json.toStdString()});
        keep(each);
    }
    if (told_ && !changes.empty()) told_(changes);
}

void SharedEngine::takenBack()
{
    fresh_.clear();
    slip_.clear();
}

void SharedEngine::nameChange(const QString& slip)
{
    if (depth_ == 0) throw base::runtimeError(base::errors::invalidCall);
    slip_ = slip;
}

QString SharedEngine::nameOf(const store::Listing& listing, store::RowKey row, int position) const
{
    return file_->field(listing, row, position).text();
}

// ---- What this counter does ----

store::RowKey SharedEngine::insert(const store::Listing& listing, const store::Assignments& values)
{
    return within([&] {
        const store::RowKey row = file_->insert(listing, values);
        if (isOf(listing, mill::customerTable))
            noteCustomer(nameOf(customers_, row, Cari::Unvan), values);
        else if (isOf(listing, mill::journalTable) && nameOf(journal_, row, Hareket::CariHar) != mill::totalsName)
            notePressing(row);
        return row;
    });
}

void SharedEngine::update(const store::Listing& listing, store::RowKey row, const store::Assignments& values)
{
    within([&] {
        const bool ofJournal = isOf(listing, mill::journalTable);
        const QString before = ofJournal ? nameOf(journal_, row, Hareket::CariHar) : QString();
        const QString nameBefore = ofJournal ? QString() : nameOf(customers_, row, Cari::Unvan);
        file_->update(listing, row, values);
        if (ofJournal) {
            if (before != mill::totalsName || nameOf(journal_, row, Hareket::CariHar) != mill::totalsName)
                refuse(u"Ortak defterdeki bir sıkım değiştirilemez."_s);
        } else {
            if (nameOf(customers_, row, Cari::Unvan) != nameBefore)
                refuse(u"Ortak defterdeki bir müşterinin adı değiştirilemez."_s);
            noteCustomer(nameBefore, values);
        }
        return true;
    });
}

void SharedEngine::erase(const store::Listing& listing, store::RowKey row)
{
    within([&] {
        if (isOf(listing, mill::journalTable)) {
            if (nameOf(journal_, row, Hareket::CariHar) != mill::totalsName)
                refuse(u"Ortak defterdeki bir sıkım tek başına silinemez."_s);
            file_->erase(listing, row);
            return true;
        }
        const QString name = nameOf(customers_, row, Cari::Unvan);
        file_->erase(listing, row);
        noteDown(customerGoes, name, deletionOf(customerColumns[Cari::Unvan], name));
        return true;
    });
}

std::size_t SharedEngine::execute(const QString& sql)
{
    if (sql == mill::deleteTotals) return file_->execute(sql);
    const QString start = mill::deletePressingsOf({}).chopped(1);
    const QString name = sql.sliced(std::min(start.size(), sql.size())).chopped(sql.size() > start.size() ? 1 : 0);
    if (!sql.startsWith(start) || sql != mill::deletePressingsOf(name)) refuse(whyNotEmptied().value_or(QString()));
    return within([&] {
        const std::size_t gone = file_->execute(sql);
        noteDown(pressingsGo, name, deletionOf(pressingColumns[Hareket::CariHar], name));
        return gone;
    });
}

std::optional<QString> SharedEngine::whyNotEmptied()
{
    return u"Bu defteri başka sayaçlar da kullanıyor: hepsi birden buradan silinmez, hiçbir şey silinmedi. Yeni sezona "
           u"yeni bir defterle başlanır (docs/sunucu.md)."_s;
}

void SharedEngine::noteDown(const QString& kind, const QString& customer, const QJsonObject& what)
{
    Note note;
    note.number = ++lastNumber_;
    note.identity = identityOf(kind);
    note.kind = kind;
    note.customer = customer;
    QJsonObject whole = what;
    whole[u"kimlik"_s] = note.identity;
    whole[u"ne"_s] = kind;
    note.json = QJsonDocument(whole).toJson(QJsonDocument::Compact);
    note.row = file_->insert(notes_, {{Giden::Sira, note.number},
                                      {Giden::Kimlik, note.identity},
                                      {Giden::Ne, note.kind},
                                      {Giden::Unvan, note.customer},
                                      {Giden::Veri, QString::fromUtf8(note.json)}});
    fresh_.push_back(std::move(note));
}

/// A slip's pressing has the identity of the slip, its customer's terms one that follows from it.
QString SharedEngine::identityOf(const QString& kind) const
{
    if (slip_.isEmpty()) return QUuid::createUuid().toString(QUuid::WithoutBraces);
    return kind == pressingComes ? slip_ : QUuid::createUuidV5(QUuid(slip_), kind).toString(QUuid::WithoutBraces);
}

bool SharedEngine::isNoted(const QString& identity) const
{
    return waiting_.contains(identity) ||
           std::ranges::any_of(fresh_, [&](const Note& each) { return each.identity == identity; });
}

void SharedEngine::notePressing(store::RowKey row)
{
    // As the file has it, not as it was entered: a field may round.
    QJsonObject what;
    for (int field = 0; field < static_cast<int>(Hareket::fields.size()); ++field)
        what[pressingColumns[field]] = written(file_->field(journal_, row, field));
    const QString name = nameOf(journal_, row, Hareket::CariHar);
    if (name.size() > longestName || name.contains(QChar::Null))
        refuse(u"Ortak defterde bir müşterinin adı en çok %1 harftir."_s.arg(longestName));
    if (!slip_.isEmpty() && isNoted(slip_)) refuse(u"Bu fişin sıkımı kaydedilmiş, sunucuya gönderilmeyi bekliyor."_s);
    noteDown(pressingComes, name, what);
}

void SharedEngine::noteCustomer(const QString& name, const store::Assignments& values)
{
    if (name.isEmpty() || name.size() > longestName || name.contains(QChar::Null))
        refuse(u"Ortak defterde bir müşterinin adı 1 ile %1 harf arasındadır."_s.arg(longestName));
    // Terms that were stored while their slip's pressing could not be: the same once more.
    if (!slip_.isEmpty() && isNoted(identityOf(customerTerms))) return;
    QJsonObject what;
    for (const auto& entry : values) {
        const auto position = static_cast<std::size_t>(entry.first);
        if (position == Cari::Unvan || position >= std::size(customerColumns)) continue;
        if (entry.second.isText() && entry.second.text().size() > longestContainer)
            refuse(u"Ortak defterde bir kabın adı en çok %1 harftir."_s.arg(longestContainer));
        what[customerColumns[position]] = written(entry.second);
    }
    what[customerColumns[Cari::Unvan]] = name;
    std::vector<std::uint8_t> key;
    jet::appendOrderKey(key, name.toStdU16String());
    what[u"sira"_s] = QString::fromLatin1(
        QByteArray(reinterpret_cast<const char*>(key.data()), static_cast<qsizetype>(key.size())).toHex());
    noteDown(customerTerms, name, what);
}

/// Only what this counter knows of is meant: the history up to its place, and its own changes.
QJsonObject SharedEngine::deletionOf(const QString& field, const QString& customer) const
{
    QJsonArray own;
    const auto add = [&](const Note& note) {
        if (note.customer == customer) own << note.identity;
    };
    for (const Note& each : waiting_) add(each);
    for (const Note& each : fresh_) add(each);
    return {{field, customer}, {u"gorulen"_s, static_cast<double>(place_.number)}, {u"kendi"_s, own}};
}

// ---- What others do ----

bool SharedEngine::customerWaits(const QString& name, const QString& except) const
{
    const auto own = waiting_.constFind(except);
    const bool one = own != waiting_.cend() && own->customer == name && isOfRegister(*own);
    return customersWaiting_.value(name) > (one ? 1 : 0);
}

bool SharedEngine::deletionWaits(const QString& name) const
{
    return std::ranges::any_of(waiting_,
                               [&](const Note& each) { return each.kind == pressingsGo && each.customer == name; });
}

/// One slice of the history on its way into the file.
class SharedEngine::Taking {
public:
    explicit Taking(SharedEngine& engine) : engine_(engine), file_(*engine.file_) {}

    void take(const postgres::HistoryLine& line)
    {
        try {
            takeWhole(line);
        } catch (const base::RuntimeError& error) {
            const QString whose = nameIn(line);
            if (whose.isEmpty() || error.number() == base::errors::databaseFault ||
                error.number() == base::errors::changedElsewhere)
                throw;
            throw base::RuntimeError(error.number(), u"%1: %2"_s.arg(whose, error.text()));
        }
    }
    const Taken& taken() const { return taken_; }

private:
    /// Whom a line is about.
    static QString nameIn(const postgres::HistoryLine& line)
    {
        const QJsonObject row = objectIn(line.after.empty() ? line.before : line.after);
        return row[line.table == "cari" ? customerColumns[Cari::Unvan] : pressingColumns[Hareket::CariHar]].toString();
    }

    void takeWhole(const postgres::HistoryLine& line)
    {
        const QString identity = qt(line.identity);
        const auto own = engine_.waiting_.constFind(identity);
        const bool isOwn = own != engine_.waiting_.cend();
        if (line.table == "hareket") {
            // What is this counter's own stands in the file already, or is gone from it.
            if (isOwn) return;
            if (!line.before.empty()) removePressing(objectIn(line.before));
            if (!line.after.empty()) addPressing(objectIn(line.after));
        } else if (line.table == "cari") {
            const QJsonObject before = objectIn(line.before), after = objectIn(line.after);
            const QString nameBefore = before[customerColumns[Cari::Unvan]].toString();
            const QString name = after[customerColumns[Cari::Unvan]].toString();
            if (!before.isEmpty() && nameBefore != name) putCustomer(nameBefore, {}, identity);
            if (!after.isEmpty()) putCustomer(name, after, identity);
        } else if (isOwn) {
            file_.erase(engine_.notes_, own->row);
            engine_.drop(identity);
            if (!line.before.empty()) wasDoneBefore(objectIn(line.before), objectIn(line.after));
        }
    }

    /// The file knew nothing of it any more, and this counter entered it once more: what others have changed since came
    /// in before that, or was passed over for its sake. `customer` is what the register has now.
    void wasDoneBefore(const QJsonObject& change, const QJsonObject& customer)
    {
        const QString kind = change[u"ne"_s].toString();
        if (kind == pressingComes) removePressing(change);
        if (kind == customerTerms || kind == customerGoes)
            putCustomer(change[customerColumns[Cari::Unvan]].toString(), customer, {});
    }

    void addPressing(const QJsonObject& row)
    {
        const QString name = row[pressingColumns[Hareket::CariHar]].toString();
        file_.insert(engine_.journal_, valuesIn(row));
        known_.remove(name);
        ++taken_.pressings;
    }

    static store::Assignments valuesIn(const QJsonObject& row)
    {
        store::Assignments values;
        for (int field = 0; field < static_cast<int>(Hareket::fields.size()); ++field) {
            const FieldValue value = valueIn(row, field);
            if (!value.isNull()) values.emplace_back(field, value);
        }
        return values;
    }

    static FieldValue valueIn(const QJsonObject& row, int field)
    {
        const QJsonValue given = row[pressingColumns[field]];
        // A change names its numbers with all their digits.
        bool isNumber = false;
        const double number = field == Hareket::CariHar ? 0 : given.toString().toDouble(&isNumber);
        const FieldValue value = isNumber && std::isfinite(number) ? FieldValue(number) : read(given);
        return field == Hareket::Tarih && value.number() ? FieldValue(store::DateDays{*value.number()}) : value;
    }

    /// Equal rows are one as good as the other.
    void removePressing(const QJsonObject& row)
    {
        const QJsonValue named = row[pressingColumns[Hareket::CariHar]];
        const QString name = named.toString();
        if (!known_.contains(name)) {
            const QString field = mill::text(Hareket::fields[Hareket::CariHar]);
            known_[name] =
                file_.matching(engine_.journal_, field + (named.isString() ? u'=' + quoted(name) : u" Is Null"_s));
        }
        std::vector<store::RowKey>& rows = known_[name];
        std::vector<FieldValue> wanted;
        wanted.reserve(Hareket::fields.size());
        for (int field = 0; field < static_cast<int>(Hareket::fields.size()); ++field)
            wanted.push_back(valueIn(row, field));
        const auto find = [&] {
            return std::ranges::find_if(rows, [&](store::RowKey key) {
                for (int field = 0; field < static_cast<int>(wanted.size()); ++field)
                    if (!same(file_.field(engine_.journal_, key, field), wanted[static_cast<std::size_t>(field)]))
                        return false;
                return true;
            });
        };
        taken_.deletions = true;
        auto found = find();
        // A column of somebody else's making may have rounded it.
        const bool goesHereToo = engine_.deletionWaits(name);
        if (found == rows.end() && !rows.empty() && !goesHereToo) {
            if (auto held = asHeld(row)) {
                wanted = std::move(*held);
                found = find();
            }
        }
        if (found == rows.end()) {
            if (!goesHereToo) taken_.notFound << notFound(name, row);
            return;
        }
        file_.erase(engine_.journal_, *found);
        rows.erase(found);
        ++taken_.gone;
    }

    /// What the columns of this file make of these values: they are written and taken away again. Nothing where the
    /// file does not take them.
    std::optional<std::vector<FieldValue>> asHeld(const QJsonObject& row)
    {
        std::optional<store::RowKey> trial;
        base::passOver([&] { trial = file_.insert(engine_.journal_, valuesIn(row)); });
        if (!trial) return std::nullopt;
        std::vector<FieldValue> held;
        held.reserve(Hareket::fields.size());
        for (int field = 0; field < static_cast<int>(Hareket::fields.size()); ++field)
            held.push_back(file_.field(engine_.journal_, *trial, field));
        file_.erase(engine_.journal_, *trial);
        return held;
    }

    static QString notFound(const QString& name, const QJsonObject& row)
    {
        const QString moment = valueIn(row, Hareket::Tarih).moment().toString(u"dd.MM.yyyy HH:mm:ss"_s);
        const QString olives = QString::number(valueIn(row, Hareket::Zeytin).number().value_or(0));
        return u"ortak defterden silinen bir sıkım bu dosyada bulunamadı: %1, %2, %3 kg; presva-mdb to-server farkı "
               u"sayar"_s.arg(name, moment, olives);
    }

    /// A customer's row becomes as the history says; empty: it goes. What this counter has changed since stands above.
    void putCustomer(const QString& name, const QJsonObject& row, const QString& identity)
    {
        if (engine_.customerWaits(name, identity)) return;
        const store::Listing there = file_.open(mill::customerNamed(name));
        if (row.isEmpty()) {
            for (const store::RowKey key : there.rows) file_.erase(there, key);
            taken_.deletions = true;
            return;
        }
        store::Assignments values;
        for (int field = Cari::Yuzde; field < static_cast<int>(Cari::fields.size()); ++field)
            values.emplace_back(field, read(row[customerColumns[field]]));
        for (const store::RowKey key : there.rows) file_.update(there, key, values);
        if (!there.rows.empty()) return;
        values.emplace_back(Cari::Unvan, name);
        file_.insert(there, values);
    }

    SharedEngine& engine_;
    store::Engine& file_;
    Taken taken_;
    QHash<QString, std::vector<store::RowKey>> known_; ///< a customer's pressings
};

bool SharedEngine::getReady()
{
    if (!file_->prepareMatching(mill::customerTable, mill::text(Cari::fields[Cari::Unvan])) ||
        !file_->prepareMatching(mill::journalTable, mill::text(Hareket::fields[Hareket::CariHar])) ||
        !file_->prepareWriting({mill::customerTable, mill::journalTable}))
        return false;
    // What the other thread has found is asked for before anything is written: behind that it is void.
    for (const QString& table : {mill::customerTable, mill::journalTable}) file_->whyReadOnly(table);
    return true;
}

Taken SharedEngine::take(std::span<const postgres::HistoryLine> lines, std::chrono::milliseconds longest)
{
    const auto begun = std::chrono::steady_clock::now();
    const auto isLate = [&] { return std::chrono::steady_clock::now() - begun >= longest; };
    requireLoaded();
    // The file may have come further than a commit that failed has told.
    std::size_t count = 0;
    while (count < lines.size() && lines[count].number <= place_.number) ++count;
    if (count == lines.size()) return {.lines = count};
    loaded_ = false; // until it is certain what the file has
    const std::unique_ptr<store::ChangeScope> change = file_->change();
    Taking taking(*this);
    do {
        taking.take(lines[count]);
    } while (++count < lines.size() && !isLate());
    const postgres::HistoryLine& last = lines[count - 1];
    file_->update(state_, state_.rows[0],
                  {{Durum::Sira, static_cast<double>(last.number)}, {Durum::Iz, qt(last.mark)}});
    change->commit();
    place_.number = last.number;
    place_.mark = last.mark;
    loaded_ = true;
    Taken taken = taking.taken();
    taken.lines = count;
    return taken;
}

} // namespace shared
