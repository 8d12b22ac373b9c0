// Adapts the stack of the generated parser: how it gets its memory, and how it is indexed. Only
// parser.yy includes this, before anything uses the stack.
//
// Memory. Bison's stack makes room for 200 symbols in a constructor that is noexcept, so exhausted
// memory would end the process. It also constructs the 200 symbols only to clear them. This stack
// starts empty and allocates at the first push, where parse() catches the exception and frees the
// nodes. Its first block has room for 20 symbols, since glibc serves small blocks faster.
//
// Indexing. A parse spends most of its time on the stack. Bison finds a symbol by its distance from
// the bottom, which takes a division by the size of a symbol. This stack counts from the top.

#ifndef STRTONUM_PARSER_STACK_H
#define STRTONUM_PARSER_STACK_H

#include <utility>

#include "strtonum/parser.h"

namespace StrToNum {

template <>
inline Parser::stack<Parser::stack_symbol_type>::stack(size_type /*room*/) noexcept {}

template <>
inline void Parser::stack<Parser::stack_symbol_type>::push(Parser::stack_symbol_type&& symbol) {
  if (seq_.size() == seq_.capacity()) seq_.reserve(seq_.empty() ? 20 : 2 * seq_.size());
  seq_.emplace_back(std::move(symbol));
}

template <>
inline const Parser::stack_symbol_type& Parser::stack<Parser::stack_symbol_type>::operator[](
    index_type i) const {
  return *(seq_.end() - 1 - i);
}

template <>
inline Parser::stack_symbol_type& Parser::stack<Parser::stack_symbol_type>::operator[](
    index_type i) {
  return *(seq_.end() - 1 - i);
}

}  // namespace StrToNum

#endif
