// The concrete nodes of an expression's tree: constants, and one class for each operator.

#ifndef STRTONUM_CALC_NODES_H
#define STRTONUM_CALC_NODES_H

#include <cmath>
#include <memory>
#include <ostream>
#include <utility>

#include "strtonum/calc_node.h"

namespace StrToNum {

class CNConstant final : public CalcNode {
 public:
  explicit CNConstant(double v) : value(v) {}

  double evaluate() const override { return value; }

 private:
  Operands operands() noexcept override { return {nullptr, nullptr}; }
  double apply(double /*left*/, double /*right*/) const noexcept override { return value; }
  void printLabel(std::ostream& out) const override { out << value; }

  double value;
};

// Owns the operands of a binary operator, from its construction on.
//
// A second base class, so that every node class still derives directly from CalcNode.
class BinaryOperands {
 public:
  BinaryOperands(CalcNode* l, CalcNode* r) : left(l), right(r) {}
  BinaryOperands(const BinaryOperands&) = delete;
  BinaryOperands& operator=(const BinaryOperands&) = delete;

 protected:
  ~BinaryOperands() {
    CalcNode::deleteTree(std::move(left));
    CalcNode::deleteTree(std::move(right));
  }

  std::unique_ptr<CalcNode> left;
  std::unique_ptr<CalcNode> right;
};

class CNPower final : public CalcNode, private BinaryOperands {
 public:
  using BinaryOperands::BinaryOperands;

 private:
  Operands operands() noexcept override { return {&left, &right}; }
  double apply(double a, double b) const noexcept override { return std::pow(a, b); }
  void printLabel(std::ostream& out) const override { out << "^ power"; }
};

class CNNegate final : public CalcNode {
 public:
  // Takes ownership of the operand.
  explicit CNNegate(CalcNode* tree) : operand(tree) {}
  ~CNNegate() override { deleteTree(std::move(operand)); }

 private:
  Operands operands() noexcept override { return {&operand, nullptr}; }
  // Flips the sign bit, also of 0 and NaN.
  double apply(double /*left*/, double value) const noexcept override { return -value; }
  void printLabel(std::ostream& out) const override { out << "- negate"; }

  std::unique_ptr<CalcNode> operand;
};

class CNMultiply final : public CalcNode, private BinaryOperands {
 public:
  using BinaryOperands::BinaryOperands;

 private:
  Operands operands() noexcept override { return {&left, &right}; }
  double apply(double a, double b) const noexcept override { return a * b; }
  void printLabel(std::ostream& out) const override { out << "* multiply"; }
};

class CNDivide final : public CalcNode, private BinaryOperands {
 public:
  using BinaryOperands::BinaryOperands;

 private:
  Operands operands() noexcept override { return {&left, &right}; }
  double apply(double a, double b) const noexcept override { return a / b; }
  void printLabel(std::ostream& out) const override { out << "/ divide"; }
};

class CNModulo final : public CalcNode, private BinaryOperands {
 public:
  using BinaryOperands::BinaryOperands;

 private:
  Operands operands() noexcept override { return {&left, &right}; }
  double apply(double a, double b) const noexcept override { return std::fmod(a, b); }
  void printLabel(std::ostream& out) const override { out << "% modulo"; }
};

class CNAdd final : public CalcNode, private BinaryOperands {
 public:
  using BinaryOperands::BinaryOperands;

 private:
  Operands operands() noexcept override { return {&left, &right}; }
  double apply(double a, double b) const noexcept override { return a + b; }
  void printLabel(std::ostream& out) const override { out << "+ add"; }
};

class CNSubtract final : public CalcNode, private BinaryOperands {
 public:
  using BinaryOperands::BinaryOperands;

 private:
  Operands operands() noexcept override { return {&left, &right}; }
  double apply(double a, double b) const noexcept override { return a - b; }
  void printLabel(std::ostream& out) const override { out << "- subtract"; }
};

// Every node is as large as one of these.
static_assert(sizeof(CNConstant) <= NodePool::NODE_SIZE && sizeof(CNAdd) <= NodePool::NODE_SIZE);

}  // namespace StrToNum

#endif
