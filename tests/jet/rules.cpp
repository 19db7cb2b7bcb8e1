// What a table's own rules say: expressions alone, and rows that they let through.

#include "files/memory_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/jet/format/properties_layout.h"
#include "store/jet/format/row_page_layout.h"
#include "store/jet/rules/rule.h"
#include "store/jet/table/catalogue.h"
#include "store/jet/table/table_state.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/names.h"
#include "tests/jet/property_block.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gmock/gmock.h>

#include <limits>
#include <optional>
#include <random>
#include <set>

using namespace jet;

namespace {

namespace layout = jet::properties_layout;
using testing::HasSubstr;

const DateTime now = *dateTime(2025, 11, 20, 14, 5, 30);

// ---- expressions ----

enum class Verdict { allowed, broken, notUnderstood };

/// Asks a rule of the field "Alan" of the table "Tablo".
Verdict verdictOf(const std::u16string& rule, const Value& own, Collation order)
{
    const RuleSubject subject{&own, [&own](std::u16string_view name) { return name == u"Alan" ? &own : nullptr; }, now};
    try {
        const bool allowed = Rule(rule, Rule::Kind::condition, {u"Tablo", order}).allows(subject);
        return allowed ? Verdict::allowed : Verdict::broken;
    } catch (const Error& error) {
        EXPECT_EQ(error.fault(), Fault::unsupported) << error.what();
        return Verdict::notUnderstood;
    }
}

struct RuleRow {
    std::u16string rule;
    Value own;
    Verdict verdict;
};
class RuleVerdict : public TableTest<RuleRow> {};

RowTable<RuleRow> ruleVerdicts()
{
    RowTable<RuleRow> table;
    const auto row = [&table](std::u16string rule, Value own, Verdict verdict) {
        table.push_back({toUtf8(rule.substr(0, 40)), {rule, std::move(own), verdict}});
    };
    using enum Verdict;
    const auto text = [](const char16_t* letters) { return Value(std::u16string(letters)); };
    row(u">=0", 0.0, allowed);
    row(u">=0", -0.5, broken);
    row(u">0 And <100", std::int16_t{99}, allowed);
    row(u">0 And <100", std::int16_t{100}, broken);
    row(u"0 Or >100", std::int32_t{0}, allowed);
    row(u"0 Or >100", std::int32_t{50}, broken);
    row(u"Not 0", std::int32_t{0}, broken);
    row(u"Not 0", std::int32_t{1}, allowed);
    row(u"<>0", Currency{0}, broken);
    row(u"Between 0 And 1", 0.5f, allowed);
    row(u"Between 1 And 0", 0.5f, allowed);
    row(u"between 0 and 1", 1.5f, broken);
    row(u"Not Between 0 And 1", 1.5f, allowed);
    row(u"(1+2)*3", 9.0, allowed);
    row(u"(1+2)*3", 8.0, broken);
    row(u"7 Mod 4 Or 7\\2*10", 3.0, allowed);
    row(u"-2", -2.0, allowed);
    row(u"=1.5e2", 150.0, allowed);
    row(u"\"E\" Or \"H\"", text(u"e"), allowed);
    row(u"\"E\" Or \"H\"", text(u"x"), broken);
    row(u"In (\"Ali\",'Veli')", text(u"VELİ"), allowed);
    row(u"In (\"Ali\";\"Veli\")", text(u"Ayşe"), broken);
    row(u"Not In (1, 2)", 3.0, allowed);
    row(u"Like \"A*\"", text(u"ahmet"), allowed);
    row(u"Like \"[A-C]##\"", text(u"b12"), allowed);
    row(u"Like \"[A-C]##\"", text(u"b1"), broken);
    row(u"Is Null Or Not Like \"*[!0-9]*\"", text(u"123"), allowed);
    row(u"Is Null Or Not Like \"*[!0-9]*\"", text(u"12a"), broken);
    row(u"Is Null Or Not Like \"*[!0-9]*\"", {}, allowed);
    row(u"Is Not Null", {}, broken);
    row(u"Not Null", {}, broken);
    row(u"Not Null", 7.0, allowed);
    row(u"Null", 7.0, broken);
    row(u">5", {}, allowed); // unknown
    row(u">5 And Is Not Null", {}, broken);
    row(u"<Date()", *dateTime(2025, 11, 19), allowed);
    row(u"<Date()", *dateTime(2025, 11, 20), broken);
    row(u"<=Now()", now, allowed);
    row(u">=#1/31/2025# And <#12/1/2025#", *dateTime(2025, 2, 1), allowed);
    row(u">=#1/31/2025 10:30:00#", *dateTime(2025, 1, 31, 10, 29, 59), broken);
    row(u"Between Date()-15 And Date()+15", *dateTime(2025, 12, 5), allowed);
    row(u"Between Date()-15 And Date()+15", *dateTime(2025, 12, 6), broken);
    row(u">DateAdd(\"m\",-1,Date())", *dateTime(2025, 10, 20), broken);
    row(u"<=DateAdd('yyyy', 1, #2/29/2024#)", *dateTime(2025, 2, 28), allowed);
    row(u"Year([Alan])=Year(Date())", *dateTime(2025, 1, 1), allowed);
    row(u"DateDiff(\"d\",[Alan],Date())<=1", *dateTime(2025, 11, 19), allowed);
    row(u"DateSerial(2025,11,30)", *dateTime(2025, 11, 30), allowed);
    row(u"Weekday([Alan])=5", *dateTime(2025, 11, 20), allowed); // a Thursday
    row(u"Len([Alan])=3", text(u"abc"), allowed);
    row(u"Len([Alan])=3", text(u"ab"), broken);
    row(u"Len([Tablo].[Alan])<=3 And Left([Alan],1)=\"a\"", text(u"ABC"), allowed);
    row(u"Right(Trim([Alan]),2)=Mid([Alan],3)", text(u"abcd"), allowed);
    row(u"InStr([Alan],\"@\")>1", text(u"a@b"), allowed);
    row(u"IIf([Alan]>10,[Alan]<20,True)", 25.0, broken);
    row(u"Int([Alan])=[Alan]", 2.5, broken);
    row(u"[Alan] & \"x\"=\"5x\"", 5.0, allowed);
    // What is reckoned first
    row(u"2+3*4", 14.0, allowed);
    row(u"10-4-3", 3.0, allowed);
    row(u"12/3/2", 2.0, allowed);
    row(u"7\\2*10", 0.0, allowed);
    row(u"9 Mod 2*4", 1.0, allowed);
    row(u"9 Mod 5\\2", 1.0, allowed);
    row(u"1+9 Mod 4", 2.0, allowed);
    row(u"-2*-3", 6.0, allowed);
    row(u"\"a\" & 1+2", text(u"a3"), allowed);
    row(u">5 Or <3 And <>1", 1.0, broken);
    row(u">5 Or <3 And <>1", 6.0, allowed);
    row(u"(>5 Or <3) And <>1", 1.0, broken);
    row(u"Not >5 And <9", 3.0, allowed);
    row(u"Not (>5 And <9)", 12.0, allowed);
    row(u"Not >5 Or 7", 7.0, allowed);
    row(u"Between 1 And 3 And <>2", 2.0, broken);
    row(u"Between 1 And 3 Or 9", 9.0, allowed);
    row(u"[Alan] Not Between 1 And 3", 2.0, broken);
    row(u"[Alan] Not In (1,2)", 2.0, broken);
    row(u"[Alan] Not Like \"a*\"", text(u"ab"), broken);
    row(u"[Alan]>0=True", 1.0, notUnderstood);
    row(u"2^3", 8.0, notUnderstood);
    // What Null makes unknown
    row(u"5", {}, allowed);
    row(u"Not 5", {}, allowed);
    row(u"Between 1 And 3", {}, allowed);
    row(u"In (1,2)", {}, allowed);
    row(u"Like \"a*\"", {}, allowed);
    row(u"Len([Alan])>3", {}, allowed);
    row(u"Year([Alan])=2025", {}, allowed);
    row(u"[Alan]+1>0", {}, allowed);
    row(u">5 Or Is Null", {}, allowed);
    row(u"Not Is Null", {}, broken);
    row(u"Not Is Null And >5", 3.0, broken);
    row(u"1=2 And >5", {}, broken);
    row(u"1=1 Or >5", {}, allowed);
    row(u"In (1,Null)", 1.0, allowed);
    row(u"In (1,Null)", 2.0, allowed);
    row(u"Between 5 And Null", 3.0, allowed);
    row(u"Between 5 And Null", 7.0, allowed);
    row(u"Between Null And 5", 7.0, allowed);
    row(u"Not Between 5 And Null", 3.0, allowed);
    row(u"Is Not Null And Between 5 And Null", 3.0, allowed);
    row(u"=Null", 7.0, allowed);
    row(u"IsNull([Alan])", {}, allowed);
    row(u"IsNull([Alan])", 1.0, broken);
    row(u"IIf(IsNull([Alan]),False,True)", {}, broken);
    row(u"[Alan] & \"\"=\"\"", {}, allowed);
    // Dates
    row(u"DatePart(\"q\",[Alan])=4", *dateTime(2025, 10, 1), allowed);
    row(u"DatePart('yyyy',[Alan])=2025 And DatePart('h',[Alan])=14", now, allowed);
    row(u"DateValue([Alan])=Date()", now, allowed);
    row(u"TimeValue([Alan])<TimeSerial(14,5,31)", now, allowed);
    row(u"TimeValue([Alan])<TimeSerial(14,5,30)", now, broken);
    row(u"Month([Alan])=2 And Day([Alan])=29", *dateTime(2024, 2, 29), allowed);
    row(u"DateDiff(\"m\",[Alan],#3/1/2025#)=1", *dateTime(2025, 2, 28), allowed);
    row(u"DateAdd(\"ww\",2,[Alan])=#3/15/2025#", *dateTime(2025, 3, 1), allowed);
    row(u"DateSerial(2025,13,1)", *dateTime(2026, 1, 1), allowed);
    row(u"DateSerial(2025,3,0)", *dateTime(2025, 2, 28), allowed);
    row(u"Hour([Alan])=14 And Minute([Alan])=5 And Second([Alan])=30", now, allowed);
    row(u"DateValue(\"20.11.2025\")=[Alan]", now, notUnderstood);
    row(u"#20.11.2025#", now, notUnderstood);
    row(u"True", true, allowed);
    // The answer itself, or what the field must equal: nobody knows
    row(u"True", 50.0, notUnderstood);
    row(u"No", std::int32_t{0}, notUnderstood);
    row(u"True Or False", text(u"x"), notUnderstood);
    row(u"True", {}, allowed); // in both readings
    row(u"=True", -1.0, allowed);
    row(u"=True", 50.0, broken);
    row(u"Yes", false, broken);
    // Texts and numbers
    row(u">0", text(u"12"), notUnderstood);
    row(u">0", text(u"oniki"), notUnderstood);
    row(u"\"5\"", 5.0, notUnderstood);
    row(u"[Alan]*1=12", text(u"12"), allowed);
    row(u"[Alan]+1=-11", text(u"-12"), allowed);
    for (const char16_t* noNumber : {u"inf", u"nan", u"1e3", u"1,5", u"1.5", u" 12", u"", u"-", u"1234567890123456"})
        row(u"[Alan]*1>0", text(noNumber), notUnderstood);
    row(u"Len([Alan])=6", 100000.0, allowed);
    row(u"Len([Alan])=6", std::int32_t{100000}, allowed);
    row(u"Left([Alan],1)=\"9\"", Currency{9'000'000'000'000'0000}, allowed);
    row(u"[Alan] & \"\"=\"1000000\"", 1e6, allowed);
    row(u"[Alan] & \"\"=\"999999999999999\"", 999999999999999.0, allowed);
    row(u"Len([Alan])>0", 1e15, notUnderstood);
    row(u"Len([Alan])>0", 0.5, notUnderstood);
    row(u"Len([Alan])=3", Currency{125'0000}, allowed);
    row(u"Len([Alan])>0", Currency{125'5000}, notUnderstood);
    row(u"Len([Alan])>0", 16777217.0f, notUnderstood);
    row(u"Len([Alan])>0", true, notUnderstood);
    row(u"Len([Alan])>0", now, notUnderstood);
    // Money and decimals are reckoned to the last digit
    row(u"[Alan]+1-1=[Alan]", Currency{1000}, allowed);
    row(u"[Alan]*3=0.3", Currency{1000}, allowed);
    row(u"[Alan]*100=Int([Alan]*100)", Currency{2900}, allowed);
    row(u"[Alan]*100=Int([Alan]*100)", Currency{2901}, broken);
    row(u"Fix(-[Alan])=-2", Currency{2'9000}, allowed);
    row(u"Int(-[Alan])=-3", Currency{2'9000}, allowed);
    row(u"[Alan]-0.1=0.2", Currency{3000}, allowed);
    row(u"[Alan]+0.0001>922337203685477.5807", Currency{INT64_MAX}, allowed);
    row(u"[Alan]+0.1+0.2=0.6", Numeric{false, {0, 0, 0, 3}, 1}, allowed);
    row(u">0", Numeric{false, {2'415'919'104U, 0, 0, 1}, 0}, notUnderstood); // of a damaged row
    row(u">0", Numeric{true, {0, 1, 0, 1}, 28}, broken);
    row(u"[Alan]*[Alan]=1.52399025", Currency{1'2345}, notUnderstood); // money times money: rounded or not
    row(u"[Alan]*[Alan]<1.6", Currency{1'2345}, allowed);
    // What depends on how doubles are reckoned is not decided
    row(u"[Alan]*100=Int([Alan]*100)", 0.29, notUnderstood);
    row(u"[Alan]+0.2=0.3", 0.1, notUnderstood);
    row(u"[Alan]+0.2<0.31", 0.1, allowed);
    row(u"<=0.1", 0.1, allowed);
    row(u"<=0.3", 0.1 + 0.2, notUnderstood);
    row(u"<=0.1", 0.1f, notUnderstood);
    row(u"<=0.5", 0.5f, allowed);
    row(u"[Alan]=[Alan]", 0.1f, allowed);
    row(u"[Alan]/3*3>29", 10.0, broken);
    row(u"10.5 Mod 4=2 And [Alan]=[Alan]", 1.0, allowed); // halves go to the even number
    row(u"[Alan] Mod 2=0", 3e9, notUnderstood);
    // Numbers are no conditions
    row(u"[Alan] And 4", std::int32_t{3}, notUnderstood);
    row(u"([Alan]+1) Or ([Alan]>5)", std::int32_t{3}, notUnderstood);
    row(u"Abs([Alan])", std::int32_t{3}, notUnderstood);
    row(u"Not [Alan]", std::int32_t{3}, notUnderstood);
    row(u"[Alan]", std::int32_t{3}, notUnderstood);
    row(u"Not [Alan]", false, allowed);
    row(u"[Alan] And True", true, allowed);
    row(u"IIf([Alan],True,False)", std::int32_t{2}, allowed);
    row(u"IIf([Alan]>1,1,0)", 2.0, notUnderstood);
    // Whose field it is
    row(u"[Tablo]![Alan]>0", 1.0, allowed);
    row(u"[TABLO].[Alan]>0", 1.0, allowed);
    row(u"[Yok].[Alan]>0", 1.0, notUnderstood);
    row(u"[Forms]![f]![Alan]>0", 1.0, notUnderstood);
    row(u"[Tablo].[Tablo].[Alan]>0", 1.0, notUnderstood);
    row(u"[Tablo].5>0", 1.0, notUnderstood);
    // Fields that can only be there or not
    row(u"Is Not Null", Bytes{1}, allowed);
    row(u"Is Null", Bytes{1}, broken);
    row(u"[Alan] Is Null", Guid{}, broken);
    row(u"IsNull([Alan])", Value(), allowed);
    row(u"[Alan]=[Alan]", Guid{}, notUnderstood);
    row(u"Len([Alan])>0", Bytes{1}, notUnderstood);
    // Turkish letters
    row(u"<\"d\"", text(u"Çam"), allowed);
    row(u"=\"ışık\"", text(u"IŞIK"), allowed);
    row(u"=\"işik\"", text(u"IŞIK"), broken);
    row(u"LCase([Alan])=\"ısı\"", text(u"ISI"), allowed);
    row(u"InStr([Alan],\"i\")=0", text(u"ILIK"), allowed);
    row(u"=\"ab\"", text(u"ab "), notUnderstood); // whether a space at the end counts
    row(u"=\"ab\"", text(u"abc "), broken);
    row(u"Like \"s*\"", text(u"ß"), notUnderstood);
    row(u"1/[Alan]>0", 0.0, notUnderstood);
    row(u"DLookUp(\"a\",\"b\")>0", 1.0, notUnderstood);
    row(u"[Başka]>0", 1.0, notUnderstood);
    row(u">", 1.0, notUnderstood);
    row(u">0 And", 1.0, notUnderstood);
    row(u">0 xor <5", 1.0, notUnderstood);
    row(u"\"a", text(u"a"), notUnderstood);
    row(u"=#13/1/2025#", now, notUnderstood);
    row(u"Like \"[a\"", text(u"a"), notUnderstood);
    row(std::u16string(1000, u'(') + u"1", 1.0, notUnderstood);
    return table;
}

INSTANTIATE_TEST_SUITE_P(, RuleVerdict, testing::ValuesIn(ruleVerdicts()), NumberedRowName());

TEST_P(RuleVerdict, isThatOfTheValue)
{
    const auto& [rule, own, verdict] = row();
    ASSERT_EQ(verdictOf(rule, own, turkish), verdict);
}

struct RuleOrderRow {
    Collation order;
    std::u16string rule;
    std::u16string text;
    Verdict verdict;
};
class RuleOfAnotherAlphabet : public TableTest<RuleOrderRow> {};

RowTable<RuleOrderRow> rulesOfOtherAlphabets()
{
    constexpr Collation french{0x040C, 0}, azerbaijani{0x042C, 0}; // no weights are known
    RowTable<RuleOrderRow> table;
    const auto row = [&table](Collation order, std::u16string rule, std::u16string text, Verdict verdict) {
        table.push_back({toUtf8(rule), {order, rule, std::move(text), verdict}});
    };
    using enum Verdict;
    row(general, u"=\"istanbul\"", u"ISTANBUL", allowed);
    row(general, u"=\"i\"", u"ı", broken);
    row(general, u"=\"i\"", u"İ", broken);
    row(general, u"<\"d\"", u"ç", allowed);
    row(general, u"Between \"c\" And \"cz\"", u"ça", allowed);
    row(turkish, u"Between \"c\" And \"cz\"", u"ça", broken);
    row(general, u"=\"strasse\"", u"straße", notUnderstood);
    row(general, u"Like \"MIN*\"", u"min 5", allowed);
    row(turkish, u"Like \"MIN*\"", u"min 5", broken);
    row(general, u"Like \"[c-d]*\"", u"çam", allowed);
    row(general, u"InStr([Alan],\"I\")=2", u"min", allowed);
    row(general, u"LCase([Alan])=\"min\"", u"MIN", allowed);
    row(general, u"Like \"*\"", u"漢", notUnderstood);
    row(french, u"=\"Oui\" Or \"Non\"", u"oui", allowed);
    row(french, u"=\"Oui\" Or \"Non\"", u"peut", broken);
    row(french, u"=\"i\"", u"I", allowed);
    row(french, u"<>\"A\"", u"A ", notUnderstood);
    row(french, u"<>\"\"", u"a", allowed);
    row(french, u">\"a\"", u"b", notUnderstood);
    row(french, u">=\"a\"", u"A", allowed);
    row(french, u"=\"été\"", u"été", allowed);
    row(french, u"=\"été\"", u"Été", notUnderstood);
    row(french, u"Like \"[0-9]*\"", u"5a", allowed);
    row(french, u"Like \"[a-z]*\"", u"b", notUnderstood);
    row(french, u"Like \"a*\"", u"ab", allowed);
    row(french, u"Like \"a*\"", u"aé", notUnderstood);
    row(azerbaijani, u"=\"i\"", u"I", notUnderstood);
    row(azerbaijani, u"=\"a\"", u"A", allowed);
    row(azerbaijani, u"Like \"i*\"", u"I", notUnderstood);
    row(Collation(), u"Len([Alan])=2", u"é1", allowed);
    return table;
}

INSTANTIATE_TEST_SUITE_P(, RuleOfAnotherAlphabet, testing::ValuesIn(rulesOfOtherAlphabets()), NumberedRowName());

TEST_P(RuleOfAnotherAlphabet, goesByItsLettersOrIsNotUnderstood)
{
    const auto& [order, rule, text, verdict] = row();
    ASSERT_EQ(verdictOf(rule, Value(text), order), verdict);
}

TEST(RuleValue, isWhatTheExpressionSays)
{
    const auto value = [](std::u16string_view text) {
        return Rule(text, Rule::Kind::value, {u"Tablo", turkish}).value({nullptr, {}, now});
    };
    ASSERT_EQ(value(u"0"), Value(0.0));
    ASSERT_EQ(value(u" = -1"), Value(-1.0));
    ASSERT_EQ(value(u"=No"), Value(false));
    ASSERT_EQ(value(u"\"Ali \"\"Bey\"\"\""), Value(std::u16string(u"Ali \"Bey\"")));
    ASSERT_EQ(value(u"Now()"), Value(now));
    ASSERT_EQ(value(u"Date()+1"), Value(*dateTime(2025, 11, 21)));
    ASSERT_EQ(value(u"Null"), Value());
    ASSERT_EQ(value(u"12345678901.2345"), Value(12345678901.2345));
    ASSERT_EQ(value(u"0.123456789012345"), Value(0.123456789012345));
    // A double would end in ...6768.
    ASSERT_EQ(value(u"-123456789012345.6789"), Value(Numeric{true, {0, 0, 287445236U, 2112454933U}, 4}));
    ASSERT_EQ(value(u"1234567890123456789012345678"),
              Value(Numeric{false, {0, 66926059U, 1836677777U, 3191403342U}, 0}));
    ASSERT_EQ(faultOf([&] { value(u"12345678901234567890123456789"); }), Fault::unsupported);
    ASSERT_EQ(faultOf([&] { value(u"1" + std::u16string(2048, u' ')); }), Fault::unsupported);
    const Rule number(u"=100000", Rule::Kind::value, {u"Tablo", turkish});
    ASSERT_EQ(number.text({nullptr, {}, now}), Value(std::u16string(u"100000")));
    const Rule decimal(u"0.5", Rule::Kind::value, {u"Tablo", turkish});
    ASSERT_EQ(decimal.value({nullptr, {}, now}), Value(0.5));
    ASSERT_EQ(faultOf([&] { decimal.text({nullptr, {}, now}); }), Fault::unsupported); // "0,5" to some
}

// ---- tables ----

class RuledTable : public testing::Test {
protected:
    void make(const std::vector<NewColumn>& columns, const properties::Block& block)
    {
        Database::create(disk, path, turkish, DateTime{45000});
        database = Database::open(disk, path);
        database->createTable(u"Kural", columns, {}, DateTime{45000});
        properties::put(*database, u"Kural", block);
        database.reset();
        database = Database::open(disk, path);
    }
    Table& table() { return database->table(u"Kural"); }
    Value field(RowId id, std::size_t column) { return table().row(id)->value(column); }
    std::string refusal(std::initializer_list<Assignment> values, Fault fault)
    {
        const files::MemoryDisk::Content before = disk.content(path);
        try {
            table().insert(values);
        } catch (const Error& error) {
            EXPECT_EQ(error.fault(), fault) << error.what();
            EXPECT_EQ(disk.content(path), before);
            return error.what();
        }
        return "was stored";
    }

    const std::filesystem::path path = "kurallar.mdb";
    files::MemoryDisk disk;
    std::unique_ptr<Database> database;
};

TEST_F(RuledTable, whatARuleForbidsIsNotStored)
{
    make({{.name = u"Miktar", .type = ColumnType::doubleFloat}, {.name = u"Not", .type = ColumnType::text, .size = 20}},
         {{{u"Miktar", {{u"ValidationRule", u">0 And <100"}, {u"ValidationText", u"0 ile 100 arasında"}}}}});
    ASSERT_THAT(refusal({{0, 150.0}}, Fault::ruleBroken), HasSubstr("0 ile 100 arasında"));
    const RowId id = table().insert({{0, 50.0}});
    ASSERT_EQ(faultOf([&] { table().update(id, {{0, -1.0}}); }), Fault::ruleBroken);
    ASSERT_EQ(field(id, 0), Value(50.0));
    table().update(id, {{1, std::u16string(u"başka")}});
    table().update(id, {{0, 99.0}});
    ASSERT_EQ(field(id, 0), Value(99.0));
    ASSERT_TRUE(checkDatabase(*database).ok());
}

TEST_F(RuledTable, aRuleOfTheRowComparesItsFields)
{
    make({{.name = u"Bas", .type = ColumnType::dateTime}, {.name = u"Bit", .type = ColumnType::dateTime}},
         {{{u"", {{u"ValidationRule", u"[Bit] Is Null Or [Bas]<=[Bit]"}}}}});
    ASSERT_THAT(refusal({{0, DateTime{45001}}, {1, DateTime{45000}}}, Fault::ruleBroken),
                HasSubstr("[Bit] Is Null Or [Bas]<=[Bit]"));
    const RowId id = table().insert({{0, DateTime{45000}}});
    ASSERT_EQ(faultOf([&] { table().update(id, {{1, DateTime{44999}}}); }), Fault::ruleBroken);
    table().update(id, {{1, DateTime{45000}}});
}

TEST_F(RuledTable, aRuleThatIsNotUnderstoodRefusesTheWriteAndIsNamed)
{
    make({{.name = u"A", .type = ColumnType::longInteger}, {.name = u"B", .type = ColumnType::longInteger}},
         {{{u"A", {{u"ValidationRule", u"DCount(\"*\",\"B\")>0"}}}}});
    ASSERT_THAT(refusal({{0, std::int32_t{1}}}, Fault::unsupported), HasSubstr("DCount(\"*\",\"B\")>0"));
    ASSERT_THAT(refusal({{1, std::int32_t{1}}}, Fault::unsupported), HasSubstr("\"A\""));
}

TEST_F(RuledTable, emptyTextsAreStoredOnlyWhereTheyMayBe)
{
    make({{.name = u"Dolu", .type = ColumnType::text, .size = 20},
          {.name = u"Boş", .type = ColumnType::text, .size = 20}},
         {{{u"Dolu", {{u"AllowZeroLength", false}}}, {u"Boş", {{u"AllowZeroLength", true}}}}});
    ASSERT_THAT(refusal({{0, std::u16string()}}, Fault::emptyText), HasSubstr("\"Dolu\""));
    const RowId id = table().insert({{1, std::u16string()}});
    ASSERT_EQ(field(id, 0), Value());
    ASSERT_EQ(field(id, 1), Value(std::u16string()));
    ASSERT_EQ(faultOf([&] { table().update(id, {{0, std::u16string()}}); }), Fault::emptyText);
}

TEST_F(RuledTable, aFieldThatIsNotGivenTakesItsDefault)
{
    make({{.name = u"Sayı", .type = ColumnType::longInteger},
          {.name = u"Metin", .type = ColumnType::text, .size = 20},
          {.name = u"Gün", .type = ColumnType::dateTime},
          {.name = u"Var", .type = ColumnType::boolean},
          {.name = u"Zor", .type = ColumnType::longInteger}},
         {{{u"Sayı", {{u"DefaultValue", u"7"}}},
           {u"Metin", {{u"DefaultValue", u"\"yok\""}}},
           {u"Gün", {{u"DefaultValue", u"Date()"}}},
           {u"Var", {{u"DefaultValue", u"=Yes"}}},
           {u"Zor", {{u"DefaultValue", u"3"}, {u"Required", true}}}}});
    const RowId id = table().insert({});
    ASSERT_EQ(field(id, 0), Value(std::int32_t{7}));
    ASSERT_EQ(field(id, 1), Value(std::u16string(u"yok")));
    ASSERT_GT(std::get<DateTime>(field(id, 2)).days, 45000);
    ASSERT_EQ(field(id, 3), Value(true));
    ASSERT_EQ(field(id, 4), Value(std::int32_t{3}));
    const RowId given = table().insert({{0, Value()}, {3, false}});
    ASSERT_EQ(field(given, 0), Value());
    ASSERT_EQ(field(given, 3), Value(false));
    ASSERT_EQ(faultOf([&] { table().insert({{4, Value()}}); }), Fault::required);
}

TEST_F(RuledTable, aDefaultThatIsNotUnderstoodIsAskedForByName)
{
    make({{.name = u"A", .type = ColumnType::longInteger}}, {{{u"A", {{u"DefaultValue", u"Sıradaki()"}}}}});
    ASSERT_THAT(refusal({}, Fault::unsupported), HasSubstr("Sıradaki()"));
    table().insert({{0, std::int32_t{1}}});
}

struct DefaultRow {
    NewColumn column;
    const char16_t* text;
    Value value;                ///< what is stored
    std::optional<Fault> fault; ///< or why nothing is
};
class DefaultOfAColumn : public RuledTable, public testing::WithParamInterface<NamedRow<DefaultRow>> {};

RowTable<DefaultRow> defaults()
{
    RowTable<DefaultRow> table;
    const auto row = [&table](const char* name, ColumnType type, const char16_t* text, Value value,
                              std::optional<Fault> fault = {}) {
        table.push_back(
            {name, {{.name = u"A", .type = type, .size = 10, .precision = 28, .scale = 4}, text, value, fault}});
    };
    row("a number in quotes", ColumnType::longInteger, u"\"5\"", std::int32_t{5});
    row("a number below zero in quotes", ColumnType::doubleFloat, u"=\"-12\"", -12.0);
    row("a number in quotes for money", ColumnType::currency, u"\"7\"", Currency{70000});
    row("a fraction in quotes", ColumnType::doubleFloat, u"\"0.5\"", {}, Fault::unsupported); // 5 to some
    row("a word in quotes", ColumnType::longInteger, u"\"yok\"", {}, Fault::unsupported);
    row("a number in quotes for a text", ColumnType::text, u"\"5\"", std::u16string(u"5"));
    row("money to the last digit", ColumnType::currency, u"123456789012345.6789", Currency{1234567890123456789});
    row("money below zero", ColumnType::currency, u"=-123456789012345.6789", Currency{-1234567890123456789});
    row("a decimal of 28 digits", ColumnType::numeric, u"123456789012345678901234.5678",
        Numeric{false, {0, 66926059U, 1836677777U, 3191403342U}, 4});
    row("more digits than any type has", ColumnType::numeric, u"12345678901234567890123456789", {}, Fault::unsupported);
    row("too large for its column", ColumnType::byte, u"300", {}, Fault::badValue);
    row("too long for its column", ColumnType::text, u"\"on bir harfli\"", {}, Fault::badValue);
    row("a date in quotes", ColumnType::dateTime, u"\"1.1.2025\"", {}, Fault::badValue);
    return table;
}

INSTANTIATE_TEST_SUITE_P(, DefaultOfAColumn, testing::ValuesIn(defaults()), RowName());

TEST_P(DefaultOfAColumn, isStoredAsWhatItSaysOrNamedWithTheColumn)
{
    const auto& [column, text, value, fault] = GetParam().row;
    make({column, {.name = u"B", .type = ColumnType::longInteger}}, {{{u"A", {{u"DefaultValue", text}}}}});
    if (!fault) {
        ASSERT_EQ(field(table().insert({}), 0), value);
        return;
    }
    ASSERT_THAT(refusal({}, *fault),
                testing::AllOf(HasSubstr("\"A\" alanının varsayılan değeri"), HasSubstr("alanın değerini verin")));
    table().insert({{0, Value()}});
}

TEST_F(RuledTable, aRandomAutoNumberIsDrawnAndNeverCounted)
{
    make({{.name = u"No", .type = ColumnType::longInteger, .autoNumber = true},
          {.name = u"A", .type = ColumnType::longInteger}},
         {{{u"No", {{u"DefaultValue", u"GenUniqueID()"}}}}});
    // The greatest number that there can be leaves no next one.
    table().insert({{0, std::numeric_limits<std::int32_t>::max()}});
    std::set<std::int32_t> numbers;
    for (int i = 0; i < 200; ++i) numbers.insert(std::get<std::int32_t>(field(table().insert({}), 0)));
    ASSERT_EQ(numbers.size(), 200U);
    ASSERT_LT(*numbers.begin(), -1'000'000);
    ASSERT_GT(*numbers.rbegin(), 1'000'000);
    const auto check = [&] { return checkDatabase(*database); };
    ASSERT_TRUE(check().ok());
    ASSERT_THAT(check().warnings, testing::IsEmpty()); // there is no counter that lags behind
    database.reset();
    database = Database::open(disk, path);
    ASSERT_FALSE(numbers.contains(std::get<std::int32_t>(field(table().insert({}), 0))));
}

TEST_F(RuledTable, anAutomaticGuidIsGivenOnce)
{
    make({{.name = u"Kimlik", .type = ColumnType::guid, .autoNumber = true},
          {.name = u"A", .type = ColumnType::longInteger}},
         {});
    std::set<decltype(Guid::bytes)> seen;
    for (int i = 0; i < 200; ++i) seen.insert(std::get<Guid>(field(table().insert({{1, std::int32_t{i}}}), 0)).bytes);
    ASSERT_EQ(seen.size(), 200U);
    const Guid given{{1, 2, 3}};
    const RowId row = table().insert({{0, given}});
    ASSERT_EQ(field(row, 0), Value(given));
    table().update(row, {{0, given}, {1, std::int32_t{5}}});
    ASSERT_EQ(faultOf([&] { table().update(row, {{0, Guid{{9}}}}); }), Fault::badValue);
    ASSERT_EQ(field(row, 0), Value(given));
}

TEST_F(RuledTable, aNumberAsDefaultOfATextIsWrittenAsOne)
{
    make({{.name = u"Kod", .type = ColumnType::text, .size = 20}}, {{{u"Kod", {{u"DefaultValue", u"0"}}}}});
    ASSERT_EQ(field(table().insert({}), 0), Value(std::u16string(u"0")));
}

TEST_F(RuledTable, aRuleGoesByTheOrderOfTheTablesTexts)
{
    for (const Collation order : {turkish, general}) {
        disk = files::MemoryDisk();
        Database::create(disk, path, order, DateTime{45000});
        database = Database::open(disk, path);
        database->createTable(u"Kural", {{.name = u"Ad", .type = ColumnType::text, .size = 20}}, {}, DateTime{45000});
        properties::put(*database, u"Kural", {{{u"Ad", {{u"ValidationRule", u"Like \"I*\""}}}}});
        database = Database::open(disk, path);
        const auto fault = faultOf([&] { table().insert({{0, std::u16string(u"istanbul")}}); });
        if (order == turkish)
            ASSERT_EQ(fault, Fault::ruleBroken);
        else
            ASSERT_EQ(fault, std::nullopt);
        database.reset();
    }
}

struct UnreadablePropertiesRow {
    std::function<void(Bytes&)> damage;
};
/// The parts of a block that says one thing of the column "A", behind the names.
struct PropertyParts {
    explicit PropertyParts(Bytes& bytes)
        : names(bytes.data() + layout::signature.size()), column(names + layout::block::length.get(names)),
          name(column + layout::block::head + layout::block::beforeColumnName),
          record(name + layout::textLength.size + sizeof u'A')
    {
    }
    std::uint8_t* names;
    std::uint8_t* column;
    std::uint8_t* name; ///< of the column, its length first
    std::uint8_t* record;
};

RowTable<UnreadablePropertiesRow> unreadableProperties()
{
    using Parts = PropertyParts;
    namespace block = layout::block;
    namespace record = layout::record;
    constexpr unsigned tooLong = 254;
    return {
        {"another signature", {[](Bytes& b) { b.front() = 'K'; }}},
        {"only a signature's beginning", {[](Bytes& b) { b.resize(layout::signature.size() - 1); }}},
        {"a block longer than what is there",
         {[](Bytes& b) { block::length.put(Parts(b).column, block::length.get(Parts(b).column) + 1); }}},
        {"a block shorter than its head", {[](Bytes& b) { block::length.put(Parts(b).column, block::head - 1); }}},
        {"a block of another kind", {[](Bytes& b) { block::kind.put(Parts(b).column, block::column + 1); }}},
        {"bytes behind the last block", {[](Bytes& b) { b.push_back(0); }}},
        {"a name that ends behind the names",
         {[](Bytes& b) { layout::textLength.put(Parts(b).names + block::head, tooLong); }}},
        {"a column's name that ends behind its block",
         {[](Bytes& b) { layout::textLength.put(Parts(b).name, tooLong); }}},
        {"a record shorter than its head", {[](Bytes& b) { record::length.put(Parts(b).record, record::head - 1); }}},
        {"a record longer than its block", {[](Bytes& b) { record::length.put(Parts(b).record, tooLong); }}},
        {"a record of a name that is not there", {[](Bytes& b) { record::name.put(Parts(b).record, 1); }}},
        {"a value longer than its record", {[](Bytes& b) { record::valueLength.put(Parts(b).record, tooLong); }}},
        {"a rule that is no text",
         {[](Bytes& b) { record::type.put(Parts(b).record, static_cast<unsigned>(ColumnType::longInteger)); }}},
        {"a rule for a column that is not there", {[](Bytes& b) { *(Parts(b).name + layout::textLength.size) = 'X'; }}},
        {"empty texts refused in a column that is not there", {[](Bytes& b) {
             b = properties::bytesOf({{{u"X", {{u"AllowZeroLength", false}}}}});
         }}},
        {"cut off", {[](Bytes& b) { b.pop_back(); }}},
    };
}

TABLE_SUITE(UnreadableProperties, UnreadablePropertiesRow, unreadableProperties());

TEST_P(UnreadableProperties, refuseWritingAndAreNamedByTheCheck)
{
    const std::filesystem::path path = "kurallar.mdb";
    files::MemoryDisk disk;
    Database::create(disk, path, turkish, DateTime{45000});
    auto database = Database::open(disk, path);
    database->createTable(u"Kural", {{.name = u"A", .type = ColumnType::longInteger}}, {}, DateTime{45000});
    database->table(u"Kural").insert({{0, std::int32_t{5}}});
    Bytes bytes = properties::bytesOf({{{u"A", {{u"ValidationRule", u">0"}}}}});
    row().damage(bytes);
    properties::put(*database, u"Kural", bytes);
    database = Database::open(disk, path);
    Table& table = database->table(u"Kural");
    ASSERT_EQ(table.rowCount(), 1U);
    const files::MemoryDisk::Content before = disk.content(path);
    const auto refusal = refusalOf([&] { table.insert({{0, std::int32_t{1}}}); });
    ASSERT_EQ(refusal.fault, Fault::readOnly);
    ASSERT_THAT(refusal.sentence, HasSubstr("\"Kural\""));
    ASSERT_EQ(disk.content(path), before);
    const CheckResult result = checkDatabase(*database);
    ASSERT_TRUE(result.ok());
    ASSERT_THAT(result.warnings, testing::Contains(HasSubstr("\"Kural\"")));
}

TEST_F(RuledTable, anAutomaticGuidIsNeverEmptied)
{
    make({{.name = u"A", .type = ColumnType::guid}, {.name = u"B", .type = ColumnType::longInteger}},
         {{{u"A", {{u"DefaultValue", u"GenGUID()"}}}}});
    const RowId row = table().insert({{1, std::int32_t{5}}});
    ASSERT_FALSE(isNull(table().row(row)->value(0)));
    ASSERT_EQ(faultOf([&] { table().update(row, {{0, Value()}}); }), Fault::required);
}

TEST_F(RuledTable, propertiesWhosePagesAreDamagedRefuseWriting)
{
    // Longer than a row: the block stands on a page of its own.
    make({{.name = u"A", .type = ColumnType::longInteger}},
         {{{u"A", {{u"Description", std::u16string(3000, u'x').c_str()}, {u"ValidationRule", u">0"}}}}});
    ASSERT_EQ(faultOf([&] { table().insert({{0, std::int32_t{-1}}}); }), Fault::ruleBroken);
    database.reset();
    files::MemoryDisk::Content& content = disk.content(path);
    for (std::size_t at = 0; at < content.size(); at += pageSize)
        if (row_page_layout::owner.get(&content[at]) == row_page_layout::longValueOwner)
            row_page_layout::slotCount.put(&content[at], 0);
    database = Database::open(disk, path);
    ASSERT_THAT(refusal({{0, std::int32_t{-1}}}, Fault::readOnly), HasSubstr("\"Kural\""));
    ASSERT_FALSE(checkDatabase(*database).ok());
}

TEST_F(RuledTable, aDamagedPropertyBlockKeepsNobodyFromReading)
{
    const properties::Block block{{{u"A", {{u"ValidationRule", u">0"}, {u"DefaultValue", u"5"}}}}};
    make({{.name = u"A", .type = ColumnType::longInteger}}, block);
    const Value damagedField = 1.0;
    const Bytes whole = properties::bytesOf(block);
    std::mt19937 random(3);
    for (int round = 0; round < 2000; ++round) {
        Bytes damaged = whole;
        for (int n = 0; n < 3; ++n) damaged[random() % damaged.size()] = static_cast<std::uint8_t>(random());
        damaged.resize(random() % 4 == 0 ? random() % damaged.size() : damaged.size());
        const TableProperties found = tableProperties(damaged);
        for (const ColumnProperties& column : found.columns)
            for (const std::u16string& text : {column.rule, column.defaultValue})
                if (!text.empty())
                    static_cast<void>(faultOf([&] {
                        static_cast<void>(
                            Rule(text, Rule::Kind::condition, {u"Tablo", turkish}).value({&damagedField, {}, now}));
                    }));
    }
}

} // namespace
