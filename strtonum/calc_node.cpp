// Evaluates, prints and deletes an expression's tree, with loops in place of recursion.

#include "strtonum/calc_node.h"

#include <boost/container/small_vector.hpp>
#include <cstddef>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace StrToNum {

namespace {

// A tree of at most this many levels is evaluated without an allocation, and printed with one.
// Ordinary trees have fewer levels.
constexpr size_t USUAL_DEPTH = 32;

}  // namespace

double CalcNode::evaluate() const {
  struct Pending {
    const CalcNode* node;
    const CalcNode* right;  // to be evaluated after left; null once that has begun
    double left;
  };
  boost::container::small_vector<Pending, USUAL_DEPTH> pending;
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

// No node has operands when it is deleted, so destructors never nest. Each step looks at the top:
//
//   - No left operand: the top is deleted, and its right operand becomes the top.
//   - A binary left operand: the tree is rotated to the right. The left operand becomes the top,
//     and the old top becomes its right operand.
//   - Another left operand: it is deleted. If it is a negation, its operand takes its place.
//
// Each rotation adds a node to the chain of right operands. So there are fewer rotations than
// nodes.
void CalcNode::deleteNodes(std::unique_ptr<CalcNode> tree) noexcept {
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
