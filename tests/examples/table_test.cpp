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

std::string said_of(const std::string& path, const std::vector<std::string>& columns) {
  try {
    tour::read_table(path, columns);
  } catch (const std::runtime_error& e) {
    return e.what();
  }
  return "";
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

TEST(table, errors) {
  const struct {
    const char* text;
    std::vector<std::string> columns;
    const char* said;
  } rows[] = {
      {"", {}, ": empty"},
      {"x,y\n", {}, ": no rows"},
      {"x,y\n1,2\n3\n", {}, ":3: 1 fields, not 2"},
      {"x,y\n1,2\n3,4,5\n", {}, ":3: 3 fields, not 2"},
      {"x,y\n1,2\n3,4x\n", {}, ":3: column y: \"4x\" is not a number"},
      {"x,y\n1,2\n3,inf\n", {}, ":3: column y: \"inf\" is not a number"},
      {"x,y\na,b\n", {}, ": no column of numbers"},
      {"x,y\na,1\n", {"x"}, ":2: column x: \"a\" is not a number"},
      {"x,y\n1,2\n", {"z"}, ": no column z; there are x y"},
      {"x,y\n1,2\n", {"3"}, ": no column 3; there are x y"},
  };
  for (const auto& r : rows) {
    const std::string path = written(r.text);
    EXPECT_EQ(said_of(path, r.columns), path + r.said);
  }
  EXPECT_EQ(said_of("/nowhere/x.csv", {}), "/nowhere/x.csv: cannot be read");
}

}  // namespace
