#pragma once

#include "files/language.h"
#include "query/access_sql.h"
#include "query/expression.h"
#include "query/function_names.h"
#include "query/sql_words.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace query {

/// Reads a text by the grammar that the help of presva-mdb sql shows, and writes it in SQLite's words as it goes.
class Translator {
public:
    Translator(std::string_view sql, Catalogue& catalogue, int depth)
        : sql_(sql), words_(wordsOf(sql)), catalogue_(catalogue), depth_(depth)
    {
    }

    Translation statement();
    Selected wholeQuery();

private:
    // ---- words ----
    const Word& word(std::size_t ahead = 0) const { return words_[std::min(at_ + ahead, words_.size() - 1)]; }
    bool take(std::string_view keyword)
    {
        if (!word().is(keyword)) return false;
        ++at_;
        return true;
    }
    bool takeMark(std::string_view mark)
    {
        if (!word().isMark(mark)) return false;
        ++at_;
        return true;
    }
    [[noreturn]] void fail(const std::string& what) const { notUnderstood(sql_, word().at, what); }
    void expect(std::string_view keyword)
    {
        if (!take(keyword)) fail(std::string(keyword) + files::said(" bekleniyor", " is expected"));
    }
    void expectMark(std::string_view mark)
    {
        if (!takeMark(mark)) fail("'" + std::string(mark) + files::said("' bekleniyor", "' is expected"));
    }
    std::string name(const char* what);
    void end();

    /// Brackets, Not and signs lie in one another so deep and no deeper: each level is a call of the functions below.
    class Level {
    public:
        explicit Level(Translator& translator) : translator_(translator)
        {
            constexpr int deepest = 200;
            if (++translator_.level_ > deepest)
                translator_.fail(files::said("parantezler çok iç içe", "the brackets lie too deep in one another"));
        }
        ~Level() { --translator_.level_; }
        Level(const Level&) = delete;
        Level& operator=(const Level&) = delete;

    private:
        Translator& translator_;
    };

    // ---- queries ----
    /// An expression of a select's list.
    struct Item {
        Expr expr;
        std::string name;
        std::string longName; ///< with its table
        std::size_t at = 0;
    };
    Selected query(const Scope* outer);
    Selected term(const Scope* outer, bool alone);
    std::string top();
    void passList();
    std::vector<Item> list(Scope& scope);
    Item item(Scope& scope);
    static Selected titled(const std::vector<Item>& items, bool exact);
    std::string where(Scope& scope);
    bool groupBy(Scope& scope, const std::vector<Item>& items, std::set<std::string>& groups, std::string& sql);
    std::string from(Scope& scope);
    std::string joined(Scope& scope);
    std::string source(Scope& scope);
    /// What an Order By stands behind.
    struct Ordered {
        std::size_t columns = 0;
        const std::vector<Item>* items = nullptr;      ///< of a select; a union has none
        const std::set<std::string>* groups = nullptr; ///< where its rows come in groups
        bool distinct = false;
    };
    std::string orderBy(Scope& scope, const Ordered& what);
    bool isColumnNumber() const;
    void checkGrouped(const Expr& expr, const std::set<std::string>& groups, std::size_t at) const;

    // ---- expressions, from the loosest to the tightest ----
    Expr expression(Scope& scope) { return exclusion(scope); }
    /// An expression that rows are chosen by.
    Expr truth(Scope& scope);
    /// Throws for a text, a date or bytes where true or false must stand.
    void requireTruth(const Expr& expr, std::size_t at) const;
    /// Throws for a date or bytes where a text must stand: what stands for them inside is nobody's text.
    void requireText(const Expr& expr, std::size_t at) const;
    Expr exclusion(Scope& scope);
    Expr tied(Scope& scope, Expr (Translator::*part)(Scope&), std::string_view keyword);
    Expr disjunction(Scope& scope);
    Expr conjunction(Scope& scope);
    Expr negation(Scope& scope);
    Expr comparison(Scope& scope);
    Expr concatenation(Scope& scope);
    Expr sum(Scope& scope);
    Expr modulo(Scope& scope);
    Expr wholeDivision(Scope& scope);
    Expr product(Scope& scope);
    Expr sign(Scope& scope);
    Expr power(Scope& scope);
    Expr exponent(Scope& scope);
    using Part = Expr (Translator::*)(Scope&);
    Expr chain(Scope& scope, Part first, Part next, std::string_view operators);
    char takeOperator(std::string_view operators);
    Expr primary(Scope& scope);
    Expr function(Scope& scope);
    Expr aggregate(Scope& scope, const std::string& called, const Function& function);
    Expr special(Scope& scope, const std::string& called);
    Expr reference(Scope& scope);
    Expr parameter(const std::string& name, const std::string& text, std::size_t at);
    static Expr number(const std::string& text);
    static bool isField(const Scope& scope, const std::string& name);

    Expr compare(const Expr& left, const std::string& op, const Expr& right, std::size_t at) const;
    void checkComparable(Expr& left, Expr& right, std::size_t at) const;

    // ---- statements that write ----
    Translation insert();
    Translation update();
    Translation erase();
    Translation allOf(const std::string& named);
    std::string nameOfSeveralWords();
    Catalogue::Shape tableToWrite();
    /// What a statement names in front of its fields must be the table that it changes.
    void requireTable(const Catalogue::Shape& table, const std::string& named, std::size_t at) const;
    /// One of two values for a field would be lost.
    void refuseTwice(const std::vector<NamedType>& columns, const NamedType& column, std::size_t at) const;

    std::string_view sql_;
    std::vector<Word> words_;
    std::size_t at_ = 0;
    Catalogue& catalogue_;
    static constexpr int deepestQuery = 20;
    int depth_;     ///< of saved queries, and of what they ask for, in saved queries
    int level_ = 0; ///< of brackets in brackets
};

} // namespace query
