// Runs scanner and parser over one text.

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
  // The trees of the lines are appended to list, whose owner frees them.
  explicit Driver(std::vector<CalcNode*>& list) : results(&list) {}

  // Parses text; false if it is rejected. The trees of the lines in front of the rejected one stay
  // in the list of results then, as they do when an exception passes.
  bool parse(const std::string& text);

  // Told about each syntax error. Nobody asks for the messages so far.
  void error(const Parser::location_type& /*location*/, const std::string& /*message*/) {}

  // For the parser.
  Scanner* scanner = nullptr;  // set while a parse runs, not to be used outside
  std::vector<CalcNode*>* results;
  NodePool nodes;
};

}  // namespace StrToNum

#endif
