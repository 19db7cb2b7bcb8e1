#include "app/settings_store.h"
#include "app/setting_names.h"
#include "base/error.h"
#include "base/flag_text.h"
#include "base/numbers.h"
#include "tests/doors/fake_registry.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"
#include "tests/support/qt_files.h"
#include <QDir>
#include <QTemporaryDir>
#include <QTest>
#include <utility>

using namespace app;
using namespace std::string_literals;

namespace {

const QString title = programTitle;
const QString properties = u"Properties"_s;

} // namespace

/// The user's choices, kept as texts in one file per application name.
class SettingsStoreTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        folder_ = std::make_unique<QTemporaryDir>();
        store_ = std::make_unique<SettingsStore>(folder_->path());
    }

    void absentKeysGiveTheirDefaults_data()
    {
        addColumns<QString, QString>("key", "otherwise");
        QTest::newRow("font") << u"Font"_s << u"Arial"_s;
        QTest::newRow("size") << u"Size"_s << u"8"_s;
        for (const char* key : {"Settings", "CommPort", "Handshaking"})
            QTest::newRow(key) << QString::fromLatin1(key) << QString();
    }

    void absentKeysGiveTheirDefaults()
    {
        QFETCH(QString, key);
        QFETCH(QString, otherwise);
        QCOMPARE(store_->get(title, properties, key, otherwise), otherwise);
        for (const auto& flag : {u"Baglan"_s, u"Sayac"_s, u"Bold"_s, u"Ital"_s})
            QVERIFY(!store_->flag(title, properties, flag));
        QVERIFY(!store_->flag(executableName(), u"SizeKlv"_s, u"Caps"_s));
        QVERIFY2(QDir(folder_->path()).isEmpty(), "reading must not write");
    }

    void emptyTextIsNotTheDefault()
    {
        store_->save(title, properties, u"Settings"_s, QString());
        store_->save(title, properties, u"Font"_s, QString());
        QCOMPARE(store_->get(title, properties, u"Settings"_s, u"x"_s), QString());
        QCOMPARE(store_->get(title, properties, u"Font"_s, u"Arial"_s), QString());
    }

    void emptyFlagOrSizeIsAConversionError()
    {
        store_->save(title, properties, u"Baglan"_s, QString());
        store_->save(title, properties, u"Size"_s, QString());
        QCOMPARE(outcomeOf([&] { return base::flagText(store_->flag(title, properties, u"Baglan"_s)); }), u"E13"_s);
        const QString size = store_->get(title, properties, u"Size"_s, u"8"_s);
        QCOMPARE(errorOf([&] { base::toSingle(size, base::Regional::turkish()); }), 13);
    }

    void textsComeBackLetterForLetter_data()
    {
        addTexts("text", {"9600,n,8,1", "10,5", "True", "3", " leading and trailing ", "Yağ \"İşi\"; = # %",
                          "@Invalid()", "a\\nb", "iki\nsatır", ",", "Ş,ğ", "@", "[Properties]"});
    }

    void textsComeBackLetterForLetter()
    {
        QFETCH(QString, text);
        store_->save(title, properties, u"Settings"_s, text);
        QCOMPARE(store_->get(title, properties, u"Settings"_s, u"absent"_s), text);
        QCOMPARE(SettingsStore(folder_->path()).get(title, properties, u"Settings"_s, u"absent"_s), text);
    }

    void portStringTypedIntoTheFileIsOneText_data()
    {
        addCases<QByteArray>("start", {{"unquoted", "[Properties]\nSettings=9600,n,8,1"_ba},
                                       {"quoted", "[Properties]\nSettings=\"9600,n,8,1\""_ba},
                                       {"with a byte-order mark", "\xEF\xBB\xBF[Properties]\nSettings=9600,n,8,1"_ba}});
    }

    void portStringTypedIntoTheFileIsOneText()
    {
        QFETCH(QByteArray, start);
        write(start + "\nCommPort=3\nBaglan=True\n");
        QCOMPARE(store_->get(title, properties, u"Settings"_s, QString()), u"9600,n,8,1"_s);
        QCOMPARE(store_->get(title, properties, u"CommPort"_s, QString()), u"3"_s);
        QVERIFY(store_->flag(title, properties, u"Baglan"_s));
    }

    void fontSizeIsReadByTheSettingsOfTheDay()
    {
        store_->save(title, properties, u"Size"_s, base::numberToText(10.5F, base::Regional::turkish()));
        const QString stored = store_->get(title, properties, u"Size"_s, u"8"_s);
        QCOMPARE(stored, u"10,5"_s);
        QCOMPARE(base::toSingle(stored, base::Regional::turkish()), 10.5F);
        QCOMPARE(base::toSingle(stored, base::Regional::english()), 105.0F);
    }

    void portNumberHasNoBlank()
    {
        store_->save(title, properties, u"CommPort"_s, base::numberToText(3, base::Regional::turkish()));
        QCOMPARE(store_->get(title, properties, u"CommPort"_s, QString()), u"3"_s);
    }

    void renamedExecutableLosesOnlyTheKeypadChoice()
    {
        store_->saveFlag(u"presva"_s, u"SizeKlv"_s, u"Caps"_s, true);
        store_->save(title, properties, u"Font"_s, u"Courier"_s);
        QVERIFY(store_->flag(u"presva"_s, u"SizeKlv"_s, u"Caps"_s));
        QVERIFY(!store_->flag(u"presva2"_s, u"SizeKlv"_s, u"Caps"_s));
        QCOMPARE(store_->get(title, properties, u"Font"_s, u"Arial"_s), u"Courier"_s);
    }

    void flagsAreStoredInEnglish()
    {
        store_->saveFlag(title, properties, u"Baglan"_s, true);
        store_->saveFlag(title, properties, u"Sayac"_s, false);
        QCOMPARE(store_->get(title, properties, u"Baglan"_s, QString()), u"True"_s);
        QCOMPARE(store_->get(title, properties, u"Sayac"_s, QString()), u"False"_s);
        QVERIFY(contentOf(file()).contains("Baglan=True"));
    }

    void onlyTheTwoWordsAreFlags_data()
    {
        addColumns<QString, QString>("text", "expected");
        QTest::newRow("True") << u"True"_s << u"True"_s;
        QTest::newRow("False") << u"False"_s << u"False"_s;
        QTest::newRow("small letters") << u"true"_s << u"True"_s;
        QTest::newRow("capitals") << u"FALSE"_s << u"False"_s;
        for (const char* text : {"1", "0", "-1", "0,5", "", "Doğru", "Yanlış", "#TRUE#", "evet", "abc", " True "})
            QTest::newRow(qPrintable(u"refused: "_s + QString::fromUtf8(text))) << QString::fromUtf8(text) << u"E13"_s;
    }

    void onlyTheTwoWordsAreFlags()
    {
        QFETCH(QString, text);
        store_->save(title, properties, u"Sayac"_s, text);
        QTEST(outcomeOf([&] { return base::flagText(store_->flag(title, properties, u"Sayac"_s)); }), "expected");
    }

    void namesAreFoundIgnoringLetterCase()
    {
        write("[properties]\nCOMMPORT=4\n");
        QCOMPARE(store_->get(title, properties, u"CommPort"_s, QString()), u"4"_s);
        store_->save(title, properties, u"CommPort"_s, u"5"_s);
        QCOMPARE(store_->get(title, properties, u"CommPort"_s, QString()), u"5"_s);
        QCOMPARE(contentOf(file()).toLower().count("commport"), 1);
    }

    void changesByHandCountAtOnce()
    {
        store_->save(title, properties, u"Font"_s, u"Arial"_s);
        QCOMPARE(store_->get(title, properties, u"Font"_s, QString()), u"Arial"_s);
        write("[Properties]\nFont=Courier New\n");
        QCOMPARE(store_->get(title, properties, u"Font"_s, QString()), u"Courier New"_s);
    }

    void previousStateStaysBesideTheFile()
    {
        store_->save(title, properties, u"Font"_s, u"Arial"_s);
        const QByteArray before = contentOf(file());
        store_->save(title, properties, u"Font"_s, u"Courier"_s);
        QCOMPARE(contentOf(file() + ".previous"_L1), before);
    }

    void damagedFileIsPutAsideAndThePreviousOneGoesOn_data()
    {
        addCases<QByteArray>("damage", {{"zeros after a hard stop", QByteArray(512, '\0')},
                                        {"nothing left", QByteArray()},
                                        {"no settings at all", "<html>not mine</html>\n"_ba}});
    }

    void damagedFileIsPutAsideAndThePreviousOneGoesOn()
    {
        QFETCH(QByteArray, damage);
        store_->save(title, properties, u"Font"_s, u"Courier"_s);
        store_->save(title, properties, u"Size"_s, u"12"_s);
        write(damage);
        QCOMPARE(store_->get(title, properties, u"Font"_s, u"Arial"_s), u"Courier"_s);
        QCOMPARE(contentOf(file()), damage);

        store_->saveFlag(title, properties, u"Bold"_s, true);
        QCOMPARE(store_->get(title, properties, u"Font"_s, u"Arial"_s), u"Courier"_s);
        QVERIFY(store_->flag(title, properties, u"Bold"_s));
        QCOMPARE(contentOf(file() + ".damaged"_L1), damage);
    }

    void damagedFileWithoutPreviousCopyIsKept()
    {
        write("<html>not mine</html>\n");
        QCOMPARE(store_->get(title, properties, u"Font"_s, u"Arial"_s), u"Arial"_s);
        store_->save(title, properties, u"Font"_s, u"Courier"_s);
        QCOMPARE(store_->get(title, properties, u"Font"_s, u"Arial"_s), u"Courier"_s);
        QCOMPARE(contentOf(file() + ".damaged"_L1), "<html>not mine</html>\n"_ba);
    }

    void failedSavingIsAnErrorAndChangesNothing()
    {
        QVERIFY(
            QDir().mkpath(file())); // a folder where the file should be: neither readable nor writable, even for root
        QCOMPARE(errorOf([&] { store_->save(title, properties, u"Font"_s, u"Courier"_s); }), 75);
        QCOMPARE(store_->get(title, properties, u"Font"_s, u"Arial"_s), u"Arial"_s);
        QVERIFY(QDir(file()).isEmpty());
    }

    void folderThatCannotBeMadeIsAnError()
    {
        write("a file, not a folder");
        SettingsStore inFile(file() + "/below"_L1);
        QCOMPARE(errorOf([&] { inFile.save(title, properties, u"Font"_s, u"Courier"_s); }), 75);
    }

    void registryTakesThePlaceOfFiles()
    {
        auto owned = std::make_unique<FakeRegistry>();
        FakeRegistry& registry = *owned;
        SettingsStore store(std::move(owned));
        const std::pair place(u"Software\\VB and VBA Program Settings\\Mendrik Presva\\Properties"s, u"Settings"s);

        QCOMPARE(store.get(title, properties, u"Settings"_s, u"absent"_s), u"absent"_s);
        store.save(title, properties, u"Settings"_s, u"9600,n,8,1"_s);
        QCOMPARE(registry.texts.size(), std::size_t{1});
        QVERIFY(registry.texts.at(place) == u"9600,n,8,1");
        registry.texts[place] = u"";
        QCOMPARE(store.get(title, properties, u"Settings"_s, u"absent"_s), QString());
        store.saveFlag(title, properties, u"Baglan"_s, true);
        QVERIFY(store.flag(title, properties, u"Baglan"_s));
    }

    void refusalOfTheRegistryIsAnError()
    {
        auto registry = std::make_unique<FakeRegistry>();
        registry->refusing = true;
        SettingsStore store(std::move(registry));
        QCOMPARE(errorOf([&] { store.save(title, properties, u"Settings"_s, u"1"_s); }), 75);
    }

private:
    QString file() const { return folder_->filePath(u"Mendrik Presva.ini"_s); }
    void write(const QByteArray& content) const { putFile(file(), content); }

    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<SettingsStore> store_;
};

QTEST_GUILESS_MAIN(SettingsStoreTest)
#include "settings_store.moc"
