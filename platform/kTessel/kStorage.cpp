#include <kTessel/kNode.x.h>
#include <kBasis/kDirectory.h>
#include <kBasis/kFile.h>
#include <kBasis/kPath.h>
#include <kBasis/kString.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace
{
/* One in-memory file. */
struct Entry
{
    kChar name[kSTORAGE_NAME_CAPACITY];
    kMemory data;
};
} // namespace

struct kStorageClass
{
    kObjectClass base;
    kNode node;                              // records calls when set (borrowed)
    kMemory entries;                         // Entry records in name order (memory storage)
    kChar directory[kSTORAGE_NAME_CAPACITY]; // root of a directory storage, or ""
};

kDefineClass(kStorage, kObject);

namespace
{
kSize EntryCount(kStorageClass* obj) { return kMemory_Length(obj->entries) / sizeof(Entry); }
Entry* EntryAt(kStorageClass* obj, kSize index)
{
    return static_cast<Entry*>(kMemory_At(obj->entries, index * sizeof(Entry)));
}

/* Name without its leading separators; null for an empty or too long name. */
const kChar* Normalize(const kChar* name)
{
    if (!name) return kNULL;
    while (*name == '/')
        ++name;
    kSize length = strlen(name);
    return (length == 0 || length >= kSTORAGE_NAME_CAPACITY) ? kNULL : name;
}

/* Index of the first entry whose name is not below name. */
kSize LowerBound(kStorageClass* obj, const kChar* name)
{
    kSize index = 0;
    while (index < EntryCount(obj) && strcmp(EntryAt(obj, index)->name, name) < 0)
        ++index;
    return index;
}

Entry* Find(kStorageClass* obj, const kChar* name)
{
    kSize index = LowerBound(obj, name);
    return (index < EntryCount(obj) && strcmp(EntryAt(obj, index)->name, name) == 0)
               ? EntryAt(obj, index)
               : kNULL;
}

kStatus HostPath(kStorageClass* obj, const kChar* name, kChar* path)
{
    return kPath_Combine(obj->directory, name, path, kSTORAGE_NAME_CAPACITY * 2);
}

bool IsDirectoryStorage(kStorageClass* obj) { return obj->directory[0] != 0; }

/* Regular files under a directory storage, as storage names, in name order. */
std::vector<std::string> DirectoryNames(kStorageClass* obj)
{
    std::vector<std::string> names;
    std::error_code ec;
    for (auto it = std::filesystem::recursive_directory_iterator(obj->directory, ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec))
    {
        if (it->is_regular_file(ec))
            names.push_back(
                std::filesystem::relative(it->path(), obj->directory, ec).generic_string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

/* Writes a file: into a new or existing memory entry, or to the directory. */
kStatus Store(kStorageClass* obj, const kChar* name, const void* data, kSize size)
{
    if (IsDirectoryStorage(obj))
    {
        kChar path[kSTORAGE_NAME_CAPACITY * 2], parent[kSTORAGE_NAME_CAPACITY * 2];
        kCheck(HostPath(obj, name, path));
        kCheck(kPath_Directory(path, parent, sizeof(parent)));
        std::error_code ec;
        std::filesystem::create_directories(parent, ec);
        return kFile_Save(path, data, size);
    }

    Entry* existing = Find(obj, name);
    if (existing)
    {
        kCheck(kMemory_Allocate(existing->data, size));
        return kMemCopy(kMemory_At(existing->data, 0), data, size);
    }

    Entry entry = {};
    kStatus status;
    strcpy(entry.name, name);
    kCheck(kMemory_Construct(&entry.data, kObject_Alloc(obj)));
    kTest(kMemory_Append(entry.data, data, size));
    {
        kSize index = LowerBound(obj, name), count = EntryCount(obj);
        kTest(kMemory_Allocate(obj->entries, (count + 1) * sizeof(Entry)));
        kMemMove(EntryAt(obj, index + 1), EntryAt(obj, index), (count - index) * sizeof(Entry));
        *EntryAt(obj, index) = entry;
    }
    return kOK;

cleanup:
    kObject_Destroy(entry.data);
    return status;
}
} // namespace

static kStatus xkStorage_VRelease(kObject storage)
{
    kStorageClass* obj = kCastRaw(kStorage, storage);
    for (kSize i = 0; obj->entries && i < EntryCount(obj); ++i)
        kCheck(kDestroyRef(&EntryAt(obj, i)->data));
    kCheck(kDestroyRef(&obj->entries));
    return xkObject_VRelease(storage);
}

kFx(kStatus) xxkStorage_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kStorage, kObject));
    return kAddVMethod(kStorage, VRelease);
}

kStatus xkStorage_Construct(kStorage* storage, kNode node, const kChar* directory, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kStorageClass* obj = kNULL;
    kStatus status;

    kCheckArgs(storage && (!directory || strlen(directory) < sizeof(obj->directory)));
    kCheckTrue(!directory || kDirectory_Exists(directory), kSTATUS_NOT_FOUND);
    kCheck(kAlloc_GetObject(alloc, kTypeOf(kStorage), &obj));
    if (!kSuccess(status = kObject_Init(obj, kTypeOf(kStorage), alloc)) ||
        !kSuccess(status = kMemory_Construct(&obj->entries, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    obj->node = node;
    if (directory) strcpy(obj->directory, directory);
    *storage = obj;
    return kOK;
}

kFx(kStatus) kStorage_Construct(kStorage* storage, const kChar* directory, kAlloc allocator)
{
    return xkStorage_Construct(storage, kNULL, directory, allocator);
}

kFx(kBool) kStorage_FileExists(kStorage storage, const kChar* name)
{
    k64u size = 0;
    return kSuccess(kStorage_FileSize(storage, name, &size)) ? kTRUE : kFALSE;
}

kFx(kStatus) kStorage_FileSize(kStorage storage, const kChar* name, k64u* size)
{
    kObjR(kStorage, storage);
    const kChar* file = Normalize(name);
    kCheckArgs(size);
    kCheckTrue(file, kSTATUS_NOT_FOUND);
    if (IsDirectoryStorage(obj))
    {
        kChar path[kSTORAGE_NAME_CAPACITY * 2];
        kCheck(HostPath(obj, file, path));
        kCheckTrue(kFile_Exists(path), kSTATUS_NOT_FOUND);
        *size = kFile_Size(path);
        return kOK;
    }
    Entry* entry = Find(obj, file);
    kCheckTrue(entry, kSTATUS_NOT_FOUND);
    *size = kMemory_Length(entry->data);
    return kOK;
}

kFx(kStatus) kStorage_ListFiles(kStorage storage, kArrayList names)
{
    kObjR(kStorage, storage);
    std::vector<std::string> found;

    kCheckArgs(kObject_Is(names, kTypeOf(kArrayList)));
    if (IsDirectoryStorage(obj))
        found = DirectoryNames(obj);
    else
        for (kSize i = 0; i < EntryCount(obj); ++i)
            found.push_back(EntryAt(obj, i)->name);

    kCheck(kArrayList_Purge(names));
    kCheck(kArrayList_Allocate(names, kTypeOf(kString), found.size()));
    for (const std::string& name : found)
    {
        kString text = kNULL;
        kCheck(kString_Construct(&text, name.c_str(), kObject_Alloc(names)));
        kStatus status = kArrayList_Add(names, &text);
        if (!kSuccess(status))
        {
            kObject_Destroy(text);
            return status;
        }
    }
    return kOK;
}

kFx(kStatus) kStorage_Delete(kStorage storage, const kChar* name)
{
    kObjR(kStorage, storage);
    const kChar* file = Normalize(name);
    kCheck(xkNode_Call(obj->node, "kStorage_Delete", "%s", name ? name : ""));
    kCheckTrue(file, kSTATUS_NOT_FOUND);
    if (IsDirectoryStorage(obj))
    {
        kChar path[kSTORAGE_NAME_CAPACITY * 2];
        kCheck(HostPath(obj, file, path));
        kCheckTrue(kFile_Exists(path), kSTATUS_NOT_FOUND);
        return kFile_Delete(path);
    }
    Entry* entry = Find(obj, file);
    kCheckTrue(entry, kSTATUS_NOT_FOUND);
    kSize index = (kSize)(entry - EntryAt(obj, 0)), count = EntryCount(obj);
    kCheck(kObject_Destroy(entry->data));
    kMemMove(EntryAt(obj, index), EntryAt(obj, index + 1), (count - index - 1) * sizeof(Entry));
    return kMemory_Allocate(obj->entries, (count - 1) * sizeof(Entry));
}

kFx(kStatus) kStorage_TempDirectory(kStorage storage, kChar* directory, kSize capacity)
{
    kObjR(kStorage, storage);
    kCheckArgs(directory && capacity > 4);
    strcpy(directory, "temp");
    return kOK;
}

kFx(kStatus) kStorage_DownloadToBuffer(kStorage storage, const kChar* name, void** data,
                                       kSize* size, kAlloc allocator)
{
    kObjR(kStorage, storage);
    const kChar* file = Normalize(name);
    kCheckArgs(data && size);
    kCheck(xkNode_Call(obj->node, "kStorage_DownloadToBuffer", "%s", name ? name : ""));
    kCheckTrue(file, kSTATUS_NOT_FOUND);
    *data = kNULL;
    *size = 0;
    if (IsDirectoryStorage(obj))
    {
        kChar path[kSTORAGE_NAME_CAPACITY * 2];
        kCheck(HostPath(obj, file, path));
        return kFile_Load(path, data, size, allocator);
    }
    Entry* entry = Find(obj, file);
    kCheckTrue(entry, kSTATUS_NOT_FOUND);
    kSize length = kMemory_Length(entry->data);
    kCheck(kAlloc_Get(allocator, length, data));
    *size = length;
    return kMemCopy(*data, kMemory_At(entry->data, 0), length);
}

kFx(kStatus) kStorage_DownloadToFile(kStorage storage, const kChar* name, const kChar* path)
{
    void* data = kNULL;
    kSize size = 0;
    kCheckArgs(path);
    kCheck(kStorage_DownloadToBuffer(storage, name, &data, &size, kNULL));
    kStatus status = kFile_Save(path, data, size);
    kMemFree(data);
    return status;
}

kFx(kStatus) kStorage_DownloadToStream(kStorage storage, const kChar* name, kStream stream)
{
    void* data = kNULL;
    kSize size = 0;
    kCheck(kStorage_DownloadToBuffer(storage, name, &data, &size, kNULL));
    kStatus status = kStream_Write(stream, data, size);
    kMemFree(data);
    return status;
}

kFx(kStatus)
    kStorage_UploadFromBuffer(kStorage storage, const kChar* name, const void* data, kSize size)
{
    kObjR(kStorage, storage);
    const kChar* file = Normalize(name);
    kCheck(xkNode_Call(obj->node, "kStorage_UploadFromBuffer", "%s", name ? name : ""));
    kCheckArgs(file && (data || size == 0));
    return Store(obj, file, data, size);
}

kFx(kStatus)
    kStorage_UploadFromStream(kStorage storage, const kChar* name, kStream stream, kSize size)
{
    void* data = kNULL;
    kCheck(kMemAlloc(size, &data));
    kStatus status = kStream_Read(stream, data, size);
    if (kSuccess(status)) status = kStorage_UploadFromBuffer(storage, name, data, size);
    kMemFree(data);
    return status;
}
