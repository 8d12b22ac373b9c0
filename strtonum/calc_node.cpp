// The walks over a calculation tree, none of them recursive.

#include "strtonum/calc_node.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace StrToNum {

namespace {

// Enough for the walk through a tree of ordinary depth.
constexpr size_t USUAL_DEPTH = 32;

}  // namespace

double CalcNode::evaluate() const {
  struct Pending {
    const CalcNode* node;
    const CalcNode* right;  // still to be evaluated once left is known
    double left;
  };
  std::vector<Pending> pending;
  pending.reserve(USUAL_DEPTH);
  const CalcNode* node = this;
  for (;;) {
    for (Operands below = node->operandsToRead(); below.left; below = node->operandsToRead()) {
      pending.push_back({node, below.right ? below.right->get() : nullptr, 0.0});
      node = below.left->get();
    }
    double value = node->apply(0.0, 0.0);
    while (!pending.empty() && !pending.back().right) {
      value = pending.back().node->apply(pending.back().left, value);
      pending.pop_back();
    }
    if (pending.empty()) return value;
    pending.back().left = value;
    node = std::exchange(pending.back().right, nullptr);
  }
}

void CalcNode::print(std::ostream& out, uint32_t depth) const {
  struct Line {
    const CalcNode* node;
    uint32_t depth;
  };
  std::vector<Line> lines;
  lines.reserve(USUAL_DEPTH);
  lines.push_back({this, depth});
  while (!lines.empty()) {
    const Line line = lines.back();
    lines.pop_back();
    out << std::string(size_t{2} * line.depth, ' ');
    line.node->printLabel(out);
    out << std::endl;
    const Operands below = line.node->operandsToRead();
    if (below.right) lines.push_back({below.right->get(), line.depth + 1});
    if (below.left) lines.push_back({below.left->get(), line.depth + 1});
  }
}

// A left operand that has operands itself is rotated to the top until the top has nothing on its
// left and can go. Each rotation moves one node for good to the chain that hangs on the right, so
// there are no more of them than nodes, and every node is deleted without operands.
void CalcNode::dismantleNodes(std::unique_ptr<CalcNode> tree) noexcept {
  for (Operands top = tree->operands();;) {
    if (!top.left || !*top.left) {
      tree = top.right ? std::move(*top.right) : nullptr;
      if (!tree) return;
      top = tree->operands();
      continue;
    }
    const Operands below = (*top.left)->operands();
    if (below.right) {
      std::unique_ptr<CalcNode> left = std::move(*top.left);
      *top.left = std::move(*below.right);
      *below.right = std::move(tree);
      tree = std::move(left);
      top = below;
    } else {
      *top.left = below.left ? std::move(*below.left) : nullptr;
    }
  }
}

}  // namespace StrToNum
