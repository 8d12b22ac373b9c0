// The tree that an expression is held as.
//
// A tree is as deep as its expression is long: a sum of n terms has n - 1 levels. So nothing here
// recurses; evaluation and printing keep a stack of their own, and destruction needs none.

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

  // Nodes are made in a pool, and deleted as usual.
  static void* operator new(size_t /*size*/, NodePool& pool) { return pool.allocate(); }
  // NOLINTNEXTLINE(cert-dcl54-cpp): there is no new without a pool
  static void operator delete(void* node) noexcept { NodePool::free(node); }
  static void operator delete(void* node, NodePool& /*pool*/) noexcept { NodePool::free(node); }

  // The value in double precision. Operands are not checked; infinities and NaN go up the tree.
  // Throws std::bad_alloc alone.
  virtual double evaluate() const;

  // Writes a line for each node, an operator in front of its operands and those one level (two
  // spaces) deeper.
  virtual void print(std::ostream& out, uint32_t depth) const;

 protected:
  // Where a node keeps its operands: both null in a constant, right null in a negation.
  struct Operands {
    std::unique_ptr<CalcNode>* left;
    std::unique_ptr<CalcNode>* right;
  };

  CalcNode() = default;

  // Deletes a tree. Every operator's destructor calls this for its operands.
  static void dismantle(std::unique_ptr<CalcNode> tree) noexcept {
    if (tree) dismantleNodes(std::move(tree));
  }

 private:
  static void dismantleNodes(std::unique_ptr<CalcNode> tree) noexcept;

  virtual Operands operands() noexcept = 0;
  // The node's value from those of its operands; the operand of a negation comes as right.
  virtual double apply(double left, double right) const noexcept = 0;
  virtual void printLabel(std::ostream& out) const = 0;

  // The operands, for walks that change nothing.
  Operands operandsToRead() const noexcept { return const_cast<CalcNode*>(this)->operands(); }
};

}  // namespace StrToNum

#endif
