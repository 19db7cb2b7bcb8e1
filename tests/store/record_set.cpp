#include "tests/store/mill_file.h"
#include "tests/support/outcome.h"

#include "mill/queries.h"

#include <QTest>
#include <optional>

using store::FieldValue;
using store::RecordSet;
namespace errors = base::errors;

namespace {

const base::Regional regional = base::Regional::turkish();

/// The register with three customers, or none, and a set on it.
class Register {
public:
    explicit Register(const QStringList& names = {"Ali", "Can", "Veli"}, const QString& source = "Cari")
    {
        for (const QString& name : names) addRow(file, "Cari", {FieldValue(name)});
        cari.emplace(file, source);
    }
    RecordSet& set() { return cari->recordSet(); }
    QString name() { return set().field(0).text(); }
    void add(const QString& name)
    {
        set().addNew();
        set().setField(0, FieldValue(name));
        set().update();
    }
    void deleteElsewhere(const QString& name) { file.engine()->execute("DELETE FROM Cari Where Unvan='" + name + "'"); }

    MillFile file;
    std::optional<OpenSource> cari;
};

} // namespace

class TestRecordSet : public QObject {
    Q_OBJECT

    std::optional<Register> cari;

private slots:
    void init() { cari.emplace(); }
    void cleanup() { cari.reset(); }

    void aSetWithoutRowsHasNoCurrentOne()
    {
        cari.emplace(QStringList{});
        QVERIFY(cari->set().bof());
        QVERIFY(cari->set().eof());
        QCOMPARE(cari->set().recordCount(), 0);
        QCOMPARE(errorOf([&] { cari->name(); }), errors::noCurrentRecord);
        QCOMPARE(errorOf([&] { cari->set().moveFirst(); }), errors::noCurrentRecord);
        QCOMPARE(errorOf([&] { cari->set().moveLast(); }), errors::noCurrentRecord);
        QCOMPARE(errorOf([&] { cari->set().moveNext(); }), errors::noCurrentRecord);
        QVERIFY(cari->set().bof());
        QVERIFY(cari->set().eof());
    }

    void opensOnTheFirstRow()
    {
        QVERIFY(!cari->set().bof());
        QVERIFY(!cari->set().eof());
        QCOMPARE(cari->set().recordCount(), 1);
        QCOMPARE(cari->name(), "Ali");
    }

    void theLastRowMakesTheCountExact()
    {
        cari->set().moveNext();
        QCOMPARE(cari->set().recordCount(), 2);
        cari->set().moveLast();
        QCOMPARE(cari->set().recordCount(), 3);
        QCOMPARE(cari->name(), "Veli");
        QVERIFY(!cari->set().bof() && !cari->set().eof());
        cari->set().moveFirst();
        QCOMPARE(cari->set().recordCount(), 3);
        QCOMPARE(cari->name(), "Ali");
        QVERIFY(!cari->set().bof() && !cari->set().eof());
    }

    void stepsBehindTheLastRowOnce()
    {
        cari->set().moveLast();
        cari->set().moveNext();
        QVERIFY(!cari->set().bof());
        QVERIFY(cari->set().eof());
        QCOMPARE(cari->set().recordCount(), 3);
        QCOMPARE(errorOf([&] { cari->name(); }), errors::noCurrentRecord);
        QCOMPARE(errorOf([&] { cari->set().moveNext(); }), errors::noCurrentRecord);
        QCOMPARE(errorOf([&] { cari->set().edit(); }), errors::noCurrentRecord);
        cari->set().moveFirst();
        QCOMPARE(cari->name(), "Ali");
    }

    void aNewRowReadsEmptyUntilItIsWritten()
    {
        cari->set().addNew();
        QVERIFY(cari->set().field(0).isNull());
        QVERIFY(cari->set().field(3).isNull());
        cari->set().setField(0, FieldValue(u"Ece"_s));
        QCOMPARE(cari->name(), "Ece");
    }

    void anAddedRowComesLastAndIsNotCurrent()
    {
        cari.emplace(QStringList{"Ali", "Can", "Veli"}, mill::customerSearch(""));
        cari->set().moveLast();
        cari->set().moveFirst();
        cari->set().moveNext();
        cari->add("Bora");
        QCOMPARE(cari->set().recordCount(), 4);
        QCOMPARE(cari->name(), "Can");
        QCOMPARE(texts(cari->set(), 0), (QStringList{"Ali", "Can", "Veli", "Bora"}));
        cari->set().moveLast();
        QCOMPARE(cari->name(), "Bora");
        QVERIFY(cari->set().field(1).isNull());
    }

    void anAddedRowIsSortedInByARefresh()
    {
        cari.emplace(QStringList{"Ali", "Can", "Veli"}, mill::customerSearch(""));
        cari->add("Bora");
        cari->cari->refresh();
        QCOMPARE(texts(cari->set(), 0), (QStringList{"Ali", "Bora", "Can", "Veli"}));
    }

    void theFirstRowOfAnEmptySetIsCurrent()
    {
        cari.emplace(QStringList{});
        cari->add("Ali");
        QVERIFY(!cari->set().bof() && !cari->set().eof());
        QCOMPARE(cari->set().recordCount(), 1);
        QCOMPARE(cari->name(), "Ali");
    }

    void anAddedRowCanBeMadeCurrentInSilence()
    {
        int moves = 0;
        cari->cari->onReposition([&] { ++moves; });
        cari->add("Bora");
        QCOMPARE(cari->name(), "Ali");
        cari->set().makeAddedCurrent();
        QCOMPARE(cari->name(), "Bora");
        QCOMPARE(moves, 0);
        cari->set().edit();
        cari->set().setField(1, FieldValue(12.5));
        cari->set().update();
        QCOMPARE(cari->set().size(), 4);
        QCOMPARE(cari->set().fieldAt(3, 1).number(), 12.5);
    }

    void aMoveThrowsAnUnwrittenRowAway()
    {
        cari->set().addNew();
        cari->set().setField(0, FieldValue(u"Bora"_s));
        cari->set().moveNext();
        QCOMPARE(cari->name(), "Can");
        QCOMPARE(errorOf([&] { cari->set().update(); }), errors::noEdit);
        cari->set().edit();
        cari->set().setField(0, FieldValue(u"Canan"_s));
        cari->set().moveFirst();
        cari->cari->refresh();
        QCOMPARE(texts(cari->set(), 0), (QStringList{"Ali", "Can", "Veli"}));
    }

    void anEditedRowKeepsItsPlace()
    {
        cari.emplace(QStringList{"Ali", "Can", "Veli"}, mill::customerSearch(""));
        cari->set().moveNext();
        const int count = cari->set().recordCount();
        cari->set().edit();
        QCOMPARE(cari->name(), "Can");
        cari->set().setField(0, FieldValue(u"Zeki"_s));
        QCOMPARE(cari->name(), "Zeki");
        cari->set().update();
        QCOMPARE(cari->set().recordCount(), count);
        QCOMPARE(cari->name(), "Zeki");
        QCOMPARE(texts(cari->set(), 0), (QStringList{"Ali", "Zeki", "Veli"}));
    }

    void fieldsAreWrittenInAnEditOnly()
    {
        QCOMPARE(errorOf([&] { cari->set().setField(0, FieldValue(u"x"_s)); }), errors::noEdit);
        QCOMPARE(errorOf([&] { cari->set().setField(1, "12", regional); }), errors::noEdit);
        QCOMPARE(errorOf([&] { cari->set().update(); }), errors::noEdit);
        cari->set().edit();
        cari->set().update();
        QCOMPARE(errorOf([&] { cari->set().update(); }), errors::noEdit);
    }

    void anEditNeedsACurrentRow()
    {
        cari.emplace(QStringList{});
        QCOMPARE(errorOf([&] { cari->set().edit(); }), errors::noCurrentRecord);
    }

    void findsTheFirstMatchOfTheSet()
    {
        cari.emplace(QStringList{"Veli", "Ali", "Can", "Ali"}, "Select * From Cari Order By Unvan Desc");
        cari->set().moveFirst();
        cari->set().findFirst(mill::customerCriteria("Ali"));
        QVERIFY(!cari->set().noMatch());
        QCOMPARE(cari->name(), "Ali");
        QCOMPARE(cari->set().position(), 2);
        // From the beginning, wherever the set stands.
        cari->set().moveLast();
        cari->set().findFirst("Unvan Like 'c*' Or Unvan='Veli'");
        QCOMPARE(cari->name(), "Veli");

        // A row of the table that is not in the set is no match.
        addRow(cari->file, "Cari", {FieldValue(u"Bora"_s)});
        cari->set().findFirst(mill::customerCriteria("Bora"));
        QVERIFY(cari->set().noMatch());
    }

    void withoutAMatchTheRowStays()
    {
        cari->set().moveNext();
        for (const char* name : {"Zeki", "ali", "Ali "}) {
            cari->set().findFirst(mill::customerCriteria(name));
            QVERIFY(cari->set().noMatch());
            QCOMPARE(cari->name(), "Can");
        }
        cari->set().findFirst(mill::customerCriteria("Veli"));
        QVERIFY(!cari->set().noMatch());
    }

    void findingInAnEmptySetIsNoError()
    {
        cari.emplace(QStringList{});
        cari->set().findFirst(mill::customerCriteria("Ali"));
        QVERIFY(cari->set().noMatch());
    }

    void aDeletedRowStaysCurrentUntilAMove()
    {
        cari->set().moveLast();
        cari->set().moveFirst();
        cari->set().moveNext();
        cari->set().erase();
        QCOMPARE(cari->set().recordCount(), 2);
        QVERIFY(!cari->set().bof() && !cari->set().eof());
        QCOMPARE(errorOf([&] { cari->name(); }), errors::recordDeleted);
        QCOMPARE(errorOf([&] { cari->set().edit(); }), errors::recordDeleted);
        QCOMPARE(errorOf([&] { cari->set().erase(); }), errors::recordDeleted);
        cari->set().moveNext();
        QCOMPARE(cari->name(), "Veli");
        cari->set().erase();
        QVERIFY(!cari->set().bof() && !cari->set().eof());
        QCOMPARE(errorOf([&] { cari->name(); }), errors::recordDeleted);
        cari->set().moveNext();
        QVERIFY(cari->set().eof());
        cari->set().moveFirst();
        QCOMPARE(cari->name(), "Ali");
        OpenSource again(cari->file, "Cari");
        QCOMPARE(texts(again.recordSet(), 0), QStringList{"Ali"});
    }

    void theOnlyRowDeletedIsCurrentUntilAMoveAndNoneAfterIt()
    {
        cari.emplace(QStringList{"Ali"});
        cari->set().erase();
        QCOMPARE(cari->set().recordCount(), 0);
        QVERIFY(!cari->set().bof() && !cari->set().eof());
        QCOMPARE(errorOf([&] { cari->name(); }), errors::recordDeleted);
        cari->set().moveNext();
        QVERIFY(cari->set().bof() && cari->set().eof());
        QCOMPARE(errorOf([&] { cari->name(); }), errors::noCurrentRecord);
        QCOMPARE(errorOf([&] { cari->set().moveFirst(); }), errors::noCurrentRecord);
    }

    void deletingNeedsACurrentRow()
    {
        Register empty(QStringList{});
        QCOMPARE(errorOf([&] { empty.set().erase(); }), errors::noCurrentRecord);
        cari.emplace();
        cari->set().moveLast();
        cari->set().moveNext();
        QCOMPARE(errorOf([&] { cari->set().erase(); }), errors::noCurrentRecord);
        cari->cari->refresh();
        QCOMPARE(cari->set().size(), 3);
    }

    void rowsDeletedElsewhereStayAsHoles()
    {
        cari->set().moveLast();
        cari->deleteElsewhere("Veli");
        QCOMPARE(cari->set().recordCount(), 3);
        QVERIFY(!cari->set().bof() && !cari->set().eof());
        QCOMPARE(errorOf([&] { cari->name(); }), errors::recordDeleted);
        QCOMPARE(errorOf([&] { cari->set().edit(); }), errors::recordDeleted);
        QCOMPARE(errorOf([&] { cari->set().erase(); }), errors::recordDeleted);
        QCOMPARE(texts(cari->set(), 0), (QStringList{"Ali", "Can", "#"}));

        cari->file.engine()->execute("DELETE FROM Cari");
        QCOMPARE(cari->set().recordCount(), 3);
        QCOMPARE(texts(cari->set(), 0), (QStringList{"#", "#", "#"}));
        cari->set().moveFirst();
        QCOMPARE(errorOf([&] { cari->name(); }), errors::recordDeleted);
        cari->cari->refresh();
        QVERIFY(cari->set().bof() && cari->set().eof());
        QCOMPARE(cari->set().recordCount(), 0);
        QCOMPARE(errorOf([&] { cari->name(); }), errors::noCurrentRecord);
    }

    void rowsOfAnEmptiedTableStayHolesWhenItFillsAgain()
    {
        cari->file.engine()->execute("DELETE FROM Cari");
        for (int i = 0; i < 20; ++i) addRow(cari->file, "Cari", {FieldValue(u"Yeni %1"_s.arg(i))});
        QCOMPARE(texts(cari->set(), 0), (QStringList{"#", "#", "#"}));
    }

    void aRowDeletedDuringItsEditIsNotWritten()
    {
        cari->set().edit();
        cari->set().setField(1, FieldValue(5.0));
        cari->deleteElsewhere("Ali");
        QCOMPARE(errorOf([&] { cari->set().update(); }), errors::recordDeleted);
        cari->cari->refresh();
        QCOMPARE(texts(cari->set(), 0), (QStringList{"Can", "Veli"}));
    }

    void rowsAddedElsewhereDoNotAppear()
    {
        addRow(cari->file, "Cari", {FieldValue(u"Zeki"_s)});
        cari->set().moveLast();
        QCOMPARE(cari->set().recordCount(), 3);
        QCOMPARE(cari->name(), "Veli");
    }

    void leavesOutRowsByACondition()
    {
        cari.emplace(QStringList{"Toplamlar", "Ali", "Toplamlar", "Can", "Veli"});
        cari->set().moveLast();
        cari->set().moveFirst();
        cari->set().moveNext();
        int moves = 0;
        cari->cari->onReposition([&] { ++moves; });
        cari->set().leaveOut("Unvan='Toplamlar'");
        QCOMPARE(texts(cari->set(), 0), (QStringList{"Ali", "Can", "Veli"}));
        QCOMPARE(cari->name(), "Ali");
        QCOMPARE(cari->set().recordCount(), 3);
        QCOMPARE(moves, 0);
        // The current row itself.
        cari->set().leaveOut("Unvan='Ali'");
        QCOMPARE(cari->name(), "Can");
        cari->set().leaveOut("Unvan Like '*'");
        QVERIFY(cari->set().bof() && cari->set().eof());
        QCOMPARE(cari->set().recordCount(), 0);
        cari->cari->refresh();
        QCOMPARE(cari->set().size(), 5);
    }

    void aFailedUpdateWritesNothing()
    {
        const QString tooLong(300, u'a');
        cari->set().addNew();
        cari->set().setField(0, tooLong, regional);
        cari->set().setField(3, "5", regional);
        QCOMPARE(errorOf([&] { cari->set().update(); }), errors::fieldTooSmall);
        cari->set().edit();
        cari->set().setField(3, "7", regional);
        cari->set().setField(0, tooLong, regional);
        QCOMPARE(errorOf([&] { cari->set().update(); }), errors::fieldTooSmall);
        cari->cari->refresh();
        QCOMPARE(texts(cari->set(), 0), (QStringList{"Ali", "Can", "Veli"}));
        QCOMPARE(texts(cari->set(), 3), (QStringList{"-", "-", "-"}));
    }

    void unknownFieldsAreErrors()
    {
        cari->set().edit();
        for (const int position : {-1, 4, 1000}) {
            QCOMPARE(errorOf([&] { cari->set().field(position); }), errors::noSuchField);
            QCOMPARE(errorOf([&] { cari->set().fieldAt(0, position); }), errors::noSuchField);
            QCOMPARE(errorOf([&] { cari->set().setField(position, "1", regional); }), errors::noSuchField);
            QCOMPARE(errorOf([&] { cari->set().setField(position, FieldValue(1.0)); }), errors::noSuchField);
        }
    }

    void aCriteriaTextIsOneConditionAndNoMore_data()
    {
        QTest::addColumn<QString>("criteria");
        QTest::newRow("an apostrophe too many") << "Unvan='O'Neil'";
        QTest::newRow("an order behind it") << "Unvan='Ali' Order By Unvan";
        QTest::newRow("a statement behind it") << "Unvan='Ali'; DELETE FROM Cari";
        QTest::newRow("nothing") << "";
        QTest::newRow("a pattern that cannot be read") << "Unvan Like '[A*'";
    }

    void aCriteriaTextIsOneConditionAndNoMore()
    {
        QFETCH(QString, criteria);
        cari->set().moveNext();
        QCOMPARE(errorOf([&] { cari->set().findFirst(criteria); }), errors::querySyntax);
        QCOMPARE(cari->name(), "Can");
        QCOMPARE(cari->set().size(), 3);
    }
};

QTEST_APPLESS_MAIN(TestRecordSet)
#include "record_set.moc"
