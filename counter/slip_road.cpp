#include "counter/slip_road.h"
#include "store/moment.h"

#include "base/pass_over.h"
#include "counter/booking.h"
#include "mill/customer_name.h"
#include "mill/queries.h"
#include "print/header_file.h"
#include "print/why_not_printed.h"

#include <QUuid>

using namespace Qt::StringLiterals;

namespace counter {
namespace {

using base::passOver;

QString described(const store::SlipNote& slip)
{
    return u"fiş %1 (%2, %3 kg)"_s.arg(slip.job).arg(slip.pressing.customer, slip.pressing.olives);
}

/// `printer`: its name where another one may be the default by now, else empty.
QString cannotBeAsked(const store::SlipNote& slip, const QString& printer)
{
    if (printer.isEmpty())
        return described(slip) +
               u" basıldı mı, yazıcıya sorulamıyor; yazıcıyı açın. Notu duruyor, yeniden sorulacak."_s;
    return described(slip) + u" basıldı mı, “%1” yazıcısına sorulamıyor; onu açın, artık yoksa Windows'tan "
                             u"kaldırın. Notu duruyor, yeniden sorulacak."_s.arg(printer);
}

} // namespace

SlipOutcome SlipRoad::printAndBook(print::Slip slip, const mill::Provenance& from)
{
    // The slip would leave and its pressing be lost.
    if (at_.journal.hasRecordSet())
        if (const std::optional<QString> why = at_.journal.database().whyReadOnly(mill::journalTable))
            throw base::RuntimeError(base::errors::readOnlyDatabase, *why);

    SlipOutcome outcome;
    const std::optional<store::SlipNote> note = print(std::move(slip), from, outcome.notice);
    if (!note) return outcome;
    outcome.printed = true;
    outcome.stored = book(at_.customers, at_.journal, *note, at_.regional);
    const auto keepsItsNote = [&](const QString& why) {
        outcome.notice = described(*note) + why + u"; notu duruyor, yeniden denenecek"_s;
        log_.write(outcome.notice);
    };
    if (!outcome.stored)
        keepsItsNote(u" basıldı, kaydı yapılamadı"_s);
    else if (passOver([&] { at_.weights.write(*note, at_.regional); }))
        keepsItsNote(u" basıldı ve kaydedildi, tartım defterine yazılamadı"_s);
    else if (!passOver([&] { at_.notes.strike(); }))
        at_.printer.settle(note->job);
    if (outcome.notice.isEmpty()) outcome.notice = at_.weights.takeNotice();
    if (outcome.stored && at_.backups) at_.backups->pressingStored(at_.journal.database(), at_.now());
    return outcome;
}

std::optional<store::SlipNote> SlipRoad::print(print::Slip slip, const mill::Provenance& from, QString& notice)
{
    const auto refused = [&](const QString& why) {
        notice = u"Fiş basılmadı: "_s + why;
        return std::nullopt;
    };
    if (const std::optional<QString> why = mill::whyNoCustomer(slip.pressing.customer)) return refused(*why);

    print::Printer printer(at_.printer, at_.now);
    try {
        // Without an open journal the pressing would be lost: then no slip either.
        if (!at_.journal.hasRecordSet())
            if (const auto error = passOver([&] { at_.journal.refresh(); })) return refused(error->text());
        // A note has one place. The one before must have left it, or its pressing would be lost.
        if (const std::optional<QString> why = settle()) return refused(*why);
        slip.now = at_.now();
        slip.headerItems = print::headerItems(at_.directory);
        print::composeSlip(printer, slip, at_.regional);
        const std::optional<print::Document> document = printer.takeDoc();
        if (!document) return std::nullopt;

        // The job comes first: its number stands in the note before a page leaves, so that a start after a crash can
        // ask the printer what became of the slip.
        store::SlipNote note;
        std::optional<QString> why;
        if (const auto error = passOver([&] {
                note = noteOf(slip.pressing, from);
                why = whyNotBooked(at_.databases, at_.journal.databaseName(), note, at_.regional);
            }))
            why = error->text();
        if (why) {
            printer.killDoc();
            return refused(*why);
        }
        note.job = at_.printer.createJob(*document);
        note.jobMark = at_.printer.markOf(note.job);
        if (const auto error = passOver([&] { at_.notes.write(note); })) {
            at_.printer.cancel(note.job);
            printer.killDoc();
            return refused(error->text());
        }
        if (!arrives(note, *document, notice)) {
            printer.killDoc();
            return std::nullopt;
        }
        return note;
    } catch (const base::RuntimeError& error) {
        printer.killDoc();
        return refused(print::whyNotPrinted(error));
    }
}

/// Sends the slip; whether the printer has it. `notice` says why it has not; where that cannot be known the note stays.
bool SlipRoad::arrives(const store::SlipNote& note, const print::Document& document, QString& notice)
{
    const auto notSent = passOver([&] { at_.printer.sendAndFinish(note.job, document); });
    if (!notSent) return true;
    auto taken = print::Taken::unknown;
    if (passOver([&] { taken = at_.printer.taken(note.job); })) {
        notice = cannotBeAsked(note, at_.printer.printerOf(note.job));
        log_.write(notice);
        return false;
    }
    if (taken == print::Taken::yes) return true; // only its answer was lost
    at_.printer.cancel(note.job);
    if (taken == print::Taken::no) notice = u"Fiş basılmadı: "_s + print::whyNotPrinted(*notSent);
    const auto error = passOver([&] {
        if (taken == print::Taken::no)
            at_.notes.strike();
        else
            setAsideUnknown(note);
    });
    if (error) {
        notice = (taken == print::Taken::no ? u"Fiş basılmadı, notu kaldırılamadı: "_s
                                            : described(note) + u" basıldı mı bilinmiyor, notu kenara konamadı: "_s) +
                 error->text();
        log_.write(notice);
    }
    return false;
}

store::SlipNote SlipRoad::noteOf(const mill::Pressing& pressing, const mill::Provenance& from)
{
    store::SlipNote note;
    note.pressing = pressing;
    note.moment = store::daysOf(at_.now());
    note.sameBefore = store::pressingsAt(at_.journal.database(), pressing.customer, note.moment);
    note.from = from;
    note.identity = QUuid::createUuid().toString(QUuid::WithoutBraces);
    const weights::NextLine line = at_.weights.place(note.moment);
    note.bookPlace = line.place.offset;
    note.bookSeal = line.place.seal;
    if (line.head.number == 0) note.before = store::pressingCount(at_.journal.database());
    return note;
}

void SlipRoad::recover()
{
    at_.weights.tellEndOfTheDay();
    const std::optional<store::SlipNote> slip = at_.notes.open();
    if (!slip) {
        if (at_.notes.unreadable())
            setAside(u"yarım kalmış bir fişin notu okunamıyor; fiş çıkmış, sıkım raporda yoksa elle girin"_s);
        return;
    }
    const auto closed = [&](const QString& what) {
        at_.notes.strike();
        at_.printer.settle(slip->job);
        log_.write(described(*slip) + what);
    };
    const auto stored = [&](const QString& what) {
        at_.weights.write(*slip, at_.regional);
        closed(what);
    };
    at_.printer.recall(slip->job, slip->jobMark);
    // Asked first: what stands in the journal was printed, whatever the printer says, and a printer forgets its jobs.
    const QString database = at_.customers.databaseName();
    const std::shared_ptr<store::Engine> engine = at_.databases.open(database);
    if (store::pressingsAt(*engine, slip->pressing.customer, slip->moment) > slip->sameBefore)
        return stored(u": basılmış ve kaydedilmiş"_s);
    auto taken = print::Taken::unknown;
    if (passOver([&] { taken = at_.printer.taken(slip->job); }))
        throw base::RuntimeError(base::errors::printer, cannotBeAsked(*slip, at_.printer.printerOf(slip->job)));
    if (taken == print::Taken::no) {
        at_.printer.cancel(slip->job);
        return closed(u": yazıcıya ulaşmamış, iptal edildi; kayıt yapılmadı"_s);
    }
    if (taken == print::Taken::unknown) {
        at_.printer.cancel(slip->job); // what waits for paper must not come out after it has been told
        return setAsideUnknown(*slip);
    }
    // The next report would take such a row away.
    if (const auto why = mill::whyNoCustomer(slip->pressing.customer)) return setAsideUnstorable(*slip, *why);

    // Sources of its own: what the screen has searched is another customer's, and its place must stay.
    store::DataSource customers(at_.databases);
    store::DataSource journal(at_.databases);
    customers.setRecordSource(mill::customerNamed(slip->pressing.customer));
    journal.setRecordSource(mill::journalTable);
    for (store::DataSource* source : {&customers, &journal}) {
        source->setDatabaseName(database);
        source->refresh();
    }
    if (book(customers, journal, *slip, at_.regional)) return stored(u": basılmış, kaydı şimdi yapıldı"_s);
    if (const auto why = whyNotBooked(at_.databases, database, *slip, at_.regional))
        return setAsideUnstorable(*slip, *why);
    throw base::RuntimeError(base::errors::databaseFault,
                             described(*slip) + u" basılmış, kaydı yapılamadı; notu duruyor, yeniden denenecek."_s);
}

std::optional<QString> SlipRoad::settle()
{
    if (const auto error = passOver([&] { recover(); })) return u"önceki fişin kaydı bekliyor. "_s + error->text();
    return std::nullopt;
}

void SlipRoad::announceDeletion(const std::optional<QString>& customer)
{
    at_.weights.announceDeletion(customer, [&] { return store::allPressings(at_.journal.database()); });
}

void SlipRoad::tellFilesSetAside()
{
    const QStringList files = at_.notes.filesSetAside();
    if (files.isEmpty()) return;
    at_.tellSetAside(
        u"%1: kaydedilmemiş fişlerin notları; sıkımı elle girdikten sonra dosyayı kaldırın"_s.arg(files.join(u", "_s)));
}

void SlipRoad::setAside(const QString& what)
{
    const QString notice = at_.notes.setAside() + u": "_s + what;
    log_.write(notice);
    at_.tellSetAside(notice);
}

void SlipRoad::setAsideUnstorable(const store::SlipNote& slip, const QString& why)
{
    setAside(u"%1 basılmış, kaydedilemiyor (%2); sıkımı elle girin"_s.arg(described(slip), why));
}

void SlipRoad::setAsideUnknown(const store::SlipNote& slip)
{
    setAside(u"%1 basıldı mı bilinmiyor, yazıcı onu tanımıyor; fiş çıkmış, sıkım raporda yoksa elle girin"_s.arg(
        described(slip)));
}

} // namespace counter
