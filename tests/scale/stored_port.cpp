#include "scale/stored_port.h"
#include "scale/setting_keys.h"
#include "tests/doors/fake_comm_control.h"
#include "tests/support/columns.h"
#include <QTest>

using namespace scale;

/// The port as it is stored, without a window.
class StoredPort : public QObject {
    Q_OBJECT

    QHash<QString, QString> settings_;
    FakeCommControl control_;
    QStringList read_; ///< the formats that the line is to be read by, and whether it is to stand still

    std::optional<PortRefusal> open()
    {
        return openStored(
            control_, [this](const QString& key) { return settings_.value(key); }, base::Regional::turkish(),
            [this](const ReadingChoice& choice) {
                read_ += choice.format + (choice.stillOnly ? u" still"_s : QString());
            });
    }

private slots:
    void init()
    {
        settings_.clear();
        read_.clear();
        control_ = FakeCommControl();
    }

    void whatIsStoredIsSetBeforeThePortOpens()
    {
        settings_ = {{setting_keys::lineSettings, u"4800,E,7,1"_s},
                     {setting_keys::portNumber, u"3"_s},
                     {setting_keys::flowControl, u"2"_s},
                     {setting_keys::format, u"st-gs"_s},
                     {setting_keys::stillOnly, u"True"_s}};
        control_.open = true;
        QVERIFY(!open());
        QCOMPARE(control_.steps,
                 (QStringList{u"close"_s, u"settings=4800,E,7,1"_s, u"port=3"_s, u"flow=2"_s, u"open"_s}));
        QCOMPARE(read_, QStringList{u"st-gs still"_s});
    }

    void whatNobodyCanUseIsRefusedAndThePortStaysClosed_data()
    {
        addColumns<QString, QString, int, QString>("key", "stored", "error", "why"); // error 0: nothing for a box
        QTest::newRow("line") << setting_keys::lineSettings << u"9600,X,8,1"_s << base::errors::invalidProperty
                              << u"port ayarları geçersiz"_s;
        QTest::newRow("flow control") << setting_keys::flowControl << u"abc"_s << base::errors::typeMismatch
                                      << u"port ayarları geçersiz"_s;
        QTest::newRow("format") << setting_keys::format << u"yok"_s << 0
                                << u"biçimi bilinmiyor (yok), Port Ayarları'ndan seçin"_s;
    }
    void whatNobodyCanUseIsRefusedAndThePortStaysClosed()
    {
        QFETCH(QString, key);
        QFETCH(QString, stored);
        settings_ = {{key, stored}};
        control_.open = true;
        const std::optional<PortRefusal> refusal = open();
        QVERIFY(refusal && !control_.open);
        QTEST(refusal->told ? refusal->told->number() : 0, "error");
        QTEST(refusal->why, "why");
        QCOMPARE(read_, QStringList());
    }

    void aBadNumberAndAPortThatDoesNotOpenAreTheStatusLines()
    {
        settings_ = {{setting_keys::portNumber, u"com3"_s}};
        control_.failures[u"open"_s] = errors::inUse;
        QVERIFY(!open());
        QCOMPARE(control_.steps, QStringList{u"open"_s});
        QCOMPARE(read_, QStringList{QString()});
    }
};

QTEST_APPLESS_MAIN(StoredPort)
#include "stored_port.moc"
