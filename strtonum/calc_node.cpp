// The walks over a calculation tree, none of them recursive.

#include "strtonum/calc_node.h"

#include <array>
#include <cstddef>
#include <memory_resource>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace StrToNum {

namespace {

// The stack of a walk. Trees of ordinary depth need no memory from the heap.
template <typename Entry>
class WalkStack {
 public:
  WalkStack() { entries.reserve(ROOM); }

  bool isEmpty() const { return entries.empty(); }
  Entry& top() { return entries.back(); }
  void push(const Entry& entry) { entries.push_back(entry); }
  void pop() { entries.pop_back(); }

 private:
  static constexpr size_t ROOM = 32;

  alignas(Entry) std::array<std::byte, ROOM * sizeof(Entry)> room;
  std::pmr::monotonic_buffer_resource memory{room.data(), room.size()};
  std::pmr::vector<Entry> entries{&memory};
};

}  // namespace

double CalcNode::evaluate() const {
  struct Pending {
    const CalcNode* node;
    const CalcNode* right;  // still to be evaluated once left is known
    double left;
  };
  WalkStack<Pending> pending;
  const CalcNode* node = this;
  for (;;) {
    for (Operands below = node->operandsToRead(); below.left; below = node->operandsToRead()) {
      pending.push({node, below.right ? below.right->get() : nullptr, 0.0});
      node = below.left->get();
    }
    double value = node->apply(0.0, 0.0);
    while (!pending.isEmpty() && !pending.top().right) {
      value = pending.top().node->apply(pending.top().left, value);
      pending.pop();
    }
    if (pending.isEmpty()) return value;
    pending.top().left = value;
    node = std::exchange(pending.top().right, nullptr);
  }
}

void CalcNode::print(std::ostream& out, uint32_t depth) const {
  struct Line {
    const CalcNode* node;
    uint32_t depth;
  };
  WalkStack<Line> lines;
  lines.push({this, depth});
  while (!lines.isEmpty()) {
    const Line line = lines.top();
    lines.pop();
    out << std::string(size_t{2} * line.depth, ' ');
    line.node->printLabel(out);
    out << std::endl;
    const Operands below = line.node->operandsToRead();
    if (below.right) lines.push({below.right->get(), line.depth + 1});
    if (below.left) lines.push({below.left->get(), line.depth + 1});
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
