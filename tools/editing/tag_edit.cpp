// Sets and removes texts of LIST:INFO and fields of bext.

#include "editing/tag_edit.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "chunks/layout.h"
#include "editing/room_beside.h"
#include "known/bext_value.h"
#include "known/tags.h"

namespace tool {

namespace {

// --- LIST:INFO

// A list and its new contents. These are built in memory, so that the list gets them in one piece
// and the bytes after it move once at most.
struct NewList {
  Chunk list;  // in the file; none if it has to be made
  Object contents = Object::openCache();
};
using NewListPointer = std::shared_ptr<const NewList>;

bool holds(const Chunk& chunk, const InfoAssignment& assignment) {
  return !chunk.isGroup() && std::ranges::count(assignment.ids, chunk.id()) > 0;
}

void appendText(const NewList& to, uint32_t id, const std::string& text) {
  addValue(virtualRoot(to.contents), id, Value::ofBytes(text + '\0'))();
}

void appendCopy(const NewList& to, const Chunk& chunk) {
  required("copy " + chunk.name(), [&] { return to.contents.root().addCopy(chunk, std::nothrow); });
}

// The new contents of a list. `missing` marks the assignments whose text still has to be stored.
// The first chunk of such an assignment gets the text, and the mark is cleared. All other chunks of
// assignments are left out. Free chunks are left out, too.
NewListPointer rebuild(const Chunk& list, const std::vector<InfoAssignment>& assignments,
                       std::vector<bool>& missing) {
  auto result = std::make_shared<NewList>(NewList{.list = list});
  for (Chunk child = list.firstChild(); child; child = child.next()) {
    const auto held = std::ranges::find_if(
        assignments, [&](const InfoAssignment& assignment) { return holds(child, assignment); });
    if (held == assignments.end()) {
      if (child.id() != ID_JUNK) appendCopy(*result, child);
      continue;
    }
    const auto index = static_cast<std::size_t>(held - assignments.begin());
    if (missing[index]) appendText(*result, child.id(), held->text);
    missing[index] = false;
  }
  return result;
}

bool holdsAny(const Chunk& list, const std::vector<InfoAssignment>& assignments) {
  for (Chunk child = list.firstChild(); child; child = child.next()) {
    if (std::ranges::any_of(assignments, [&](const auto& each) { return holds(child, each); })) {
      return true;
    }
  }
  return false;
}

// The lists that may have to change, each with its new contents. The new contents may have the same
// texts as the list. A text that has no chunk yet goes to the first list, or to a new list if there
// is none.
std::vector<NewListPointer> rebuildLists(const Chunk& group,
                                         const std::vector<InfoAssignment>& assignments) {
  std::vector<bool> missing(assignments.size());
  std::transform(assignments.begin(), assignments.end(), missing.begin(),
                 [](const InfoAssignment& each) { return !each.text.empty(); });
  std::vector<NewListPointer> changed;
  Chunk first;
  forEachTagChunk(group, [&](const Chunk& list) {
    if (!list.isGroup()) return;
    if (!first) first = list;
    if (holdsAny(list, assignments)) changed.push_back(rebuild(list, assignments, missing));
  });
  if (std::ranges::count(missing, true) == 0) return changed;
  if (!first) {
    changed.push_back(std::make_shared<NewList>());
  } else if (changed.empty() || changed.front()->list != first) {
    changed.insert(changed.begin(), rebuild(first, assignments, missing));
  }
  for (std::size_t i = 0; i < assignments.size(); ++i) {
    if (missing[i]) appendText(*changed.front(), assignments[i].ids[0], assignments[i].text);
  }
  return changed;
}

// Turns everything in a list into one free chunk, resizes this chunk to the size of the new
// contents, and stores the contents in it.
Change replaceContents(const Chunk& list, const NewListPointer& to) {
  const uint64_t size = to->contents.size();
  const uint64_t before = list.dataSize() - GROUP_ID_SIZE;
  if (size > before) requireGrowingGroup(list, size - before);
  return [to, list, size] {
    required("change " + list.name(), [&] {
      // From the last chunk to the first: each one is merged with the free chunk after it.
      bool isDone = true;
      Chunk free;
      for (uint32_t i = list.childCount(); i > 0 && isDone; --i) {
        free = Chunk(list.child(i - 1));
        isDone = free.recycle(std::nothrow);
      }
      if (isDone && free) {
        isDone = free.resize(static_cast<uint32_t>(size - HEADER_SIZE), std::nothrow);
      }
      return isDone && list.addCache(to->contents, std::nothrow);
    });
  };
}

Change addList(const Chunk& group, const NewListPointer& to) {
  requireGrowingGroup(group, GROUP_HEADER_SIZE + to->contents.size());
  auto made = std::make_shared<Object>(Object::openCache());
  const Chunk list(made->root().addGroup(velmor_core::Id(ID_LIST), velmor_core::GroupId(ID_INFO)));
  static_cast<void>(list.Chunk::addCache(to->contents));
  return [group, made, list] {
    required("add " + list.name(), [&] {
      // An AVI may get the list in free space before movi, where texts usually lie. In a WAVE, the
      // list is appended. Programs expect texts after the data, and free space before the data may
      // be reserved for a ds64.
      return group.groupId() == FORM_AVI ? group.addCache(*made, std::nothrow)
                                         : group.addCopy(list, std::nothrow);
    });
  };
}

// Whether two lists have the same texts in the same order. Free chunks are ignored.
bool hasSameTexts(const Chunk& list, const Chunk& other) {
  const auto nextText = [](Chunk chunk) {
    while (chunk && chunk.id() == ID_JUNK) chunk = chunk.next();
    return chunk;
  };
  Chunk a = nextText(list.firstChild());
  Chunk b = nextText(other.firstChild());
  for (; a && b; a = nextText(a.next()), b = nextText(b.next())) {
    if (a.id() != b.id() || a.isGroup() || a.dataSize() != b.dataSize()) return false;
    const auto text = a.data<std::string>(std::nothrow);
    if (!text || text != b.data<std::string>(std::nothrow)) return false;
  }
  return !a && !b;
}

Change setInfo(const Chunk& group, const std::vector<InfoAssignment>& assignments) {
  std::vector<Change> changes;
  for (const NewListPointer& each : rebuildLists(group, assignments)) {
    if (each->list && hasSameTexts(each->list, virtualRoot(each->contents))) continue;
    if (!each->list) {
      changes.push_back(addList(group, each));
    } else if (each->contents.size() == 0) {
      changes.push_back(removeChunk(each->list));
    } else {
      changes.push_back(useRoomBeside(
          each->list, [each](const Chunk& list) { return replaceContents(list, each); }));
    }
  }
  if (changes.empty()) return {};
  if (changes.size() == 1) return changes[0];
  return [changes] {
    for (const Change& change : changes) change();
  };
}

// --- bext

void put(std::string& data, const BextField& field, const std::string& bytes) {
  data.replace(field.offset, field.size > 0 ? field.size : std::string::npos, bytes);
}

std::string changedBext(std::string data, const std::vector<BextAssignment>& assignments) {
  if (data.size() < BEXT_FIXED_SIZE) data.resize(BEXT_FIXED_SIZE);
  const BextField& versionField = *findBextField("bext-version");
  const uint64_t before = bextNumber(data.substr(versionField.offset, versionField.size));
  uint64_t version = before;
  for (const BextAssignment& each : assignments) {
    if (!each.isRemoval) version = std::max<uint64_t>(version, each.field->version);
  }
  put(data, versionField, bextBytes(versionField, std::to_string(version)));
  // Until now, these bytes were reserved.
  for (const BextField& field : BEXT_FIELDS) {
    if (field.version > before && field.version <= version) put(data, field, bextBytes(field, ""));
  }
  for (const BextAssignment& each : assignments) {
    if (each.field->version <= version) put(data, *each.field, each.bytes);
  }
  return data;
}

Change setBext(const Chunk& group, const std::vector<BextAssignment>& assignments) {
  Chunk chunk;
  forEachTagChunk(group, [&](const Chunk& found) {
    if (!found.isGroup() && !chunk) chunk = found;
  });
  std::string data;
  if (chunk) {
    requireAllBytes(chunk);
    data = *required("read bext", [&] { return chunk.data<std::string>(std::nothrow); });
  } else if (std::ranges::all_of(assignments, &BextAssignment::isRemoval)) {
    return {};
  }
  const std::string changed = changedBext(data, assignments);
  if (chunk && changed == data) return {};
  const auto value = std::make_shared<const Value>(Value::ofBytes(changed));
  if (!chunk) return [change = addValue(group, ID_BEXT, *value), value] { change(); };
  return useRoomBeside(chunk, [value](const Chunk& bext) { return setValue(bext, *value); });
}

}  // namespace

uint64_t TagAssignments::room() const {
  uint64_t bytes = GROUP_HEADER_SIZE + ROOM_FOR_PAD;
  for (const InfoAssignment& each : info) bytes += HEADER_SIZE + padded(each.text.size() + 1);
  if (!bext.empty()) bytes += HEADER_SIZE + BEXT_FIXED_SIZE + ROOM_FOR_PAD;
  for (const BextAssignment& each : bext) bytes += each.bytes.size();
  return bytes;
}

Change setTags(const Chunk& virtualRoot, const TagAssignments& assignments) {
  const Chunk group = findTaggedGroup(virtualRoot);
  if (!assignments.bext.empty() && group.groupId() != FORM_WAVE) {
    throw Failure(std::string(assignments.bext[0].field->name) + " is a field of bext, which " +
                  group.name() + " does not have");
  }
  Change info = setInfo(group, assignments.info);
  if (assignments.bext.empty()) return info;
  Change bext = setBext(group, assignments.bext);
  if (info.isNothing() || bext.isNothing()) return info.isNothing() ? bext : info;
  return [info, bext] {
    bext();
    info();
  };
}

}  // namespace tool
