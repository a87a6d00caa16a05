#include "ToolRun.h"
#include "commands/Tool.h"
#include "source/Source.h"
#include "sql/Database.h"
#include "terminal/Console.h"

namespace Ambrel::Test {
namespace {

using Tool::Database;
using Tool::Statement;

class Sql : public ToolTest {
protected:
    Sql() {
        ShapefileBuilder towns(1);
        towns.Field("NAME", 'C', 8)
            .Field("code", 'C', 3)
            .Field("pop", 'N', 8)
            .Field("rate", 'N', 6, 2);
        towns.Field("born", 'D', 8);
        char const* const names[] = {"Ulm", "Bonn", "Ätna", "o'Neil", "Ulm"};
        for (int i = 0; i < 60; ++i) {
            towns.Row({names[i % 5], "0" + std::to_string(i % 7), std::to_string(i * 37 % 50),
                       std::to_string(i % 11) + ".25",
                       i % 4 == 0 ? "" : "20200" + std::to_string(i % 9 + 1) + "15"});
            if (i % 10 == 3) {
                towns.Null();
            } else {
                towns.Point(i * 7 % 23, i * 5 % 19);
            }
        }
        Write(towns, "towns");
        ShapefileBuilder lands(5);
        lands.Field("code", 'C', 3).Field("num", 'N', 3).Field("title", 'C', 9);
        for (int i = 0; i < 6; ++i) {
            double const x = i * 4;
            lands.Row({"0" + std::to_string(i), std::to_string(i), "land " + std::to_string(i)});
            lands.Polygon({{{x, 0}, {x, 9}, {x + 4, 9}, {x + 4, 0}, {x, 0}}});
        }
        Write(lands, "lands");
    }

    /// What the tool prints, and nothing else.
    static std::string Answer(std::string const& statement) {
        Tool::StringSink out;
        Tool::StringSink err;
        Tool::Console console{.out = out, .err = err};
        int const exitCode = Tool::RunTool({"sql", statement, "towns.shp", "lands.shp"}, console);
        EXPECT_EQ(ToolRun({exitCode, "", err.Text()}), Printed("")) << statement;
        return out.Text();
    }

    static ToolRun Refusal(std::string const& statement) {
        Tool::StringSink out;
        Tool::StringSink err;
        Tool::Console console{.out = out, .err = err};
        int const exitCode = Tool::RunTool({"sql", statement, "towns.shp"}, console);
        return {exitCode, out.Text(), err.Text()};
    }

    /// The layer as an ordinary table of SQLite, filled from the reader.
    static void Import(Database& database, std::string const& name) {
        Tool::StringSink out;
        Tool::Console console{.out = out, .err = out};
        Tool::Source source(console, BString::FromUtf8(name + ".shp"), {});
        BAttributeDefs const& schema = source.Layer().GetSchema();
        std::string sql =
            "CREATE TABLE " + name + " (record INTEGER, xmin REAL, ymin REAL, xmax REAL, ymax REAL";
        std::string values = "?, ?, ?, ?, ?";
        for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
            bool const isText = schema.GetAt(i).GetType() == VAR_STRING || schema.GetAt(i).isDate;
            sql +=
                ", " + std::string(schema.GetAt(i).name.Utf8()) + (isText ? " TEXT" : " NUMERIC");
            values += ", ?";
        }
        database.Execute(sql + ")");
        Statement insertion(database, "INSERT INTO " + name + " VALUES (" + values + ")");
        BFeatureCollection& features = source.Layer().GetFeatures();
        for (std::uint64_t record = 0; record < features.GetCount(); ++record) {
            BSharedPtr<BFeature> const feature = features.GetAt(record);
            BRect const box = feature->ComputeMBR();
            std::vector<std::string> texts(schema.GetCount());
            insertion.Bind(1, static_cast<std::int64_t>(record));
            for (int i = 0; i < 4; ++i) {
                double const bounds[] = {box.xMin, box.yMin, box.xMax, box.yMax};
                box.IsEmpty() ? insertion.BindNull(2 + i) : insertion.Bind(2 + i, bounds[i]);
            }
            for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
                BVariant const& value = feature->attributes.GetAt(i).GetValue();
                texts[i] = value.GetValueAsString({}).Utf8();
                if (schema.GetAt(i).isDate && texts[i].size() == 8) {
                    texts[i].insert(6, "-").insert(4, "-");
                }
                value.IsNull() ? insertion.BindNull(static_cast<int>(i) + 6)
                               : insertion.Bind(static_cast<int>(i) + 6, texts[i]);
            }
            insertion.Run();
        }
    }
};

/// As the tool prints it without a terminal; no value here needs quotation marks.
std::string AnswerOf(Database& database, std::string const& sql) {
    Statement statement(database, sql);
    std::string text;
    while (statement.Step()) {
        for (int column = 0; column < statement.Columns(); ++column) {
            text += column == 0 ? "" : ",";
            text += statement.Text(column);
        }
        text += "\r\n";
    }
    return text;
}

TEST_F(Sql, AnswersAsSqliteDoesOfImportedTables) {
    Database database(":memory:");
    Import(database, "towns");
    Import(database, "lands");
    char const* const statements[] = {
        "SELECT name, count(*), sum(pop), min(born) FROM towns GROUP BY name ORDER BY 1",
        "SELECT DISTINCT code FROM towns WHERE rate > 5 ORDER BY code DESC",
        "SELECT t.record, title FROM towns t JOIN lands l ON t.code = l.code ORDER BY 1",
        "SELECT t.record, title FROM towns t JOIN lands l ON t.code = l.num ORDER BY 1, 2",
        "SELECT title, count(t.record) FROM lands l LEFT JOIN towns t ON l.num = t.pop "
        "GROUP BY 1 ORDER BY 1",
        "SELECT a.record, b.record FROM towns a JOIN towns b ON a.name = b.name AND a.pop < b.pop "
        "WHERE a.pop < 5 ORDER BY 1, 2",
        "SELECT title, count(*) FROM lands l JOIN towns t ON t.xmin BETWEEN l.xmin AND l.xmax AND "
        "t.ymin BETWEEN l.ymin AND l.ymax GROUP BY 1 ORDER BY 1",
        "SELECT record FROM towns WHERE pop > (SELECT avg(pop) FROM towns u WHERE u.code = "
        "towns.code) ORDER BY record",
        "SELECT name, total FROM (SELECT name, sum(rate) AS total FROM towns GROUP BY 1 HAVING "
        "count(*) > 12) ORDER BY total",
        "SELECT l.title, t.name FROM lands l, towns t WHERE t.record = l.num * 3 ORDER BY 1",
        "SELECT record, rank() OVER (PARTITION BY code ORDER BY pop) FROM towns WHERE record IN "
        "(3, 59, 17, 400) OR record > 55 ORDER BY 1 DESC",
        "SELECT count(*) FROM towns WHERE born IS NULL UNION ALL SELECT count(*) FROM lands",
        "SELECT a.record, b.record FROM towns a JOIN towns b ON a.born = b.born AND a.rate = "
        "b.rate ORDER BY a.record, b.record",
    };
    for (std::string const statement : statements) {
        std::string const answer = Answer(statement);
        EXPECT_EQ(answer.substr(answer.find('\n') + 1), AnswerOf(database, statement)) << statement;
    }
}

TEST_F(Sql, FindsByBoxAndRecordWhatAScanFinds) {
    for (std::string const column : {"xmin", "ymin", "xmax", "ymax", "record"}) {
        for (std::string const comparison : {"=", "<", "<=", ">", ">="}) {
            for (std::string const value : {"8.5", "7", "NULL"}) {
                std::string const what = "SELECT record FROM towns WHERE ";
                // A sign keeps SQLite from handing the comparison down.
                EXPECT_EQ(Answer(what + column + comparison + value),
                          Answer(what + "+" + column + comparison + value))
                    << column << comparison << value;
            }
        }
    }
    EXPECT_EQ(Answer("SELECT count(*) FROM towns WHERE xmin < 9 AND ymax > 3 AND record > 7"),
              Answer("SELECT count(*) FROM towns WHERE +xmin < 9 AND +ymax > 3 AND +record > 7"));
}

TEST_F(Sql, ChoosesTheRecordsOfOtherCommands) {
    EXPECT_EQ(RunTool("select towns.shp --where pop=7ANDrecord<30").exitCode, 2);
    EXPECT_EQ(RunTool("select towns.shp --where (record<5)|(pop=13)--"),
              Printed("0\n1\n2\n3\n4\n49\n"));
    EXPECT_EQ(RunTool("select towns.shp --where record<9 --bbox 7,0,15,99"),
              Printed("1\n2\n5\n8\n"));
    EXPECT_EQ(RunTool("select towns.shp").exitCode, 2);
    EXPECT_EQ(RunTool("export towns.shp --format csv --geometry none --where pop=13"),
              Printed("NAME,code,pop,rate,born\r\nUlm,00,13,5.25,2020-05-15\r\n"));
    EXPECT_EQ(RunTool("select towns.shp --where pop=size"),
              (ToolRun{2, "",
                       "  pop=size\n      ^\n"
                       "ambrel-shp: --where: no such column: size\n"}));
}

TEST_F(Sql, OnlyAsks) {
    for (std::string const statement :
         {"ATTACH 'a.db' AS a", "CREATE TABLE a (b)", "CREATE TEMP TABLE a AS SELECT 1",
          "DELETE FROM towns", "INSERT INTO towns (pop) VALUES (1)", "PRAGMA journal_mode=WAL",
          "PRAGMA writable_schema=ON", "VACUUM INTO 'a.db'", "SELECT load_extension('a')",
          "DROP TABLE towns", "BEGIN", "SELECT 1; SELECT 2", "", "DETACH main"}) {
        ToolRun const run = Refusal(statement);
        EXPECT_EQ(run.exitCode, 2) << statement;
        EXPECT_EQ(run.out, "") << statement;
    }
    EXPECT_FALSE(std::filesystem::exists("a.db"));
    EXPECT_EQ(Answer("SELECT count(*) FROM towns; -- all"), "count(*)\r\n60\r\n");
}

TEST_F(Sql, ShowsWhereAStatementIsWrong) {
    EXPECT_EQ(Refusal("SELECT 'ä',\n  size FROM towns").err,
              "    size FROM towns\n    ^\nambrel-shp: no such column: size\n");
    EXPECT_EQ(Refusal("SELECT 'ä', sice FROM towns").err,
              "  SELECT 'ä', sice FROM towns\n              ^\n"
              "ambrel-shp: no such column: sice\n");
}

TEST_F(Sql, NamesTablesAndColumnsApart) {
    Write(ShapefileBuilder(1)
              .Field("record", 'N', 3)
              .Field("XMin", 'N', 3)
              .Field("a", 'C', 1)
              .Field("A", 'C', 1)
              .Row({"7", "8", "p", "q"})
              .Point(1, 2),
          "Big roads");
    std::filesystem::create_directory("more");
    ShapefileBuilder(1).Field("n", 'N', 3).Row({"1"}).Point(1, 2).WriteTo("more", "big ROADS");
    Tool::StringSink out;
    Tool::Console console{.out = out, .err = out};
    EXPECT_EQ(Tool::RunTool({"sql",
                             "SELECT b.*, record_2, xmin_2, b.geometry, n FROM \"BIG roads\" b, "
                             "\"big roads_2\"",
                             "Big roads.shp", "more/big ROADS.shp"},
                            console),
              0);
    EXPECT_EQ(out.Text(), "record,XMin,a,A_2,record_2,xmin_2,geometry,n\r\n"
                          "7,8,p,q,0,1.0,POINT (1 2),1\r\n");
}

TEST_F(Sql, PrintsTablesAndJson) {
    auto const run = [](std::string const& form) {
        Tool::StringSink out;
        Tool::Console console{.out = out, .err = out};
        Tool::RunTool({"sql", "SELECT title, num * 100 AS n, NULL AS x FROM lands LIMIT 2",
                       "lands.shp", "--format", form},
                      console);
        return out.Text();
    };
    EXPECT_EQ(run("table"), "title     n  x\nland 0    0\nland 1  100\n");
    EXPECT_EQ(run("json"), "[\n{\"title\":\"land 0\",\"n\":0,\"x\":null},\n"
                           "{\"title\":\"land 1\",\"n\":100,\"x\":null}\n]\n");
}

TEST_F(Sql, LeavesOutRecordsThatCannotBeRead) {
    Write(ShapefileBuilder(1).Point(1, 2).Raw(ByteList().Little32(31).Little32(0)).Point(5, 6),
          "bad");
    ToolRun const run = RunTool("sql SELECT(record)FROM(bad) bad.shp");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "record\r\n0\r\n2\r\n");
    EXPECT_NE(run.err.find("record 1 is left out"), std::string::npos) << run.err;
}

} // namespace
} // namespace Ambrel::Test
