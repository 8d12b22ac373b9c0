// Runs scanner and parser over one number text.

#ifndef STRTONUM_DRIVER_H
#define STRTONUM_DRIVER_H

#include <string>
#include <vector>

#include "strtonum/node_pool.h"
#include "strtonum/parser.h"

namespace StrToNum {

class CalcNode;
class Scanner;

class Driver {
 public:
  // Appends the tree of each line to list. The owner of the list owns the trees too (Results).
  explicit Driver(std::vector<CalcNode*>& list) : results(&list) {}

  // Parses text. Returns false if it is rejected. The trees of the lines before the rejected one
  // stay in the list of results, also when an exception is thrown. Throws std::bad_alloc, and
  // std::length_error for a text that is too long for the scanner.
  bool parse(const std::string& text);

  // Receives each syntax error. The message is dropped: no caller has a way to ask for it.
  void error(const Parser::location_type& /*location*/, const std::string& /*message*/) {}

  // For the parser's actions.
  Scanner* scanner = nullptr;       // valid during parse() only
  std::vector<CalcNode*>* results;  // borrowed
  // Allocates the nodes. A field of the driver, since the driver is all that the actions can reach.
  NodePool nodes;
};

}  // namespace StrToNum

#endif
