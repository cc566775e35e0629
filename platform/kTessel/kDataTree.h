/**
 * @file    kDataTree.h
 * @brief   kDataTree: a tree of named, typed items, the form of calibration and diagnostic
 *          records ("StereoCal", "SensorCal", "PrnuCal").
 *
 * Each item has a name, an ordered list of children, and at most one value: a number
 * (32s, 32u, 32f, 64s, 64f), a boolean, a size, a text, or a data object (an array, image,
 * list or any object). The tree has at most one root item.
 *
 * Items (`kDataTreeItem`) are handles owned by the tree; they stay valid until the tree is
 * destroyed. Paths name descendants relative to an item,
 * one name per step, separated by "\" or "/" ("Camera0\Window\X"); each step takes the first
 * child of that name. A null item means the tree itself, so the first step names the root.
 * Names are any non-empty text without separators.
 *
 * Reading: a missing item is kSTATUS_NOT_FOUND; an item whose value is of another type (or has
 * none) is kSTATUS_BAD_FORMAT. Numbers are not converted between types. Outputs are left
 * unchanged on failure.
 *
 * Writing: setters create the item and any missing item on the way (appended in order) and
 * replace its value and type.
 *
 * Data objects and ownership:
 * - `kDataTree_SetChildData` stores a deep copy (kObject_Clone with the tree's allocator); the
 *   caller keeps its object.
 * - `kDataTree_PutChildData` takes the caller's reference over: on success the tree owns the
 *   object and the caller must not destroy it; on failure the caller still owns it.
 * - `kDataTree_ChildData`, `kDataTree_ItemData` and `kDataTreeItem_GetData` return the tree's
 *   object, borrowed: valid until the item's value is replaced or the tree is destroyed. Take a
 * reference (kObject_Share) or a copy to keep it longer. The tree releases its objects with
 * kObject_Dispose, so that containers of objects release their items too.
 *
 * Trees are written to and read from kdat files (version name "kDataTree-0", docs/formats.md):
 * `kSave6(tree, "PrnuCal0.kdat6")`, `kLoad5(&tree, "StereoCal.kdat", allocator)`.
 */
#ifndef K_TESSEL_DATA_TREE_H
#define K_TESSEL_DATA_TREE_H

#include <kTessel/kTsApiDef.h>

typedef kObject kDataTree;
kDeclareClass(kDataTree, kObject);

/** Handle of an item of a tree. */
typedef struct xkDataTreeNode* kDataTreeItem;

/** Value types of items (also their kind numbers in kdat files). */
typedef k32s kDataTreeItemType;
#define kDATA_TREE_ITEM_NONE (0) ///< No value (a group of children).
#define kDATA_TREE_ITEM_32S (1)
#define kDATA_TREE_ITEM_32U (2)
#define kDATA_TREE_ITEM_32F (3)
#define kDATA_TREE_ITEM_64S (4)
#define kDATA_TREE_ITEM_64F (5)
#define kDATA_TREE_ITEM_BOOL (6)
#define kDATA_TREE_ITEM_SIZE (7)
#define kDATA_TREE_ITEM_TEXT (8) ///< Text (read as text into a buffer, or as a kString).
#define kDATA_TREE_ITEM_DATA (9) ///< A data object.

/**
 * Constructs an empty tree (no root).
 *
 * @param tree       Receives the tree (one reference, owned by the caller).
 * @param allocator  Allocator of the tree, its items and copied data (null: application
 *                   allocator).
 * @return kOK; kSTATUS_MEMORY.
 */
kFx(kStatus) kDataTree_Construct(kDataTree* tree, kAlloc allocator);

/** Root item, or null for an empty tree. */
kFx(kDataTreeItem) kDataTree_Root(kDataTree tree);

/**
 * Appends a new child item without a value.
 *
 * @param parent  Parent item; null adds the root of an empty tree.
 * @param item    Receives the new item (may be null).
 * @return kOK; kSTATUS_BAD_PARAMETER for a bad name or a foreign parent; kSTATUS_DUPLICATE when
 *         parent is null and the tree has a root; kSTATUS_MEMORY.
 */
kFx(kStatus)
    kDataTree_Add(kDataTree tree, kDataTreeItem parent, const kChar* name, kDataTreeItem* item);

/**
 * Finds the descendant of item (null: the tree) at path.
 *
 * @return kOK; kSTATUS_NOT_FOUND; kSTATUS_BAD_PARAMETER for a bad path or a foreign item.
 */
kFx(kStatus) kDataTree_ChildItem(kDataTree tree, kDataTreeItem item, const kChar* path,
                                 kDataTreeItem* child);

/** Number of children of item (null: the tree, 0 or 1). */
kFx(kSize) kDataTree_ChildCount(kDataTree tree, kDataTreeItem item);
/** Child at index, in order of addition; null when out of range. */
kFx(kDataTreeItem) kDataTree_ChildAt(kDataTree tree, kDataTreeItem item, kSize index);
kFx(kDataTreeItem) kDataTree_FirstChild(kDataTree tree, kDataTreeItem item);
/** Next item with the same parent, or null. */
kFx(kDataTreeItem) kDataTree_NextSibling(kDataTree tree, kDataTreeItem item);

/* ----- Typed readers of the descendant at a path ---------------------------------------------- */

kFx(kStatus) kDataTree_Child32s(kDataTree tree, kDataTreeItem item, const kChar* path, k32s* value);
kFx(kStatus) kDataTree_Child32u(kDataTree tree, kDataTreeItem item, const kChar* path, k32u* value);
kFx(kStatus) kDataTree_Child32f(kDataTree tree, kDataTreeItem item, const kChar* path, k32f* value);
kFx(kStatus) kDataTree_Child64s(kDataTree tree, kDataTreeItem item, const kChar* path, k64s* value);
kFx(kStatus) kDataTree_Child64f(kDataTree tree, kDataTreeItem item, const kChar* path, k64f* value);
kFx(kStatus)
    kDataTree_ChildBool(kDataTree tree, kDataTreeItem item, const kChar* path, kBool* value);
kFx(kStatus)
    kDataTree_ChildSize(kDataTree tree, kDataTreeItem item, const kChar* path, kSize* value);
/**
 * Copies a text value with its terminator into buffer.
 *
 * @return kOK; kSTATUS_NOT_FOUND; kSTATUS_BAD_FORMAT for an item of another type;
 *         kSTATUS_BAD_PARAMETER when it needs more than capacity characters (buffer then
 *         holds "").
 */
kFx(kStatus) kDataTree_ChildText(kDataTree tree, kDataTreeItem item, const kChar* path,
                                 kChar* buffer, kSize capacity);
/** Replaces the contents of value with a text value. */
kFx(kStatus)
    kDataTree_ChildString(kDataTree tree, kDataTreeItem item, const kChar* path, kString value);
/** The data object of the descendant at path (borrowed, see the file comment). */
kFx(kStatus)
    kDataTree_ChildData(kDataTree tree, kDataTreeItem item, const kChar* path, kObject* data);

/* ----- Writers -------------------------------------------------------------------------------- */

kFx(kStatus)
    kDataTree_SetChild32s(kDataTree tree, kDataTreeItem item, const kChar* path, k32s value);
kFx(kStatus)
    kDataTree_SetChild32u(kDataTree tree, kDataTreeItem item, const kChar* path, k32u value);
kFx(kStatus)
    kDataTree_SetChild32f(kDataTree tree, kDataTreeItem item, const kChar* path, k32f value);
kFx(kStatus)
    kDataTree_SetChild64s(kDataTree tree, kDataTreeItem item, const kChar* path, k64s value);
kFx(kStatus)
    kDataTree_SetChild64f(kDataTree tree, kDataTreeItem item, const kChar* path, k64f value);
kFx(kStatus)
    kDataTree_SetChildBool(kDataTree tree, kDataTreeItem item, const kChar* path, kBool value);
kFx(kStatus)
    kDataTree_SetChildSize(kDataTree tree, kDataTreeItem item, const kChar* path, kSize value);
kFx(kStatus) kDataTree_SetChildText(kDataTree tree, kDataTreeItem item, const kChar* path,
                                    const kChar* text);
/**
 * Stores a deep copy of data (the caller keeps data).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for null data; kSTATUS_NOT_IMPLEMENTED for an object that
 *         refuses cloning (use kDataTree_PutChildData); kSTATUS_MEMORY.
 */
kFx(kStatus)
    kDataTree_SetChildData(kDataTree tree, kDataTreeItem item, const kChar* path, kObject data);
/** Stores data itself: the tree takes the caller's reference over on success. */
kFx(kStatus)
    kDataTree_PutChildData(kDataTree tree, kDataTreeItem item, const kChar* path, kObject data);

/* ----- Items ---------------------------------------------------------------------------------- */

/** The data object of item (borrowed), or null when the item holds no data object. */
kFx(kObject) kDataTree_ItemData(kDataTree tree, kDataTreeItem item);

/** Name of an item (valid while the item lives). */
kFx(const kChar*) kDataTreeItem_Name(kDataTreeItem item);
/** Value type of an item. */
kFx(kDataTreeItemType) kDataTreeItem_Type(kDataTreeItem item);
/**
 * The data object of an item (borrowed).
 *
 * @return kOK; kSTATUS_BAD_FORMAT when the item holds no data object.
 */
kFx(kStatus) kDataTreeItem_GetData(kDataTreeItem item, kObject* data);

#endif
