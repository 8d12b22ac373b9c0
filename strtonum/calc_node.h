// The base class of the nodes of an expression's tree.
//
// A tree is as deep as its expression is long: a sum of n terms has n - 1 levels. Recursion over
// a long text would overflow the stack, so nothing here recurses.

#ifndef STRTONUM_CALC_NODE_H
#define STRTONUM_CALC_NODE_H

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <utility>

#include "strtonum/node_pool.h"

namespace StrToNum {

// A constant, or an operator that owns its operands. Immutable once built.
class CalcNode {
 public:
  CalcNode(const CalcNode&) = delete;
  CalcNode& operator=(const CalcNode&) = delete;
  virtual ~CalcNode() = default;

  // A node is created in a pool and deleted like any other object.
  static void* operator new(size_t /*size*/, NodePool& pool) { return pool.allocate(); }
  // NOLINTNEXTLINE(cert-dcl54-cpp): there is no new without a pool
  static void operator delete(void* node) noexcept { NodePool::free(node); }
  static void operator delete(void* node, NodePool& /*pool*/) noexcept { NodePool::free(node); }

  // Returns the tree's value in double precision, left operands evaluated first. Operands are not
  // checked: infinities and NaN propagate. Throws only std::bad_alloc.
  virtual double evaluate() const;

  // Writes one line for each node, indented by two spaces a level. An operator comes before its
  // operands.
  virtual void print(std::ostream& out, uint32_t depth) const;

  // Deletes a tree, which may be null. Operators delete their operands with this.
  static void deleteTree(std::unique_ptr<CalcNode> tree) noexcept {
    if (tree) deleteNodes(std::move(tree));
  }

 protected:
  // Where a node keeps its operands. Both are null for a constant, right is null for a negation.
  struct Operands {
    std::unique_ptr<CalcNode>* left;
    std::unique_ptr<CalcNode>* right;
  };

  CalcNode() = default;

 private:
  static void deleteNodes(std::unique_ptr<CalcNode> tree) noexcept;

  // The loops that replace recursion use these functions.
  virtual Operands operands() noexcept = 0;
  // Returns the node's value for the given values of its operands. A negation takes its operand
  // as `right`, a constant ignores both.
  virtual double apply(double left, double right) const noexcept = 0;
  virtual void printLabel(std::ostream& out) const = 0;

  // The operands, for loops that only read.
  Operands operandsToRead() const noexcept { return const_cast<CalcNode*>(this)->operands(); }
};

}  // namespace StrToNum

#endif
