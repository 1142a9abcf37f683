#include "bokfolio/store/persistence/internal/sql/statements.hpp"

#include <gtest/gtest.h>

#include "bokfolio/store/persistence/internal/failure.hpp"

namespace bokfolio::internal {

namespace {

SqlTable rowTable() {
  return {"Row",
          {{"number", PropertyKind::Integer, "", 0},
           {"de\"bit", PropertyKind::Decimal, "", 1},
           {"entry", PropertyKind::ToOne, "Entry", 4}}};
}

// A dialect with nothing in common with SQLite's shows what is the dialect's and what is not.
const SqlDialect& otherDialect() {
  static const SqlDialect dialect{
      {"int8", "float8", "numeric", "text", "timestamp", "bytea", "oid"},
      "bigserial primary key",
      "int4 not null",
      "",
      '$'};
  return dialect;
}

TEST(SqlStatements, AreWrittenInTheDialect) {
  const SqlTable table = rowTable();
  const SqlDialect& dialect = otherDialect();
  EXPECT_EQ(createTable(dialect, table),
            R"(CREATE TABLE "Row"("id" bigserial primary key, "version" int4 not null, )"
            R"("number" int8, "de""bit" numeric, )"
            R"("entry" oid REFERENCES "Entry"("id") DEFERRABLE INITIALLY DEFERRED))");
  EXPECT_EQ(addColumn(dialect, table, table.columns[2]),
            R"(ALTER TABLE "Row" ADD COLUMN "entry" oid )"
            R"(REFERENCES "Entry"("id") DEFERRABLE INITIALLY DEFERRED)");
  EXPECT_EQ(createIndex(table, {"Row.de\"bit.entry", {"de\"bit", "entry"}}),
            R"(CREATE INDEX IF NOT EXISTS "Row.de""bit.entry" ON "Row"("de""bit","entry"))");
  EXPECT_EQ(select(table, {table.columns[1]}),
            R"(SELECT "id","version","de""bit" FROM "Row" ORDER BY "id")");
  EXPECT_EQ(insert(dialect, table),
            R"(INSERT INTO "Row"("id","version","number","de""bit","entry") )"
            R"(VALUES($1,$2,$3,$4,$5))");
  EXPECT_EQ(
      update(dialect, table, {table.columns[0], table.columns[2]}),
      R"(UPDATE "Row" SET "version"=$3,"number"=$4,"entry"=$5 WHERE "id"=$1 AND "version"=$2)");
  EXPECT_EQ(remove(dialect, table), R"(DELETE FROM "Row" WHERE "id"=$1 AND "version"=$2)");
}

TEST(SqlTables, CannotShareNamesThatDifferInCapitalsOnly) {
  const auto refused = [](std::vector<SqlTable> tables) {
    try {
      checkNames(tables);
      return false;
    } catch (const Failure& failure) {
      return failure.code == PersistenceError::Refused;
    }
  };
  const auto column = [](std::string name) {
    return SqlColumn{std::move(name), PropertyKind::String, "", 0};
  };
  EXPECT_FALSE(refused({rowTable(), {"Rows", {column("number"), column("number2")}}}));
  EXPECT_FALSE(refused({{"Å", {column("ö"), column("Ö")}}}));
  EXPECT_TRUE(refused({rowTable(), {"ROW", {}}}));
  EXPECT_TRUE(refused({{"Row", {column("name"), column("Name")}}}));
  for (const char* name : {"id", "Version", "", "sqlite_x", "Bokfolio_x"}) {
    EXPECT_TRUE(refused({{"Row", {column(name)}}})) << name;
  }
  EXPECT_TRUE(refused({{std::string("a\0b", 3), {}}}));
}

}  // namespace

}  // namespace bokfolio::internal
