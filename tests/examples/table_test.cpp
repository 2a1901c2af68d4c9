// Tables as people write them, and what is said of those that are none.

#include "examples/tour/table.h"

#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>

namespace {

std::string written(const std::string& text) {
  const std::string path = testing::TempDir() + "table.csv";
  std::ofstream(path) << text;
  return path;
}

TEST(table, columns_and_gaps) {
  const std::string path =
      written("\"name, of it\",x , y\r\nab,1,-2.5e3\r\n\"c,d\",,+4\r\nef,NA, 5 \r\n\r\n");
  const auto all = tour::read_table(path);
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[0].name, "x");
  EXPECT_EQ(all[0].gaps, 2);
  EXPECT_EQ(all[0].values[0], 1);
  EXPECT_TRUE(std::isnan(all[0].values[1]) && std::isnan(all[0].values[2]));
  EXPECT_EQ(all[1].values, (std::vector<double>{-2500, 4, 5}));
  EXPECT_EQ(tour::read_table(path, {"y", "2"})[1].name, "x");
}

// data/tables.txt: a table, its lines ended by |; the column that is asked for, if one is; what is said.
TEST(table, errors) {
  std::ifstream rows(ARKO_SOURCE "/tests/examples/data/tables.txt");
  ASSERT_TRUE(rows);
  for (std::string text, column, said;
       std::getline(std::getline(std::getline(rows, text, ';'), column, ';'), said);) {
    std::replace(text.begin(), text.end(), '|', '\n');
    const std::string path = written(text);
    try {
      tour::read_table(path, column.empty() ? std::vector<std::string>() : std::vector{column});
      ADD_FAILURE() << "no error: " << said;
    } catch (const std::runtime_error& e) {
      EXPECT_EQ(e.what(), path + said);
    }
  }
  EXPECT_THROW(tour::read_table("/nowhere/x.csv", {}), std::runtime_error);
}

}  // namespace
