#pragma once

#include "tests/app/screen_fixture.h"
#include "tests/doors/fake_printer.h"
#include "tests/doors/power_cut_disk.h"
#include <QTest>

/// The mill's database, whose every write can be watched and made to fail.
class WatchedDatabases : public store::Databases {
public:
    explicit WatchedDatabases(store::Databases& behind) : behind_(behind) {}

    std::shared_ptr<store::Engine> open(const QString& path) override
    {
        return std::make_shared<Watched>(behind_.open(path), *this);
    }

    QString refused;    ///< table whose rows cannot be inserted or updated
    QStringList writes; ///< what was written and not taken back, in order: "insert Cari" ...

private:
    class WatchedScope : public store::ChangeScope {
    public:
        WatchedScope(std::unique_ptr<store::ChangeScope> behind, QStringList& writes)
            : behind_(std::move(behind)), writes_(writes), before_(writes.size())
        {
        }
        ~WatchedScope() override
        {
            if (!committed_) writes_.resize(before_);
        }
        void commit() override
        {
            behind_->commit();
            committed_ = true;
        }

    private:
        std::unique_ptr<store::ChangeScope> behind_;
        QStringList& writes_;
        qsizetype before_;
        bool committed_ = false;
    };

    class Watched : public store::Engine {
    public:
        Watched(std::shared_ptr<store::Engine> behind, WatchedDatabases& watch)
            : behind_(std::move(behind)), watch_(watch)
        {
        }
        store::Listing open(const QString& source) override { return behind_->open(source); }
        store::FieldValue field(const store::Listing& listing, store::RowKey row, int position) override
        {
            return behind_->field(listing, row, position);
        }
        store::RowKey insert(const store::Listing& listing, const store::Assignments& values) override
        {
            note("insert ", listing);
            return behind_->insert(listing, values);
        }
        void update(const store::Listing& listing, store::RowKey row, const store::Assignments& values) override
        {
            note("update ", listing);
            behind_->update(listing, row, values);
        }
        void erase(const store::Listing& listing, store::RowKey row) override
        {
            note("erase ", listing);
            behind_->erase(listing, row);
        }
        std::vector<store::RowKey> matching(const store::Listing& listing, const QString& criteria) override
        {
            return behind_->matching(listing, criteria);
        }
        std::size_t execute(const QString& sql) override
        {
            watch_.writes << sql;
            return behind_->execute(sql);
        }
        QList<store::FieldValue> aggregate(const QString& sql) override { return behind_->aggregate(sql); }
        std::unique_ptr<store::ChangeScope> change() override
        {
            return std::make_unique<WatchedScope>(behind_->change(), watch_.writes);
        }
        bool prepareWriting(const QStringList& tables) override { return behind_->prepareWriting(tables); }
        void nameChange(const QString& slip) override { behind_->nameChange(slip); }
        std::optional<QString> whyReadOnly(const QString& table) override { return behind_->whyReadOnly(table); }
        std::optional<QString> whyNotEmptied() override { return behind_->whyNotEmptied(); }

    private:
        void note(const char* action, const store::Listing& listing)
        {
            if (listing.table == watch_.refused) throw base::runtimeError(base::errors::databaseFault);
            watch_.writes << QLatin1String(action) + listing.table;
        }

        std::shared_ptr<store::Engine> behind_;
        WatchedDatabases& watch_;
    };

    store::Databases& behind_;
};

/// A counter that is open for work: the screen on an empty register, with a printer and a database that can fail.
struct Counter : World {
    explicit Counter(const base::Regional& regional = base::Regional::turkish()) : World(regional), books(databases) {}
    /// On other databases than the empty one in memory.
    Counter(const base::Regional& regional, store::Databases& books) : World(regional), books(books) {}

    void addCustomer(const QString& name, const store::FieldValue& Yuzde = {}, const store::FieldValue& Kap = {},
                     const store::FieldValue& Nakit = {})
    {
        addRow(books, u"Cari"_s, {name, Yuzde, Kap, Nakit});
    }
    void addPressing(const QString& name)
    {
        addRow(books, u"Hareket"_s, {store::FieldValue::date(clock.now), 1000.0, 900.0, 0.0, 0.0, 0.0, name});
    }

    /// As another program, or another counter, does it behind the screen's back.
    void eraseCustomers()
    {
        const auto engine = books.open(file());
        const store::Listing customers = engine->open(u"Cari"_s);
        for (const store::RowKey row : customers.rows) engine->erase(customers, row);
    }

    /// The rows of a table, each as its fields between bars; Null is "-".
    QStringList rows(const QString& table)
    {
        const auto engine = books.open(file());
        const store::Listing listing = engine->open(table);
        QStringList all;
        for (const store::RowKey row : listing.rows) {
            QStringList fields;
            for (int i = 0; i < static_cast<int>(listing.fields.size()); ++i) {
                const store::FieldValue value = engine->field(listing, row, i);
                fields << (value.isNull() ? u"-"_s : value.toCell(base::Regional::turkish()));
            }
            all << fields.join(u'|');
        }
        return all;
    }

    /// Keypad keys, one after another, by their captions; a blank is the space key.
    void keys(const QString& text)
    {
        for (const QChar letter : text) key(letter == u' ' ? u"Boşluk"_s : QString(letter));
    }
    void key(const QString& caption)
    {
        for (app::KeyLabel* label : form.Label1)
            if (label->caption().trimmed() == caption) return click(label);
        qFatal("no key '%s'", qPrintable(caption));
    }
    static void click(QWidget* control) { QTest::mouseClick(control, Qt::LeftButton); }
    void pick(const QString& name)
    {
        for (int row = 0; row < form.dbListe1->rowCount(); ++row)
            if (form.dbListe1->rowText(row) == name) return form.dbListe1->pick(row);
        qFatal("no entry '%s'", qPrintable(name));
    }

    /// Keys into a field that is tapped first.
    void type(QWidget* field, const QString& text)
    {
        click(field);
        keys(text);
    }
    /// The same in the place of what stands there; without a field, where the keypad writes.
    void retype(QWidget* field, const QString& text)
    {
        click(field);
        retype(text);
    }
    void retype(const QString& text)
    {
        key(u"Sil"_s);
        keys(text);
    }

    /// A customer at the first station with a tonne of olives, in cash.
    void pressingOf(const QString& name)
    {
        retype(form.YeniCmd[0], name);
        retype(form.Label2[0], u"1000"_s);
    }
    /// The same on a screen that is opened for it.
    void startWith(const QString& name)
    {
        form.start();
        pressingOf(name);
    }
    /// "Fiş Yaz" at the first station; how many slips the printer has got by then.
    qsizetype printSlip()
    {
        click(form.YazCmd[0]);
        return paper.sent.size();
    }
    /// Keys on a screen that is opened for them: a name is typed.
    void startTyping(const QString& text)
    {
        form.start();
        keys(text);
    }
    /// The customer who is shown is deleted, and the question answered with yes.
    void deleteShown()
    {
        prompt.answer = true;
        click(form.Kaydet);
    }
    /// The slip of another start, which is on paper and waits for its row.
    void leaveSlipOf(const QString& name)
    {
        const print::Document document{"%PDF-1.4", u"Fiş"_s, {}, print::Paper::slipRoll80()};
        const int job = paper.createJob(document);
        paper.sendAndFinish(job, document);
        notes.write({job, 45981.5, {name, "1.000", "850", "12", "102", "0", "10 Litrelik Kap"}, 0});
    }

    /// Percentage, container and fee of a station.
    QStringList terms(int station = 0) const
    {
        return {form.Haklbl[station]->caption(), form.Combo1[station]->text(), form.NakitLbl[station]->caption()};
    }

    FakePrinter paper;
    store::Databases& books;
    WatchedDatabases watched{books};
    PowerCutDisk noteDisk; ///< of the slip's note
    store::SlipNotes notes{noteDisk, file().toStdU16String()};
    app::Form1 form{surroundings(watched, paper, notes)};
};
