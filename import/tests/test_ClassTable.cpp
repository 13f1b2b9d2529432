#include <gtest/gtest.h>

#include "import/ClassTable.h"

namespace segmask {
namespace {

TEST(ClassTable, NumbersKeysInTheOrderInWhichTheyAreAskedFor) {
  ClassTable classes;
  EXPECT_EQ(classes.number("18", "dog"), 0);
  EXPECT_EQ(classes.number("1", "person"), 1);
  EXPECT_EQ(classes.number("18", "another name"), 0);
  EXPECT_EQ(classes.names(), (std::vector<std::string>{"dog", "person"}));
}

TEST(Legend, HasTheNumberNameAndColourOfEachClass) {
  ClassTable classes;
  classes.number("1", "person");
  classes.number("2", "a \"dog\", small");
  EXPECT_EQ(legendText(classes, true),
            "[\n{\"class_id\": 0, \"name\": \"person\", \"color\": [255,56,56]},\n"
            "{\"class_id\": 1, \"name\": \"a \\\"dog\\\", small\", \"color\": [255,157,151]}\n]\n");
  EXPECT_EQ(legendText(classes, false),
            "class_id,name,red,green,blue\n0,\"person\",255,56,56\n1,\"a \"\"dog\"\", small\",255,157,151\n");
}

TEST(Legend, OfNoClassesIsEmpty) {
  EXPECT_EQ(legendText(ClassTable(), true), "[\n]\n");
  EXPECT_EQ(legendText(ClassTable(), false), "class_id,name,red,green,blue\n");
}

}  // namespace
}  // namespace segmask
