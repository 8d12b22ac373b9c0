// Trees of calculation nodes, which the C interface does not show.

#include "strtonum/calc_node.h"

#include <gtest/gtest.h>

#include <sstream>

#include "strtonum/driver.h"

namespace StrToNum {
namespace {

TEST(CalcNodeTest, EachLineBeforeARejectedOneGivesATreeToPrint) {
  std::vector<CalcNode*> roots;
  EXPECT_FALSE(Driver(roots).parse("-(1-2)*3.25/4%(5^18446744073709551615)+7\n\n8\n9 9"));
  std::ostringstream out;
  out.precision(2);
  for (const CalcNode* root : roots) {
    root->print(out, 1);
    delete root;
  }
  EXPECT_EQ(out.str(), R"(  + add
    % modulo
      / divide
        * multiply
          - negate
            - subtract
              1
              2
          3.2
        4
      ^ power
        5
        -1
    7
  8
)");
}

}  // namespace
}  // namespace StrToNum
