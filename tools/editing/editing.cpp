// The steps from a file to its edited result, and the edits themselves.

#include "editing/editing.h"

#include <algorithm>
#include <array>
#include <memory>

#include "app/errors.h"
#include "app/progress.h"
#include "app/text.h"
#include "chunks/layout.h"
#include "editing/avi_index.h"
#include "editing/webp_header.h"
#include "looking/tree.h"

namespace tool {

namespace {

// The sizes of all ancestors have 32 bits. The library lets them wrap around, so check them here.
void requireRoom(Chunk group, uint64_t growth) {
  for (; !group.isVirtualRoot(); group = group.parent()) {
    if (growth > MAX_SIZE - std::min<uint64_t>(group.dataSize(), MAX_SIZE)) {
      throw Failure(group.name() + " would grow past 4 GiB, the limit of its size field");
    }
  }
}

void requireGrowingGroup(const Chunk& group, uint64_t growth) {
  if (!group.isGroup()) throw Failure(group.name() + " is no group: nothing can be added to it");
  requireRoom(group, growth);
}

void requireSize(uint64_t size) {
  if (size > MAX_SIZE) throw Failure("a chunk cannot hold a value of more than 4294967294 bytes");
}

// The library does not change pad bytes. So data of odd size is first stored with a 0 after it, and
// the size counts the 0. Setting the odd size afterwards moves no bytes.
bool takeBackPadByte(const Chunk& chunk, uint64_t size) {
  return size % 2 == 0 || chunk.resize(static_cast<uint32_t>(size), std::nothrow);
}

// --- the steps of an edit

Original::Purpose purposeOf(const EditWay& way) {
  if (way.isDryRun) return Original::LOOK;
  return way.output ? Original::COPY : Original::EDIT;
}

// The change of an edit, and after it what the form needs.
Change keepingForm(const Chunk& root, const std::string& name, const Edit& edit) {
  const Change change = edit(root);
  const auto indexes = std::make_shared<AviIndexes>(root, name);
  const auto header = std::make_shared<WebpHeader>(root, name);
  return [=] {
    change();
    indexes->correct();
    header->correct();
  };
}

constexpr uint64_t ROOM_FOR_FORM = WebpHeader::ROOM;

// The user may want a file that other programs reject, so this does not refuse the edit.
void warnOfDamage(const Opened& before, RawBytes after) {
  const std::string& name = before.original().name();
  if (before.damage()) return;
  if (const auto damage = firstDamage(name, after)) {
    complain(name + ": warning: after this edit, " + findingText(*damage));
  }
}

void showResult(const Opened& opened, const Edit& edit) {
  opened.explain(
      [&] { keepingForm(virtualRoot(opened.object()), opened.original().name(), edit)(); });
  RawBytes edited(opened.bytes());
  warnOfDamage(opened, edited);
  printTree(opened.original().name() + ", as it would be", edited, RawNode::virtualRoot(edited));
}

std::unique_ptr<Target> openTarget(const Original& original, const EditJob& job,
                                   const EditWay& way) {
  if (way.inPlace) return editInPlace(original, job.room + ROOM_FOR_FORM, job.what);
  if (way.output) return writeOutput(original, *way.output, way.mayReplaceOutput);
  return replaceOriginal(original);
}

void changeTarget(const Opened& opened, Target& target, const Edit& edit) {
  Object object;
  Change change;
  opened.explain([&] {
    object = required("read the chunks", [&] {
      return Object::openFile(target.path(), velmor_core::Mode::ReadWrite, std::nothrow);
    });
    change = keepingForm(virtualRoot(object), opened.original().name(), edit);
  });
  target.begin();
  {
    const Waiting waiting("editing " + opened.original().name());
    opened.explain(change);
  }
  object = Object();
  warnOfDamage(opened, RawBytes(target.file()));
  target.finish();
}

}  // namespace

EditWay::EditWay(const Arguments& arguments)
    : isDryRun(arguments.has(DRY_RUN.name)),
      inPlace(arguments.has(IN_PLACE.name)),
      output(arguments.value(OUTPUT.name)),
      mayReplaceOutput(arguments.has(FORCE.name)) {
  if (static_cast<int>(isDryRun) + static_cast<int>(inPlace) +
          static_cast<int>(output.has_value()) >
      1) {
    throw UsageError("--dry-run, -o and --in-place exclude each other");
  }
  if (mayReplaceOutput && !output) throw UsageError("--force goes with -o");
}

void editFile(const EditJob& job, const EditWay& way, const Edit& edit) {
  const Opened opened(job.file, purposeOf(way), job.room + ROOM_FOR_FORM);
  if (way.isDryRun) {
    showResult(opened, edit);
    return;
  }
  // Fails here, before anything is copied, if the edit cannot be made.
  opened.explain([&] { edit(virtualRoot(opened.object())); });
  const auto target = openTarget(opened.original(), job, way);
  try {
    changeTarget(opened, *target, edit);
  } catch (const Failure& failure) {
    throw Failure(failure.what() + target->consequence());
  }
}

Change setValue(const Chunk& chunk, const Value& value) {
  if (chunk.isGroup()) throw Failure(chunk.name() + " is a group: set the chunks in it");
  requireAllBytes(chunk);
  const uint64_t size = value.sizeIn(chunk.parent());
  requireSize(size);
  if (size > chunk.dataSize()) {
    requireRoom(chunk.parent(), padded(size) - padded(chunk.dataSize()));
  }
  return [chunk, size, stored = value.storedIn(chunk.parent())] {
    required("set " + chunk.name(), [&] {
      return chunk.resize(static_cast<uint32_t>(stored.size()), std::nothrow) &&
             chunk.write(stored, 0, std::nothrow) && takeBackPadByte(chunk, size);
    });
  };
}

Change addValue(const Chunk& group, uint32_t id, const Value& value) {
  const uint64_t size = value.sizeIn(group);
  requireSize(size);
  requireGrowingGroup(group, HEADER_SIZE + padded(size));
  return [group, id, size, stored = value.storedIn(group)] {
    required("add " + idText(id), [&] {
      const Chunk added(group.addData(velmor_core::Id(id), stored, std::nothrow));
      return added && takeBackPadByte(added, size);
    });
  };
}

Change addGroup(const Chunk& group, uint32_t id, uint32_t groupId) {
  requireGrowingGroup(group, GROUP_HEADER_SIZE);
  return [group, id, groupId] {
    required("add " + nameText(id, groupId), [&] {
      return group.addGroup(velmor_core::Id(id), velmor_core::GroupId(groupId), std::nothrow);
    });
  };
}

Change removeChunk(const Chunk& chunk) {
  return
      [chunk] { required("remove " + chunk.name(), [&] { return chunk.remove(std::nothrow); }); };
}

Change recycleChunk(const Chunk& chunk) {
  return [chunk] {
    Chunk recycled = chunk;
    required("recycle " + chunk.name(), [&] { return recycled.recycle(std::nothrow); });
  };
}

uint64_t roomFor(const Value& value) { return value.size() + 2 * HEADER_SIZE; }

void requireAllBytes(const Chunk& chunk) {
  std::array<char, 1> last{};
  if (chunk.dataSize() > 0 && !chunk.read(last, chunk.dataSize() - 1, std::nothrow)) {
    errno = 0;  // the file ends too early, which is no system error
    throw Refused(chunk.name() + " cannot be read to its end");
  }
}

}  // namespace tool
