// The list of results that a driver fills, and the owner of its trees.

#ifndef STRTONUM_RESULTS_H
#define STRTONUM_RESULTS_H

#include <vector>

#include "strtonum/calc_node.h"

namespace StrToNum {

// Deletes the trees, first to last. A driver and its parser only append to the list. If the parse
// fails, the trees stay in the list.
class Results {
 public:
  Results() = default;
  Results(const Results&) = delete;
  Results& operator=(const Results&) = delete;
  ~Results() {
    for (const CalcNode* root : roots) delete root;
  }

  std::vector<CalcNode*> roots;  // one for each line that holds an expression
};

}  // namespace StrToNum

#endif
