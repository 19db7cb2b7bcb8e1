#pragma once

#include "mill/names.h"
#include "mill/tables.h"
#include "platform/system_disk.h"
#include "store/jet/database/database.h"
#include "tests/doors/private_postgres.h"
#include "tests/support/files.h"
#include "tests/support/outcome_matchers.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

/// A mill's folder with its database and a database of its own on the server of the test program.
class ServerMill : public testing::Test {
protected:
    ServerMill()
    {
        name(server().folder(), "5432", "sahip");
        mill::createDatabase(platform::systemDisk(), file(), jet::turkish, jet::DateTime{45000});
    }
    static PrivatePostgres& server()
    {
        static PrivatePostgres one;
        return one;
    }
    std::string path(const std::string& name) const { return folder_ / name; }
    std::string file() const { return path("Yag.mdb"); }
    const std::string& database() const { return database_; }
    void useNewDatabase() { database_ = server().database(); }

    /// Sunucu.ini.
    void name(const std::string& host, const std::string& port, const std::string& user, const std::string& more = {},
              const std::string& counter = "Hat 1") const
    {
        writeFile(path("Sunucu.ini"), "[Sunucu]\nAdres = " + host + "\nPort=" + port + "\nVeritabani=" + database_ +
                                          "\nKullanici=" + user + "\nSayac=" + counter + "\n" + more);
    }
    Outcome tool(std::vector<std::string> arguments, const std::string& password = "sahip") const
    {
        return run({.program = PRESVA_MDB,
                    .arguments = std::move(arguments),
                    .environment = {{"LC_ALL", "C"}, {"PGPASSWORD", password}}});
    }
    Outcome toServer(const std::vector<std::string>& options = {}) const
    {
        std::vector<std::string> arguments = {"to-server", folder_.path()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return tool(arguments);
    }
    Outcome fromServer(const std::string& to = "geri.mdb") const
    {
        return tool({"from-server", folder_.path(), path(to)});
    }
    std::string sql(const std::string& statements) const { return server().sql(statements, database_); }

    /// A file of another maker takes the place of this one: its customers, and the kind of its journal's figures.
    void makeForeign(const std::vector<jet::NewColumn>& customers, jet::NewColumn figure, std::uint16_t longestName,
                     const std::vector<jet::NewIndex>& indexes = {}) const
    {
        const jet::DateTime made{45000};
        std::vector<jet::NewColumn> journal = {{u"Tarih", jet::ColumnType::dateTime}};
        for (const char16_t* name : {u"Zeytin", u"Yağ", u"Yuzde", u"HakTut", u"Nakit"}) {
            figure.name = name;
            journal.push_back(figure);
        }
        journal.push_back({u"CariHar", jet::ColumnType::text, longestName});
        std::filesystem::remove(file());
        jet::Database::create(platform::systemDisk(), file(), jet::turkish, made, [&](jet::Database& database) {
            database.createTable(u"Cari", customers, indexes, made);
            database.createTable(u"Hareket", journal, {}, made);
        });
    }
    /// Adds rows to a table of the file: each the values of its fields, in their order.
    void store(std::u16string_view table, const std::vector<std::vector<jet::Value>>& rows) const
    {
        const auto open = jet::Database::open(platform::systemDisk(), file());
        jet::Table& into = open->table(table);
        jet::Transaction change(open->pager());
        for (const auto& row : rows) {
            std::vector<jet::Assignment> fields;
            for (std::size_t i = 0; i < row.size(); ++i) fields.push_back({i, row[i]});
            into.insert(fields);
        }
        change.commit();
    }
    static std::vector<jet::Value> pressing(double moment, const std::u16string& customer, double olives = 1000.5)
    {
        return {jet::DateTime{moment}, olives, olives * 0.2, 12.5, olives * 0.025, 0.0, customer};
    }
    /// The rows of a table of a file, in no order.
    static std::vector<std::vector<jet::Value>> rowsOf(const std::string& file, std::u16string_view table)
    {
        const auto open = jet::Database::open(platform::systemDisk(), file, jet::Pager::Mode::readOnly);
        std::vector<std::vector<jet::Value>> rows;
        open->table(table).forEachRow([&](jet::RowId, const jet::RowView& row) {
            rows.emplace_back();
            for (std::size_t i = 0; i < open->table(table).columns().size(); ++i) rows.back().push_back(row.value(i));
            return true;
        });
        return rows;
    }

private:
    TemporaryFolder folder_;
    std::string database_ = server().database();
};
