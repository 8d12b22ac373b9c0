// The edits set, add, remove and recycle as users type them, alone or as one of several.
#ifndef VELMOR_CORE_TOOLS_EDITING_TYPED_EDIT_H
#define VELMOR_CORE_TOOLS_EDITING_TYPED_EDIT_H

#include <memory>
#include <span>
#include <string>

#include "app/command.h"
#include "editing/editing.h"

namespace tool {

inline constexpr Option MAKE_MISSING{"--add"};
inline constexpr Option AT_TOP{"--top"};

inline constexpr std::array SET_OPTIONS = {DRY_RUN, OUTPUT, FORCE, IN_PLACE, MAKE_MISSING, AT_TOP};
inline constexpr std::array ADD_OPTIONS = {DRY_RUN, OUTPUT, FORCE, IN_PLACE, AT_TOP};

class TypedEdit {
 public:
  TypedEdit() = default;
  TypedEdit(const TypedEdit&) = delete;
  TypedEdit& operator=(const TypedEdit&) = delete;
  virtual ~TypedEdit() = default;

  // The first step of an Edit. This has to live until the change has run.
  virtual Change check(const Chunk& virtualRoot) = 0;
  // By how many bytes the edit can lengthen a file.
  virtual uint64_t room() const = 0;
  // What users should know about the last change that was checked; usually nothing. It does not say
  // that the file has changed: the edit may be a dry run, or its result may be written to another
  // file.
  virtual std::string note() const { return {}; }
};

// Makes the edit of a command from its options and the operands after FILE. Reads values here,
// before anything is changed. Throws UsageError for operands that make no sense.
std::unique_ptr<TypedEdit> makeTypedEdit(const Command& command, const Arguments& options,
                                         std::span<const std::string> operands);

}  // namespace tool

#endif
