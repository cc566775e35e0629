#include <kTessel/kDataTree.h>

#include <cstring>
#include <vector>

kDefineClass(kDataTree, kObject)

struct kDataTreeClass;

/* Items: memory from the tree's allocator, linked to parent, children and next sibling. */
struct xkDataTreeNode
{
    kDataTreeClass* tree; // owner, so that foreign handles are refused at once
    xkDataTreeNode* parent;
    xkDataTreeNode* firstChild;
    xkDataTreeNode* lastChild;
    xkDataTreeNode* next;
    kSize childCount;
    kChar* name;
    kDataTreeItemType type;
    union
    {
        k32s i32;
        k32u u32;
        k32f f32;
        k64s i64;
        k64f f64;
        kBool b;
        kSize size;
        kChar* text;
        kObject data;
    } value;
};

struct kDataTreeClass
{
    kObjectClass base;
    xkDataTreeNode* root;
};

namespace
{
/* Smallest item in a kdat stream: name length and one character, kind, child count. */
constexpr kSize kMinStreamItem = 4 + 1 + 1 + 8;

kDataTreeClass* Cast(kDataTree tree) { return xxkDataTree_Cast(tree, __FILE__, __LINE__); }

bool IsSeparator(kChar c) { return c == '\\' || c == '/'; }

bool IsName(const kChar* name, kSize length)
{
    if (length == 0) return false;
    for (kSize i = 0; i < length; ++i)
        if (IsSeparator(name[i]) || name[i] == '\0') return false;
    return true;
}

bool IsOwnItem(const kDataTreeClass* obj, kDataTreeItem item) { return item && item->tree == obj; }

kStatus CopyText(kAlloc alloc, const kChar* text, kSize length, kChar** copy)
{
    kChar* out = kNULL;
    kCheck(kAlloc_Get(alloc, length + 1, &out));
    memcpy(out, text, length);
    out[length] = '\0';
    *copy = out;
    return kOK;
}

void ClearValue(kAlloc alloc, xkDataTreeNode* node)
{
    if (node->type == kDATA_TREE_ITEM_TEXT) kAlloc_Free(alloc, node->value.text);
    if (node->type == kDATA_TREE_ITEM_DATA) kObject_Dispose(node->value.data);
    node->type = kDATA_TREE_ITEM_NONE;
    memset(&node->value, 0, sizeof(node->value));
}

/* Frees a subtree without recursion: children first, siblings of the top node untouched. */
void FreeSubtree(kAlloc alloc, xkDataTreeNode* top)
{
    xkDataTreeNode* node = top;
    while (node)
    {
        if (node->firstChild)
        {
            node = node->firstChild;
            continue;
        }
        xkDataTreeNode* parent = node->parent;
        bool last = node == top;
        if (parent && !last) parent->firstChild = node->next;
        ClearValue(alloc, node);
        kAlloc_Free(alloc, node->name);
        kAlloc_Free(alloc, node);
        node = last ? kNULL : parent;
    }
}

kStatus NewNode(kDataTreeClass* obj, xkDataTreeNode* parent, const kChar* name, kSize length,
                xkDataTreeNode** node)
{
    kAlloc alloc = obj->base.alloc;
    xkDataTreeNode* n = kNULL;
    kCheckArgs(IsName(name, length));
    if (!parent && obj->root) return kSTATUS_DUPLICATE;
    kCheck(kAlloc_GetZero(alloc, sizeof(xkDataTreeNode), &n));
    kStatus status = CopyText(alloc, name, length, &n->name);
    if (!kSuccess(status))
    {
        kAlloc_Free(alloc, n);
        return status;
    }
    n->tree = obj;
    n->parent = parent;
    if (!parent)
        obj->root = n;
    else
    {
        if (parent->lastChild)
            parent->lastChild->next = n;
        else
            parent->firstChild = n;
        parent->lastChild = n;
        ++parent->childCount;
    }
    *node = n;
    return kOK;
}

xkDataTreeNode* FindChild(kDataTreeClass* obj, xkDataTreeNode* parent, const kChar* name,
                          kSize length)
{
    xkDataTreeNode* child = parent ? parent->firstChild : obj->root;
    for (; child; child = child->next)
        if (strncmp(child->name, name, length) == 0 && child->name[length] == '\0') return child;
    return kNULL;
}

/* Walks path from item (null: the tree); with create, missing items are appended. */
kStatus Resolve(kDataTreeClass* obj, kDataTreeItem item, const kChar* path, bool create,
                xkDataTreeNode** result)
{
    kCheckArgs(!item || IsOwnItem(obj, item));
    kCheckArgs(path && path[0] != '\0');
    for (const kChar* step = path;;)
    {
        kSize length = 0;
        while (step[length] != '\0' && !IsSeparator(step[length]))
            ++length;
        kCheckArgs(length > 0);
        if (step[length] == '\0') break;
        step += length + 1;
    }

    xkDataTreeNode* node = item;
    for (const kChar* step = path;;)
    {
        kSize length = 0;
        while (step[length] != '\0' && !IsSeparator(step[length]))
            ++length;
        xkDataTreeNode* next = FindChild(obj, node, step, length);
        if (!next)
        {
            if (!create) return kSTATUS_NOT_FOUND;
            kCheck(NewNode(obj, node, step, length, &next));
        }
        node = next;
        if (step[length] == '\0') break;
        step += length + 1;
    }
    *result = node;
    return kOK;
}

/* Typed access: each value type names its union member once. */
template <typename T>
T& Member(xkDataTreeNode* n);
template <>
k32s& Member<k32s>(xkDataTreeNode* n)
{
    return n->value.i32;
}
template <>
k32u& Member<k32u>(xkDataTreeNode* n)
{
    return n->value.u32;
}
template <>
k32f& Member<k32f>(xkDataTreeNode* n)
{
    return n->value.f32;
}
template <>
k64s& Member<k64s>(xkDataTreeNode* n)
{
    return n->value.i64;
}
template <>
k64f& Member<k64f>(xkDataTreeNode* n)
{
    return n->value.f64;
}
template <>
k64u& Member<k64u>(xkDataTreeNode* n)
{
    return n->value.size;
}

template <typename T>
kStatus Get(kDataTree tree, kDataTreeItem item, const kChar* path, kDataTreeItemType type, T* value)
{
    kDataTreeClass* obj = Cast(tree);
    xkDataTreeNode* node = kNULL;
    kCheckArgs(obj && value);
    kCheck(Resolve(obj, item, path, false, &node));
    if (node->type != type) return kSTATUS_BAD_FORMAT;
    *value = Member<T>(node);
    return kOK;
}

template <typename T>
kStatus Set(kDataTree tree, kDataTreeItem item, const kChar* path, kDataTreeItemType type, T value)
{
    kDataTreeClass* obj = Cast(tree);
    xkDataTreeNode* node = kNULL;
    kCheckArgs(obj);
    kCheck(Resolve(obj, item, path, true, &node));
    ClearValue(obj->base.alloc, node);
    node->type = type;
    Member<T>(node) = value;
    return kOK;
}

kStatus SetText(kDataTreeClass* obj, xkDataTreeNode* node, const kChar* text, kSize length)
{
    kChar* copy = kNULL;
    kCheck(CopyText(obj->base.alloc, text, length, &copy));
    ClearValue(obj->base.alloc, node);
    node->type = kDATA_TREE_ITEM_TEXT;
    node->value.text = copy;
    return kOK;
}

void SetData(kDataTreeClass* obj, xkDataTreeNode* node, kObject data)
{
    ClearValue(obj->base.alloc, node);
    node->type = kDATA_TREE_ITEM_DATA;
    node->value.data = data;
}

kStatus FindValue(kDataTree tree, kDataTreeItem item, const kChar* path, kDataTreeItemType type,
                  xkDataTreeNode** node)
{
    kDataTreeClass* obj = Cast(tree);
    kCheckArgs(obj);
    kCheck(Resolve(obj, item, path, false, node));
    return (*node)->type == type ? kOK : kSTATUS_BAD_FORMAT;
}

/* Pre-order successor inside the subtree of top, or null. */
xkDataTreeNode* NextPreOrder(xkDataTreeNode* node, const xkDataTreeNode* top)
{
    if (node->firstChild) return node->firstChild;
    while (node != top && !node->next)
        node = node->parent;
    return node == top ? kNULL : node->next;
}

/* ----- kdat ----------------------------------------------------------------------------------- */

kStatus WriteValue(kSerializer s, const xkDataTreeNode* n)
{
    switch (n->type)
    {
    case kDATA_TREE_ITEM_32S:
        return kSerializer_Write32s(s, n->value.i32);
    case kDATA_TREE_ITEM_32U:
        return kSerializer_Write32u(s, n->value.u32);
    case kDATA_TREE_ITEM_32F:
        return kSerializer_Write32f(s, n->value.f32);
    case kDATA_TREE_ITEM_64S:
        return kSerializer_Write64s(s, n->value.i64);
    case kDATA_TREE_ITEM_64F:
        return kSerializer_Write64f(s, n->value.f64);
    case kDATA_TREE_ITEM_BOOL:
        return kSerializer_WriteBool(s, n->value.b);
    case kDATA_TREE_ITEM_SIZE:
        return kSerializer_WriteSize(s, n->value.size);
    case kDATA_TREE_ITEM_TEXT:
        return kSerializer_WriteText(s, n->value.text);
    case kDATA_TREE_ITEM_DATA:
        return kSerializer_WriteObject(s, n->value.data);
    default:
        return kOK;
    }
}

kStatus ReadValue(kSerializer s, kDataTreeClass* obj, xkDataTreeNode* n, k8u kind, kString text)
{
    n->type = kind;
    switch (kind)
    {
    case kDATA_TREE_ITEM_NONE:
        return kOK;
    case kDATA_TREE_ITEM_32S:
        return kSerializer_Read32s(s, &n->value.i32);
    case kDATA_TREE_ITEM_32U:
        return kSerializer_Read32u(s, &n->value.u32);
    case kDATA_TREE_ITEM_32F:
        return kSerializer_Read32f(s, &n->value.f32);
    case kDATA_TREE_ITEM_64S:
        return kSerializer_Read64s(s, &n->value.i64);
    case kDATA_TREE_ITEM_64F:
        return kSerializer_Read64f(s, &n->value.f64);
    case kDATA_TREE_ITEM_BOOL:
        return kSerializer_ReadBool(s, &n->value.b);
    case kDATA_TREE_ITEM_SIZE:
        return kSerializer_ReadSize(s, &n->value.size);
    case kDATA_TREE_ITEM_TEXT:
        n->type = kDATA_TREE_ITEM_NONE;
        kCheck(kSerializer_ReadString(s, text));
        if (strlen(kString_Chars(text)) != kString_Length(text)) return kSTATUS_BAD_FORMAT;
        return SetText(obj, n, kString_Chars(text), kString_Length(text));
    case kDATA_TREE_ITEM_DATA:
        kCheck(kSerializer_ReadObject(s, &n->value.data, obj->base.alloc));
        return n->value.data ? kOK : kSTATUS_BAD_FORMAT;
    default:
        n->type = kDATA_TREE_ITEM_NONE;
        return kSTATUS_BAD_FORMAT;
    }
}
} // namespace

kStatus xkDataTree_VRelease(kObject tree)
{
    kDataTreeClass* obj = kCastRaw(kDataTree, tree);
    FreeSubtree(obj->base.alloc, obj->root);
    obj->root = kNULL;
    return xkObject_VRelease(tree);
}

kStatus xkDataTree_VInitClone(kObject tree, kObject source, kAlloc allocator)
{
    kDataTreeClass* obj = kCastRaw(kDataTree, tree);
    const kDataTreeClass* src = kCastRaw(kDataTree, source);
    kCheck(kObject_Init(tree, kTypeOf(kDataTree), allocator));

    /* Copies in pre-order; the copy of each source node's parent is found by walking up. */
    std::vector<xkDataTreeNode*> copies; // copies of the open ancestors, root first
    kStatus status = kOK;
    for (xkDataTreeNode* n = src->root; n && kSuccess(status); n = NextPreOrder(n, src->root))
    {
        kSize depth = 0;
        for (const xkDataTreeNode* a = n->parent; a; a = a->parent)
            ++depth;
        copies.resize(depth);
        xkDataTreeNode* copy = kNULL;
        status = NewNode(obj, depth ? copies.back() : kNULL, n->name, strlen(n->name), &copy);
        if (!kSuccess(status)) break;
        copies.push_back(copy);
        if (n->type == kDATA_TREE_ITEM_TEXT)
            status = SetText(obj, copy, n->value.text, strlen(n->value.text));
        else if (n->type == kDATA_TREE_ITEM_DATA)
        {
            kObject data = kNULL;
            if (kSuccess(status = kObject_Clone(&data, n->value.data, allocator)))
                SetData(obj, copy, data);
        }
        else
        {
            copy->type = n->type;
            copy->value = n->value;
        }
    }
    if (!kSuccess(status)) xkDataTree_VRelease(tree);
    return status;
}

kStatus xkDataTree_WriteDat(kSerializer serializer, kObject tree)
{
    kDataTreeClass* obj = kCastRaw(kDataTree, tree);
    kSize count = 0;
    for (xkDataTreeNode* n = obj->root; n; n = NextPreOrder(n, obj->root))
        ++count;
    kCheck(kSerializer_WriteSize(serializer, count));
    for (xkDataTreeNode* n = obj->root; n; n = NextPreOrder(n, obj->root))
    {
        kCheck(kSerializer_WriteText(serializer, n->name));
        kCheck(kSerializer_Write8u(serializer, (k8u)n->type));
        kCheck(WriteValue(serializer, n));
        kCheck(kSerializer_WriteSize(serializer, n->childCount));
    }
    return kOK;
}

kStatus xkDataTree_ReadDat(kSerializer serializer, kObject tree)
{
    kDataTreeClass* obj = kCastRaw(kDataTree, tree);
    kString text = kNULL;
    kSize count = 0;
    kStatus status;

    /* Items whose children are still to come, with how many. */
    struct Open
    {
        xkDataTreeNode* node;
        kSize children;
    };
    std::vector<Open> open;

    kCheck(kSerializer_ReadCount(serializer, kMinStreamItem, &count));
    kCheck(kString_Construct(&text, kNULL, obj->base.alloc));
    for (kSize i = 0; i < count; ++i)
    {
        xkDataTreeNode* node = kNULL;
        k8u kind = 0;
        kSize children = 0;
        if (i > 0 && open.empty())
        {
            status = kSTATUS_BAD_FORMAT; // items after the root's subtree
            goto cleanup;
        }
        kTest(kSerializer_ReadString(serializer, text));
        if (!IsName(kString_Chars(text), kString_Length(text)))
        {
            status = kSTATUS_BAD_FORMAT;
            goto cleanup;
        }
        kTest(NewNode(obj, open.empty() ? kNULL : open.back().node, kString_Chars(text),
                      kString_Length(text), &node));
        if (!open.empty()) --open.back().children;
        kTest(kSerializer_Read8u(serializer, &kind));
        kTest(ReadValue(serializer, obj, node, kind, text));
        kTest(kSerializer_ReadSize(serializer, &children));
        if (children > count - 1 - i)
        {
            status = kSTATUS_BAD_FORMAT;
            goto cleanup;
        }
        if (children > 0) open.push_back({node, children});
        while (!open.empty() && open.back().children == 0)
            open.pop_back();
    }
    status = open.empty() ? kOK : kSTATUS_BAD_FORMAT;

cleanup:
    kObject_Destroy(text);
    return status;
}

kStatus xkDataTree_ConstructFramework(kObject* tree, kAlloc allocator)
{
    return kDataTree_Construct(tree, allocator);
}

kFx(kStatus) xxkDataTree_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kDataTree, kObject));
    kCheck(kAddVMethod(kDataTree, VRelease));
    kCheck(kAddVMethod(kDataTree, VInitClone));
    kCheck(xkSerializer_AddVersion(kTypeOf(kDataTree), "kdat5", "5.0.0.0", "kDataTree-0",
                                   xkDataTree_WriteDat, xkDataTree_ReadDat));
    kCheck(xkSerializer_AddVersion(kTypeOf(kDataTree), "kdat6", "5.0.0.0", "kDataTree-0",
                                   xkDataTree_WriteDat, xkDataTree_ReadDat));
    return xkSerializer_AddFrameworkConstructor(kTypeOf(kDataTree), xkDataTree_ConstructFramework);
}

kFx(kStatus) kDataTree_Construct(kDataTree* tree, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kDataTreeClass* obj = kNULL;
    kStatus status;

    kCheckArgs(tree);
    *tree = kNULL;
    kCheck(kAlloc_GetObject(alloc, kTypeOf(kDataTree), &obj));
    kTest(kObject_Init(obj, kTypeOf(kDataTree), alloc));
    *tree = obj;
    return kOK;

cleanup:
    kAlloc_Free(alloc, obj);
    return status;
}

kFx(kDataTreeItem) kDataTree_Root(kDataTree tree)
{
    kDataTreeClass* obj = Cast(tree);
    return obj ? obj->root : kNULL;
}

kFx(kStatus)
    kDataTree_Add(kDataTree tree, kDataTreeItem parent, const kChar* name, kDataTreeItem* item)
{
    kDataTreeClass* obj = Cast(tree);
    xkDataTreeNode* node = kNULL;
    kCheckArgs(obj && name && (!parent || IsOwnItem(obj, parent)));
    kCheck(NewNode(obj, parent, name, strlen(name), &node));
    if (item) *item = node;
    return kOK;
}

kFx(kStatus)
    kDataTree_ChildItem(kDataTree tree, kDataTreeItem item, const kChar* path, kDataTreeItem* child)
{
    kDataTreeClass* obj = Cast(tree);
    kCheckArgs(obj && child);
    return Resolve(obj, item, path, false, child);
}

kFx(kSize) kDataTree_ChildCount(kDataTree tree, kDataTreeItem item)
{
    kDataTreeClass* obj = Cast(tree);
    if (!obj) return 0;
    if (!item) return obj->root ? 1 : 0;
    return IsOwnItem(obj, item) ? item->childCount : 0;
}

kFx(kDataTreeItem) kDataTree_ChildAt(kDataTree tree, kDataTreeItem item, kSize index)
{
    kDataTreeClass* obj = Cast(tree);
    if (!obj || (item && !IsOwnItem(obj, item))) return kNULL;
    xkDataTreeNode* child = item ? item->firstChild : obj->root;
    for (kSize i = 0; child && i < index; ++i)
        child = child->next;
    return child;
}

kFx(kDataTreeItem) kDataTree_FirstChild(kDataTree tree, kDataTreeItem item)
{
    return kDataTree_ChildAt(tree, item, 0);
}

kFx(kDataTreeItem) kDataTree_NextSibling(kDataTree tree, kDataTreeItem item)
{
    kDataTreeClass* obj = Cast(tree);
    return (obj && IsOwnItem(obj, item)) ? item->next : kNULL;
}

kFx(kStatus) kDataTree_Child32s(kDataTree tree, kDataTreeItem item, const kChar* path, k32s* value)
{
    return Get(tree, item, path, kDATA_TREE_ITEM_32S, value);
}

kFx(kStatus) kDataTree_Child32u(kDataTree tree, kDataTreeItem item, const kChar* path, k32u* value)
{
    return Get(tree, item, path, kDATA_TREE_ITEM_32U, value);
}

kFx(kStatus) kDataTree_Child32f(kDataTree tree, kDataTreeItem item, const kChar* path, k32f* value)
{
    return Get(tree, item, path, kDATA_TREE_ITEM_32F, value);
}

kFx(kStatus) kDataTree_Child64s(kDataTree tree, kDataTreeItem item, const kChar* path, k64s* value)
{
    return Get(tree, item, path, kDATA_TREE_ITEM_64S, value);
}

kFx(kStatus) kDataTree_Child64f(kDataTree tree, kDataTreeItem item, const kChar* path, k64f* value)
{
    return Get(tree, item, path, kDATA_TREE_ITEM_64F, value);
}

kFx(kStatus)
    kDataTree_ChildBool(kDataTree tree, kDataTreeItem item, const kChar* path, kBool* value)
{
    xkDataTreeNode* node = kNULL;
    kCheckArgs(value);
    kCheck(FindValue(tree, item, path, kDATA_TREE_ITEM_BOOL, &node));
    *value = node->value.b;
    return kOK;
}

kFx(kStatus)
    kDataTree_ChildSize(kDataTree tree, kDataTreeItem item, const kChar* path, kSize* value)
{
    return Get(tree, item, path, kDATA_TREE_ITEM_SIZE, value);
}

kFx(kStatus) kDataTree_ChildText(kDataTree tree, kDataTreeItem item, const kChar* path,
                                 kChar* buffer, kSize capacity)
{
    xkDataTreeNode* node = kNULL;
    kCheck(FindValue(tree, item, path, kDATA_TREE_ITEM_TEXT, &node));
    kSize length = strlen(node->value.text);
    if (!buffer || length >= capacity)
    {
        if (buffer && capacity > 0) buffer[0] = '\0';
        return kSTATUS_BAD_PARAMETER;
    }
    memcpy(buffer, node->value.text, length + 1);
    return kOK;
}

kFx(kStatus)
    kDataTree_ChildString(kDataTree tree, kDataTreeItem item, const kChar* path, kString value)
{
    xkDataTreeNode* node = kNULL;
    kCheck(FindValue(tree, item, path, kDATA_TREE_ITEM_TEXT, &node));
    return kString_Set(value, node->value.text);
}

kFx(kStatus)
    kDataTree_ChildData(kDataTree tree, kDataTreeItem item, const kChar* path, kObject* data)
{
    xkDataTreeNode* node = kNULL;
    kCheckArgs(data);
    kCheck(FindValue(tree, item, path, kDATA_TREE_ITEM_DATA, &node));
    *data = node->value.data;
    return kOK;
}

kFx(kStatus)
    kDataTree_SetChild32s(kDataTree tree, kDataTreeItem item, const kChar* path, k32s value)
{
    return Set(tree, item, path, kDATA_TREE_ITEM_32S, value);
}

kFx(kStatus)
    kDataTree_SetChild32u(kDataTree tree, kDataTreeItem item, const kChar* path, k32u value)
{
    return Set(tree, item, path, kDATA_TREE_ITEM_32U, value);
}

kFx(kStatus)
    kDataTree_SetChild32f(kDataTree tree, kDataTreeItem item, const kChar* path, k32f value)
{
    return Set(tree, item, path, kDATA_TREE_ITEM_32F, value);
}

kFx(kStatus)
    kDataTree_SetChild64s(kDataTree tree, kDataTreeItem item, const kChar* path, k64s value)
{
    return Set(tree, item, path, kDATA_TREE_ITEM_64S, value);
}

kFx(kStatus)
    kDataTree_SetChild64f(kDataTree tree, kDataTreeItem item, const kChar* path, k64f value)
{
    return Set(tree, item, path, kDATA_TREE_ITEM_64F, value);
}

kFx(kStatus)
    kDataTree_SetChildBool(kDataTree tree, kDataTreeItem item, const kChar* path, kBool value)
{
    kDataTreeClass* obj = Cast(tree);
    xkDataTreeNode* node = kNULL;
    kCheckArgs(obj);
    kCheck(Resolve(obj, item, path, true, &node));
    ClearValue(obj->base.alloc, node);
    node->type = kDATA_TREE_ITEM_BOOL;
    node->value.b = value ? kTRUE : kFALSE;
    return kOK;
}

kFx(kStatus)
    kDataTree_SetChildSize(kDataTree tree, kDataTreeItem item, const kChar* path, kSize value)
{
    return Set(tree, item, path, kDATA_TREE_ITEM_SIZE, value);
}

kFx(kStatus)
    kDataTree_SetChildText(kDataTree tree, kDataTreeItem item, const kChar* path, const kChar* text)
{
    kDataTreeClass* obj = Cast(tree);
    xkDataTreeNode* node = kNULL;
    kCheckArgs(obj && text);
    kCheck(Resolve(obj, item, path, true, &node));
    return SetText(obj, node, text, strlen(text));
}

kFx(kStatus)
    kDataTree_SetChildData(kDataTree tree, kDataTreeItem item, const kChar* path, kObject data)
{
    kDataTreeClass* obj = Cast(tree);
    xkDataTreeNode* node = kNULL;
    kObject copy = kNULL;
    kCheckArgs(obj && data);
    kCheck(Resolve(obj, item, path, true, &node));
    kCheck(kObject_Clone(&copy, data, obj->base.alloc));
    SetData(obj, node, copy);
    return kOK;
}

kFx(kStatus)
    kDataTree_PutChildData(kDataTree tree, kDataTreeItem item, const kChar* path, kObject data)
{
    kDataTreeClass* obj = Cast(tree);
    xkDataTreeNode* node = kNULL;
    kCheckArgs(obj && xkCastClass_ObjectIs(data, kTypeOf(kObject)));
    kCheck(Resolve(obj, item, path, true, &node));
    SetData(obj, node, data);
    return kOK;
}

kFx(kObject) kDataTree_ItemData(kDataTree tree, kDataTreeItem item)
{
    kDataTreeClass* obj = Cast(tree);
    if (!obj || !IsOwnItem(obj, item) || item->type != kDATA_TREE_ITEM_DATA) return kNULL;
    return item->value.data;
}

kFx(const kChar*) kDataTreeItem_Name(kDataTreeItem item) { return item ? item->name : ""; }

kFx(kDataTreeItemType) kDataTreeItem_Type(kDataTreeItem item)
{
    return item ? item->type : kDATA_TREE_ITEM_NONE;
}

kFx(kStatus) kDataTreeItem_GetData(kDataTreeItem item, kObject* data)
{
    kCheckArgs(item && data);
    if (item->type != kDATA_TREE_ITEM_DATA) return kSTATUS_BAD_FORMAT;
    *data = item->value.data;
    return kOK;
}
