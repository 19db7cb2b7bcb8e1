// What a table's own rules say: expressions alone, and rows that they let through.

#include "files/memory_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/jet/rules/rule.h"
#include "store/jet/table/catalogue.h"
#include "store/jet/table/table_state.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/names.h"
#include "tests/jet/property_block.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gmock/gmock.h>

#include <map>
#include <random>

using namespace jet;

namespace {

using testing::HasSubstr;

const DateTime now = *dateTime(2025, 11, 20, 14, 5, 30);

// ---- expressions ----

enum class Verdict { allowed, broken, notUnderstood };

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
    row(u"Between 5 And Null", 3.0, broken);
    row(u"Between 5 And Null", 7.0, allowed);
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
    row(u"Yes", false, broken);
    row(u">0", text(u"12"), allowed);
    row(u">0", text(u"oniki"), notUnderstood);
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
    const RuleSubject subject{&own, [&own = own](std::u16string_view name) { return name == u"Alan" ? &own : nullptr; },
                              now};
    Verdict found = Verdict::notUnderstood;
    try {
        found = Rule(rule, Rule::Kind::condition).allows(subject) ? Verdict::allowed : Verdict::broken;
    } catch (const Error& error) {
        ASSERT_EQ(error.fault(), Fault::unsupported) << error.what();
    }
    ASSERT_EQ(found, verdict);
}

TEST(RuleValue, isWhatTheExpressionSays)
{
    const auto value = [](std::u16string_view text) { return Rule(text, Rule::Kind::value).value({nullptr, {}, now}); };
    ASSERT_EQ(value(u"0"), Value(0.0));
    ASSERT_EQ(value(u" = -1"), Value(-1.0));
    ASSERT_EQ(value(u"=No"), Value(false));
    ASSERT_EQ(value(u"\"Ali \"\"Bey\"\"\""), Value(std::u16string(u"Ali \"Bey\"")));
    ASSERT_EQ(value(u"Now()"), Value(now));
    ASSERT_EQ(value(u"Date()+1"), Value(*dateTime(2025, 11, 21)));
    ASSERT_EQ(value(u"Null"), Value());
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

TEST_F(RuledTable, anAutomaticGuidIsGivenOnce)
{
    make({{.name = u"Kimlik", .type = ColumnType::guid, .autoNumber = true},
          {.name = u"A", .type = ColumnType::longInteger}},
         {});
    std::map<Guid, int> seen;
    for (int i = 0; i < 200; ++i) ++seen[std::get<Guid>(field(table().insert({{1, std::int32_t{i}}}), 0))];
    ASSERT_EQ(seen.size(), 200U);
    const Guid given{{1, 2, 3}};
    ASSERT_EQ(field(table().insert({{0, given}}), 0), Value(given));
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
                        static_cast<void>(Rule(text, Rule::Kind::condition).value({&damagedField, {}, now}));
                    }));
    }
}

} // namespace
