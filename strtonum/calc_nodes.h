// The nodes of the calculation tree: constants and, for each operator, a class that owns its
// operands.

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

// Operators take ownership of the operands that they are built from.
class CNPower final : public CalcNode {
 public:
  CNPower(CalcNode* l, CalcNode* r) : left(l), right(r) {}
  ~CNPower() override {
    dismantle(std::move(left));
    dismantle(std::move(right));
  }

 private:
  Operands operands() noexcept override { return {&left, &right}; }
  double apply(double a, double b) const noexcept override { return std::pow(a, b); }
  void printLabel(std::ostream& out) const override { out << "^ power"; }

  std::unique_ptr<CalcNode> left;
  std::unique_ptr<CalcNode> right;
};

class CNNegate final : public CalcNode {
 public:
  explicit CNNegate(CalcNode* tree) : operand(tree) {}
  ~CNNegate() override { dismantle(std::move(operand)); }

 private:
  Operands operands() noexcept override { return {&operand, nullptr}; }
  // Flips the sign bit, of 0 and NaN too.
  double apply(double /*left*/, double value) const noexcept override { return -value; }
  void printLabel(std::ostream& out) const override { out << "- negate"; }

  std::unique_ptr<CalcNode> operand;
};

class CNMultiply final : public CalcNode {
 public:
  CNMultiply(CalcNode* l, CalcNode* r) : left(l), right(r) {}
  ~CNMultiply() override {
    dismantle(std::move(left));
    dismantle(std::move(right));
  }

 private:
  Operands operands() noexcept override { return {&left, &right}; }
  double apply(double a, double b) const noexcept override { return a * b; }
  void printLabel(std::ostream& out) const override { out << "* multiply"; }

  std::unique_ptr<CalcNode> left;
  std::unique_ptr<CalcNode> right;
};

class CNDivide final : public CalcNode {
 public:
  CNDivide(CalcNode* l, CalcNode* r) : left(l), right(r) {}
  ~CNDivide() override {
    dismantle(std::move(left));
    dismantle(std::move(right));
  }

 private:
  Operands operands() noexcept override { return {&left, &right}; }
  double apply(double a, double b) const noexcept override { return a / b; }
  void printLabel(std::ostream& out) const override { out << "/ divide"; }

  std::unique_ptr<CalcNode> left;
  std::unique_ptr<CalcNode> right;
};

class CNModulo final : public CalcNode {
 public:
  CNModulo(CalcNode* l, CalcNode* r) : left(l), right(r) {}
  ~CNModulo() override {
    dismantle(std::move(left));
    dismantle(std::move(right));
  }

 private:
  Operands operands() noexcept override { return {&left, &right}; }
  double apply(double a, double b) const noexcept override { return std::fmod(a, b); }
  void printLabel(std::ostream& out) const override { out << "% modulo"; }

  std::unique_ptr<CalcNode> left;
  std::unique_ptr<CalcNode> right;
};

class CNAdd final : public CalcNode {
 public:
  CNAdd(CalcNode* l, CalcNode* r) : left(l), right(r) {}
  ~CNAdd() override {
    dismantle(std::move(left));
    dismantle(std::move(right));
  }

 private:
  Operands operands() noexcept override { return {&left, &right}; }
  double apply(double a, double b) const noexcept override { return a + b; }
  void printLabel(std::ostream& out) const override { out << "+ add"; }

  std::unique_ptr<CalcNode> left;
  std::unique_ptr<CalcNode> right;
};

class CNSubtract final : public CalcNode {
 public:
  CNSubtract(CalcNode* l, CalcNode* r) : left(l), right(r) {}
  ~CNSubtract() override {
    dismantle(std::move(left));
    dismantle(std::move(right));
  }

 private:
  Operands operands() noexcept override { return {&left, &right}; }
  double apply(double a, double b) const noexcept override { return a - b; }
  void printLabel(std::ostream& out) const override { out << "- subtract"; }

  std::unique_ptr<CalcNode> left;
  std::unique_ptr<CalcNode> right;
};

// All nodes have the sizes of these.
static_assert(sizeof(CNConstant) <= NodePool::NODE_SIZE && sizeof(CNAdd) <= NodePool::NODE_SIZE);

}  // namespace StrToNum

#endif
