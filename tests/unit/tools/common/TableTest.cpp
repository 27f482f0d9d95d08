#include "tools/common/Table.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace koractl;

TEST(Table, WidestCellDecidesColumnAndNoLineEndsInBlanks)
{
    Table sut({{"N"}, {"TEXT", Table::Align::left}, {"M"}});
    sut.addRow({"1234", "a", "5"});
    sut.addRow({"1", "longer", "66"});
    std::ostringstream out;

    sut.print(out);

    EXPECT_EQ(out.str(), "   N  TEXT     M\n"
                         "1234  a        5\n"
                         "   1  longer  66\n");
}

TEST(Table, GivenMissingAndSurplusCellsKeepsItsColumns)
{
    Table sut({{"A"}, {"B"}});
    sut.addRow({"1"});
    sut.addRow({"1", "2", "3"});
    std::ostringstream out;

    sut.print(out);

    EXPECT_EQ(out.str(), "A  B\n1\n1  2\n");
}

TEST(Table, ColumnWithoutATextHasNoWidth)
{
    Table sut({{"A"}, {""}, {"B"}});
    sut.addRow({"1", "", "2"});
    std::ostringstream out;

    sut.print(out);

    EXPECT_EQ(out.str(), "A    B\n1    2\n");
}
