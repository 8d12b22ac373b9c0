// What summaries, maps and differences call an item.
#ifndef VELMOR_CORE_TOOLS_LOOKING_ITEM_NAME_H
#define VELMOR_CORE_TOOLS_LOOKING_ITEM_NAME_H

#include <compare>
#include <string>
#include <string_view>

#include "chunks/tree_items.h"

namespace tool {

enum class ItemKind { GROUP, DATA, FREE, ZEROS, BYTES };

// Items with the same name are of one kind.
struct ItemName {
  ItemKind kind = ItemKind::DATA;
  uint32_t id = 0;
  uint32_t groupId = 0;  // only of groups

  // clang-tidy 14 mistakes the defaulted operator for a null pointer.
  auto operator<=>(const ItemName&) const = default;  // NOLINT(modernize-use-nullptr)
};

inline ItemName nameOf(const TreeItem& item) {
  if (item.kind == TreeItem::ZEROS) return {ItemKind::ZEROS};
  if (item.kind == TreeItem::BYTES) return {ItemKind::BYTES};
  if (item.isGroup()) return {ItemKind::GROUP, item.chunk.id, item.chunk.groupId};
  return {item.isFree() ? ItemKind::FREE : ItemKind::DATA, item.chunk.id};
}

// "LIST:INFO", "data", "(zeros)" or "(no chunk)".
inline std::string textOf(const ItemName& name) {
  if (name.kind == ItemKind::ZEROS) return "(zeros)";
  if (name.kind == ItemKind::BYTES) return "(no chunk)";
  return name.kind == ItemKind::GROUP ? groupName(name.id, name.groupId) : idText(name.id);
}

// The kind in JSON and in styles.
constexpr std::string_view kindText(ItemKind kind) {
  switch (kind) {
    case ItemKind::GROUP:
      return "group";
    case ItemKind::FREE:
      return "free";
    case ItemKind::ZEROS:
      return "zeros";
    case ItemKind::BYTES:
      return "bytes";
    case ItemKind::DATA:
      break;
  }
  return "data";
}

}  // namespace tool

#endif
