#include "store/jet/format/doors.h"
#include "store/jet/values/like_pattern.h"
#include "store/jet/values/sort_key.h"

#include <QTest>

using jet::LikePattern;

class TestLikePattern : public QObject {
    Q_OBJECT

private:
    static std::u16string text(const QString& text) { return text.toStdU16String(); }

private Q_SLOTS:
    void matchesWhatThePatternSays_data();
    void matchesWhatThePatternSays();
    void refusesPatternsThatCannotBeRead_data();
    void refusesPatternsThatCannotBeRead();
    void knowsWhatEveryMatchBeginsWith_data();
    void knowsWhatEveryMatchBeginsWith();
    void manyStarsCostNoMoreThanPatternTimesText();
};

void TestLikePattern::matchesWhatThePatternSays_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("matches");
    // clang-format off
    QTest::newRow("first letter")                  << "A*" << "Ali" << true;
    QTest::newRow("letter case does not count")    << "A*" << "ali" << true;
    QTest::newRow("another letter")                << "A*" << "Çağla" << false;
    QTest::newRow("a letter with a circumflex is another letter") << "A*" << "Âdem" << false;
    QTest::newRow("the star may stand for nothing") << "Ali*" << "Ali" << true;
    QTest::newRow("a longer name of two words")    << "Ali*" << "Ali Veli" << true;
    QTest::newRow("a longer name of one word")     << "Ali*" << "Alican" << true;
    QTest::newRow("not in the middle")             << "Ali*" << "Veli Ali" << false;
    QTest::newRow("not a shorter name")            << "Ali*" << "Al" << false;
    QTest::newRow("capital dotted i is i")         << "Ali*" << "ALİ" << true;
    QTest::newRow("capital dotless i is not i")    << "Ali*" << "ALI" << false;
    QTest::newRow("dotless small")                 << "Işık*" << "ışık" << true;
    QTest::newRow("dotless capital")               << "Işık*" << "IŞIK" << true;
    QTest::newRow("dotted finds small i")          << "İs*" << "is" << true;
    QTest::newRow("dotted does not find dotless")  << "İs*" << "Isparta" << false;
    QTest::newRow("a typed star doubles")          << "A**" << "Ali" << true;
    QTest::newRow("a typed star is a wildcard")    << "A*l*" << "Ahmet Veli" << true;
    QTest::newRow("a comma is a comma")            << "5,*" << "5," << true;
    QTest::newRow("percent is percent")            << "%*" << "%5" << true;
    QTest::newRow("percent is no wildcard")        << "%*" << "Ali" << false;
    QTest::newRow("underscore is underscore")      << "A_*" << "A_1" << true;
    QTest::newRow("underscore is no wildcard")     << "A_*" << "Ali" << false;
    QTest::newRow("number sign is a digit")        << "A#*" << "A1" << true;
    QTest::newRow("number sign is no letter")      << "A#*" << "Ab" << false;
    QTest::newRow("set, first")                    << "[AB]l*" << "Ali" << true;
    QTest::newRow("set, second")                   << "[AB]l*" << "Bl" << true;
    QTest::newRow("set, neither")                  << "[AB]l*" << "Cl" << false;
    QTest::newRow("a typed blank is needed")       << "Ali *" << "Ali" << false;
    QTest::newRow("a typed blank is found")        << "Ali *" << "Ali Veli" << true;

    QTest::newRow("question mark is one character") << "A?i" << "Ali" << true;
    QTest::newRow("question mark is not nothing")  << "Al?i" << "Ali" << false;
    QTest::newRow("question mark is not two")      << "A?" << "Ali" << false;
    QTest::newRow("range")                         << "[a-c]*" << "Bekir" << true;
    QTest::newRow("range goes by the alphabet")    << "[a-d]*" << "Çetin" << true;
    QTest::newRow("range ends there")              << "[a-c]*" << "Çetin" << false;
    QTest::newRow("range of digits")               << "[2-4]" << "3" << true;
    QTest::newRow("range of digits, outside")      << "[2-4]" << "5" << false;
    QTest::newRow("negated set")                   << "[!AB]*" << "Cemal" << true;
    QTest::newRow("negated set, in it")            << "[!AB]*" << "bekir" << false;
    QTest::newRow("negated set needs a character") << "[!AB]" << "" << false;
    QTest::newRow("lone exclamation mark")         << "[!]" << "!" << true;
    QTest::newRow("hyphen at an end")              << "[a-]x" << "-x" << true;
    QTest::newRow("hyphen in front")               << "[-a]x" << "-x" << true;
    QTest::newRow("wildcards in brackets are themselves") << "[*]*" << "*5" << true;
    QTest::newRow("wildcards in brackets, other")  << "[*]*" << "Ali" << false;
    QTest::newRow("an opening bracket in brackets") << "[[]a" << "[a" << true;
    QTest::newRow("empty brackets are nothing")    << "A[]l*" << "Ali" << true;
    QTest::newRow("a closing bracket alone")       << "a]b" << "A]B" << true;
    QTest::newRow("no pattern, no text")           << "" << "" << true;
    QTest::newRow("no pattern, some text")         << "" << "A" << false;
    QTest::newRow("star alone, no text")           << "*" << "" << true;
    QTest::newRow("end is anchored")               << "*li" << "Veli Ali" << true;
    QTest::newRow("end is anchored, not there")    << "*li" << "Alican" << false;
    QTest::newRow("the last star gives way")       << "*ab*ab" << "abxabyab" << true;
    // clang-format on
}

void TestLikePattern::matchesWhatThePatternSays()
{
    QFETCH(QString, pattern);
    QFETCH(QString, name);
    QFETCH(bool, matches);
    const LikePattern like(text(pattern));
    QCOMPARE(like.matches(text(name)), matches);
    QCOMPARE(like.matchesFolded(jet::foldTurkish(text(name))), matches);
}

void TestLikePattern::refusesPatternsThatCannotBeRead_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::newRow("set not closed") << "[A*";
    QTest::newRow("second set not closed") << "[A]l[";
    QTest::newRow("range backwards") << "[c-a]*";
    QTest::newRow("range backwards by the alphabet") << "[d-ç]*";
}

void TestLikePattern::refusesPatternsThatCannotBeRead()
{
    QFETCH(QString, pattern);
    try {
        LikePattern like(text(pattern));
        QFAIL("the pattern was taken");
    } catch (const jet::Error& error) {
        QCOMPARE(error.fault(), jet::Fault::syntax);
        QVERIFY(QString::fromUtf8(error.what()).contains(pattern));
    }
}

void TestLikePattern::knowsWhatEveryMatchBeginsWith_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<bool>("prefixSearch");
    QTest::newRow("a typed name") << "Ali*"
                                  << "ali" << true;
    QTest::newRow("dotless i") << "Işık*"
                               << "ışık" << true;
    QTest::newRow("a star inside") << "A*l*"
                                   << "a" << false;
    QTest::newRow("two stars are one") << "A**"
                                       << "a" << true;
    QTest::newRow("a set") << "A[bc]*"
                           << "a" << false;
    QTest::newRow("no star") << "Ali"
                             << "ali" << false;
    QTest::newRow("star alone") << "*"
                                << "" << true;
}

void TestLikePattern::knowsWhatEveryMatchBeginsWith()
{
    QFETCH(QString, pattern);
    QFETCH(QString, prefix);
    QFETCH(bool, prefixSearch);
    const LikePattern like(text(pattern));
    QCOMPARE(QString::fromStdU16String(std::u16string(like.prefix())), prefix);
    QCOMPARE(like.isPrefixSearch(), prefixSearch);
}

void TestLikePattern::manyStarsCostNoMoreThanPatternTimesText()
{
    std::u16string pattern;
    for (int i = 0; i < 60; ++i) pattern += u"*a";
    pattern += u"*b";
    const std::u16string name(255, u'a');
    // Trying every way to divide the text among the stars would not end in a lifetime.
    QVERIFY(!LikePattern(pattern).matches(name));
}

QTEST_APPLESS_MAIN(TestLikePattern)
#include "like_pattern.moc"
