// The steps from a file to its edited result.

#include "editing/editing.h"

#include <optional>
#include <vector>

#include "app/errors.h"
#include "app/progress.h"
#include "editing/avi_index.h"
#include "editing/gap.h"
#include "editing/webp_header.h"
#include "known/ids.h"
#include "looking/tree.h"

namespace tool {

namespace {

Original::Purpose purposeOf(const EditWay& way) {
  if (way.isDryRun) return Original::LOOK;
  return way.output ? Original::COPY : Original::EDIT;
}

// The user may want a file that other programs reject, so this does not refuse the edit.
void warnOfDamage(const Opened& before, RawBytes after) {
  const std::string& name = before.original().name();
  if (before.damage()) return;
  if (const auto damage = firstDamage(name, after)) {
    complain(name + ": warning: after this edit, " + findingText(*damage));
  }
}

using Warnings = std::vector<std::string>;

void complainAll(const std::string& name, const Warnings& warnings) {
  const std::string prefix = name + ": warning: ";
  for (const std::string& warning : warnings) complain(prefix + warning);
}

constexpr uint64_t ROOM_FOR_FORM = WebpHeader::ROOM;

// What the form of a file needs after a change.
class FormKeeper {
 public:
  // Made before the change.
  explicit FormKeeper(const Chunk& root) : indexes(root), header(root) {}

  void correct(const Chunk& root, const Cut* cut, Warnings& warnings) {
    indexes.correct(root, cut, warnings);
    header.correct(root, warnings);
  }

 private:
  AviIndexes indexes;
  WebpHeader header;
};

// Makes the edits one after the other, and then the corrections that the form needs. `bytes` is an
// Opened or a TargetChunks. `change` is the second step of the first edit.
template <typename Bytes>
Warnings makeChanges(Bytes& bytes, Change change, std::span<const Edit> edits) {
  Warnings warnings;
  std::optional<FormKeeper> form(bytes.root());
  for (std::size_t i = 0; i < edits.size(); ++i) {
    if (!form) form.emplace(bytes.root());
    if (i > 0) change = edits[i](bytes.root());
    if (change.getCut() && i > 0) {
      // A cut ends all handles. The correction after it assumes that only the cut has changed the
      // chunks since they were noted. So the edits before it are corrected first, and the chunks
      // are noted again.
      form->correct(bytes.root(), nullptr, warnings);
      form.emplace(bytes.root());
      change = edits[i](bytes.root());
    }
    if (const auto& cut = change.getCut()) {
      bytes.cut(*cut);
      form->correct(bytes.root(), &*cut, warnings);
      form.reset();
    } else if (!change.isNothing()) {
      change();
    }
  }
  if (form) form->correct(bytes.root(), nullptr, warnings);
  return warnings;
}

Warnings changeInMemory(Opened& opened, std::span<const Edit> edits) {
  Warnings warnings;
  opened.explain([&] { warnings = makeChanges(opened, edits.front()(opened.root()), edits); });
  return warnings;
}

void showResult(Opened& opened, std::span<const Edit> edits) {
  complainAll(opened.original().name(), changeInMemory(opened, edits));
  RawBytes edited(opened.bytes());
  warnOfDamage(opened, edited);
  printTree(opened.original().name() + ", as it would be", edited, RawNode::virtualRoot(edited));
}

std::unique_ptr<Target> openTarget(const Original& original, const EditJob& job, const EditWay& way,
                                   const std::optional<Gap>& gap) {
  if (way.inPlace) return editInPlace(original, job.room + ROOM_FOR_FORM, job.what);
  const Space space = gap ? gap->space() : Space();
  auto copy = way.output ? writeOutput(original, *way.output, way.mayReplaceOutput, space)
                         : replaceOriginal(original, space);
  if (gap) gap->applyTo(copy->file());
  return copy;
}

// The chunks of a target.
class TargetChunks {
 public:
  TargetChunks(const Target& target, const std::string& name) : target(target), name(name) {}

  Chunk root() {
    if (!object) {
      object = required("read the chunks", [&] {
        return Object::openFile(target.path(), velmor_core::Mode::ReadWrite, std::nothrow);
      });
    }
    return virtualRoot(object);
  }
  void cut(const Cut& cut) {
    object = Object();
    cut.applyTo(target.file(), name);
  }

 private:
  const Target& target;
  const std::string& name;
  Object object;  // none until the chunks are needed
};

void changeTarget(const Opened& opened, Target& target, std::span<const Edit> edits) {
  const std::string& name = opened.original().name();
  Warnings warnings;
  {
    TargetChunks chunks(target, name);
    Change first;
    opened.explain([&] { first = edits.front()(chunks.root()); });
    target.begin();
    const Waiting waiting("editing " + name);
    opened.explain([&] { warnings = makeChanges(chunks, first, edits); });
  }
  complainAll(name, warnings);
  warnOfDamage(opened, RawBytes(target.file()));
  target.finish();
}

// Throws Failure if the first edit cannot be made. Returns false if it is the only edit and nothing
// is to be done. Edits in place cannot be undone. They are first made in memory if there are
// several, or if the file is damaged and the library may refuse an edit half-way. If one of them
// fails in memory, this function throws Failure, too. The memory holds the bytes that change or
// move.
bool checkEdits(Opened& opened, bool inPlace, std::span<const Edit> edits) {
  Change first;
  opened.explain([&] { first = edits.front()(opened.root()); });
  const bool isOne = edits.size() == 1;
  if (isOne && first.isNothing()) return false;
  if (inPlace && (!isOne || opened.damage())) {
    changeInMemory(opened, edits);
    opened.undoChanges();
  }
  return true;
}

// Returns the gap that the copy should have, or nothing if a gap is not worth it. Finding a gap
// copies the values of the edit in memory, so an edit with large values gets no gap. Only a WAVE
// gets a gap. In an AVI, the gap would move chunks before AviIndexes notes their offsets.
std::optional<Gap> gapFor(const Opened& opened, const EditJob& job, std::span<const Edit> edits) {
  constexpr uint64_t MAX_ROOM = 1 << 24;
  constexpr uint64_t MIN_MOVED = 1 << 20;
  const bool isWave = opened.root().firstChild().groupId() == FORM_WAVE;
  if (edits.size() > 1 || job.room > MAX_ROOM || !isWave || opened.damage()) return {};
  std::optional<Gap> gap;
  opened.explain([&] { gap = edits.front()(opened.root()).wantedGap(); });
  const uint64_t size = opened.bytes().size();
  return gap && gap->space().offset + MIN_MOVED < size ? gap : std::nullopt;
}

}  // namespace

EditWay::EditWay(const Arguments& arguments, Force force)
    : isDryRun(arguments.has(DRY_RUN.name)),
      inPlace(arguments.has(IN_PLACE.name)),
      output(arguments.value(OUTPUT.name)),
      mayReplaceOutput(arguments.has(FORCE.name)) {
  if (static_cast<int>(isDryRun) + static_cast<int>(inPlace) +
          static_cast<int>(output.has_value()) >
      1) {
    throw UsageError("--dry-run, -o and --in-place exclude each other");
  }
  if (force == FOR_OUTPUT && mayReplaceOutput && !output) {
    throw UsageError("--force needs -o");
  }
}

void editFile(const EditJob& job, const EditWay& way, const Edit& edit) {
  editFile(job, way, std::span(&edit, 1));
}

void editFile(const EditJob& job, const EditWay& way, std::span<const Edit> edits) {
  Opened opened(job.file, purposeOf(way), job.room + ROOM_FOR_FORM);
  if (way.isDryRun) {
    showResult(opened, edits);
    return;
  }
  if (!checkEdits(opened, way.inPlace, edits) && !way.output) return;
  const auto gap = way.inPlace ? std::nullopt : gapFor(opened, job, edits);
  opened.closeChunks();  // a file can have millions, and they are loaded once more for the target
  const auto target = openTarget(opened.original(), job, way, gap);
  try {
    changeTarget(opened, *target, edits);
  } catch (const Failure& failure) {
    throw Failure(failure.what() + target->consequence());
  }
}

}  // namespace tool
