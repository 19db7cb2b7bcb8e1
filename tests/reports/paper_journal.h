#pragma once

#include "base/error.h"
#include "mill/queries.h"
#include "store/data_source.h"
#include "tests/store/empty_journal.h"
#include <QDateTime>
#include <QRegularExpression>
#include <algorithm>
#include <array>
#include <map>

using namespace Qt::StringLiterals;

/// A journal on paper: an engine that holds the table `Hareket` in memory, answers exactly the statements of a report
/// and of the panel, writes down what it was asked and can fail at any call. What it knows of SQL are the texts as they
/// are specified, so a report that words them differently fails here.
class PaperJournal : public store::Databases {
public:
    using Row = std::array<store::FieldValue, 7>;

    std::map<store::RowKey, Row> rows; ///< in the order of entry
    QStringList log;
    int callsBeforeFailure = -1; ///< the call after so many fails; never while negative
    int fetches = 0;             ///< single field values read

    static store::FieldValue at(const QString& moment)
    {
        return store::FieldValue::date(QDateTime::fromString(moment, Qt::ISODate));
    }

    store::RowKey enter(const QString& moment, const store::FieldValue& Zeytin, const store::FieldValue& Yağ,
                        const store::FieldValue& HakTut, const store::FieldValue& Nakit, const QString& name)
    {
        rows[++last_] = {at(moment), Zeytin, Yağ, 12.0, HakTut, Nakit, name};
        return last_;
    }

    std::shared_ptr<store::Engine> open(const QString& path) override
    {
        if (path != file) throw base::runtimeError(base::errors::databaseMissing);
        return std::make_shared<Engine>(*this);
    }

    /// The totals rows of the journal, and everything else.
    std::vector<Row> totals() const { return chosen(true); }
    std::vector<Row> pressings() const { return chosen(false); }

    inline static const QString file = u"/mill\\Yag.mdb"_s;

private:
    std::vector<Row> chosen(bool totals) const
    {
        std::vector<Row> found;
        for (const auto& [key, row] : rows)
            if ((row[6].text() == mill::totalsName) == totals) found.push_back(row);
        return found;
    }

    void called(const QString& what)
    {
        if (callsBeforeFailure-- == 0) throw base::runtimeError(base::errors::databaseFault);
        log += what;
    }

    /// Keys of the rows that a report's condition means.
    std::vector<store::RowKey> meeting(const QString& condition) const
    {
        static const QRegularExpression form(
            u"^Tarih>=#(\\d\\d)/(\\d\\d)/(\\d{4}) 00:00:00# And "
            "Tarih<=#(\\d\\d)/(\\d\\d)/(\\d{4}) 23:59:59#(?: And CariHar='([^']*)')?$"_s);
        const QRegularExpressionMatch match = form.match(condition);
        if (!match.hasMatch()) throw base::runtimeError(base::errors::querySyntax);
        const auto number = [&](int group) { return match.captured(group).toInt(); };
        const QDateTime from(QDate(number(3), number(1), number(2)), QTime(0, 0), Qt::UTC);
        const QDateTime to(QDate(number(6), number(4), number(5)), QTime(23, 59, 59), Qt::UTC);
        std::vector<store::RowKey> found;
        for (const auto& [key, row] : rows) {
            QDateTime moment = row[0].moment();
            moment.setTimeSpec(Qt::UTC);
            if (!moment.isValid() || moment < from || moment > to) continue;
            if (match.hasCaptured(7) && row[6].text() != match.captured(7)) continue;
            found.push_back(key);
        }
        return found;
    }

    class Engine : public store::Engine {
    public:
        explicit Engine(PaperJournal& paper) : paper_(paper) {}

        store::Listing open(const QString& source) override
        {
            paper_.called(u"open "_s + source);
            store::Listing listing = emptyJournal();
            static const QRegularExpression form(u"^Select \\* From Hareket where (.*) Order By Tarih Asc$"_s);
            if (source == u"Select * From Hareket Order By Tarih Asc;"_s) {
                for (const auto& [key, row] : paper_.rows) listing.rows.push_back(key);
            } else if (const auto match = form.match(source); match.hasMatch()) {
                listing.rows = paper_.meeting(match.captured(1));
            } else {
                throw base::runtimeError(base::errors::querySyntax);
            }
            std::stable_sort(listing.rows.begin(), listing.rows.end(), [this](store::RowKey a, store::RowKey b) {
                return paper_.rows[a][0].moment() < paper_.rows[b][0].moment();
            });
            return listing;
        }

        store::FieldValue field(const store::Listing&, store::RowKey row, int position) override
        {
            ++paper_.fetches;
            const auto found = paper_.rows.find(row);
            if (found == paper_.rows.end()) throw base::runtimeError(base::errors::recordDeleted);
            return found->second.at(static_cast<std::size_t>(position));
        }

        store::RowKey insert(const store::Listing&, const store::Assignments& values) override
        {
            paper_.called(u"insert"_s);
            Row row;
            for (const auto& [position, value] : values) row.at(static_cast<std::size_t>(position)) = value;
            paper_.rows[++paper_.last_] = row;
            return paper_.last_;
        }

        void update(const store::Listing&, store::RowKey key, const store::Assignments& values) override
        {
            paper_.called(u"update"_s);
            for (const auto& [position, value] : values)
                paper_.rows.at(key).at(static_cast<std::size_t>(position)) = value;
        }

        void erase(const store::Listing&, store::RowKey row) override
        {
            paper_.called(u"erase"_s);
            paper_.rows.erase(row);
        }

        std::vector<store::RowKey> matching(const store::Listing&, const QString& criteria) override
        {
            paper_.called(u"find "_s + criteria);
            if (criteria != u"CariHar='Toplamlar'"_s) throw base::runtimeError(base::errors::querySyntax);
            std::vector<store::RowKey> found;
            for (const auto& [key, row] : paper_.rows)
                if (row[6].text() == u"Toplamlar"_s) found.push_back(key);
            return found;
        }

        std::size_t execute(const QString& sql) override
        {
            paper_.called(sql);
            if (sql != u"DELETE FROM Hareket WHERE CariHar='Toplamlar'"_s)
                throw base::runtimeError(base::errors::querySyntax);
            return std::erase_if(paper_.rows, [](const auto& row) { return row.second[6].text() == u"Toplamlar"_s; });
        }

        QList<store::FieldValue> aggregate(const QString& sql) override
        {
            paper_.called(sql);
            const QString head = u"Select Sum(Zeytin),Sum(Yağ),Sum(HakTut),Sum(Nakit) FROM Hareket "
                                 "Where CariHar<>'Toplamlar' And "_s;
            if (!sql.startsWith(head)) throw base::runtimeError(base::errors::querySyntax);
            QList<store::FieldValue> sums;
            for (const std::size_t column : {1, 2, 4, 5}) {
                store::FieldValue sum;
                for (const store::RowKey key : paper_.meeting(sql.mid(head.size()))) {
                    const Row& row = paper_.rows.at(key);
                    // A name that is Null is not known to differ from the reserved one.
                    if (row[6].isNull() || row[6].text() == u"Toplamlar"_s) continue;
                    if (const auto number = row[column].number()) sum = sum.number().value_or(0) + *number;
                }
                sums += sum;
            }
            return sums;
        }

        std::unique_ptr<store::ChangeScope> change() override
        {
            paper_.called(u"begin"_s);
            return std::make_unique<Scope>(paper_);
        }

    private:
        class Scope : public store::ChangeScope {
        public:
            explicit Scope(PaperJournal& paper) : paper_(paper), before_(paper.rows) {}
            ~Scope() override
            {
                if (!done_) paper_.rows = before_;
            }
            void commit() override
            {
                paper_.called(u"commit"_s);
                done_ = true;
            }

        private:
            PaperJournal& paper_;
            std::map<store::RowKey, Row> before_;
            bool done_ = false;
        };

        PaperJournal& paper_;
    };

    store::RowKey last_ = 0;
};
