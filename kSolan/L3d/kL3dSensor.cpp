/**
 * @file    kL3dSensor.cpp
 */
#include <kSolan/L3d/kL3dSensor.h>

#include <kSolan/L3d/kL3dDataFile.h>

#include <climits>
#include <cstdlib>
#include <cstring>

namespace
{
const kChar* const kIdentityRoot = "Id";

// A sensor-directory path: longest storage name or local path this family builds.
struct Path
{
    kChar chars[kSTORAGE_NAME_CAPACITY];
};

const kChar* DirectoryOf(kStorage storage, const kChar* directory)
{
    if (directory == kNULL || directory[0] == 0) return storage ? "" : ".";
    return directory;
}

kStatus Join(Path* path, const kChar* directory, const kChar* name)
{
    return kPath_Combine(directory, name, path->chars, sizeof(path->chars));
}

// A storage name relative to the root, without leading or trailing separators.
kStatus StorageDirectory(Path* path, const kChar* directory)
{
    while (*directory == '/')
        ++directory;
    kCheck(kStrCopy(path->chars, sizeof(path->chars), directory));
    kSize n = strlen(path->chars);
    while (n > 0 && path->chars[n - 1] == '/')
        path->chars[--n] = 0;
    return kOK;
}

// Bare names of the files directly in a sensor directory: a new kArrayList of kString.
kStatus ListFiles(kStorage storage, const kChar* directory, kArrayList* names, kAlloc alloc)
{
    if (storage == kNULL) return kDirectory_ListFiles(directory, names, alloc);

    Path dir;
    kCheck(StorageDirectory(&dir, directory));
    const kSize prefix = dir.chars[0] == 0 ? 0 : strlen(dir.chars) + 1;

    kArrayList all = kNULL, out = kNULL;
    kStatus status;
    kTest(kArrayList_Construct(&all, kTypeOf(kString), 0, alloc));
    kTest(kStorage_ListFiles(storage, all));
    kTest(kArrayList_Construct(&out, kTypeOf(kString), 0, alloc));
    for (kSize i = 0; i < kArrayList_Count(all); ++i)
    {
        kString* name = (kString*)kArrayList_At(all, i);
        const kChar* text = kString_Chars(*name);
        const bool inside =
            prefix == 0 || (strncmp(text, dir.chars, prefix - 1) == 0 && text[prefix - 1] == '/');
        if (!inside || strchr(text + prefix, '/') != kNULL) continue;

        kString bare = kNULL;
        kTest(kString_Construct(&bare, text + prefix, alloc));
        if (!kSuccess(status = kArrayList_Add(out, &bare)))
        {
            kObject_Destroy(bare);
            goto cleanup;
        }
    }
    *names = out;
    out = kNULL;
cleanup:
    kObject_Dispose(out);
    kObject_Dispose(all);
    return status;
}

kStatus CopyFile(kStorage storage, const kChar* from, const kChar* to)
{
    kStream source = kNULL, destination = kNULL;
    kStatus status;
    kTest(kL3dFile_Get(storage, from, kTRUE, &source, kNULL));
    kTest(kL3dFile_Get(storage, to, kFALSE, &destination, kNULL));
    kTest(kStream_CopyAll(destination, source));
    status = kStream_Flush(destination);
cleanup:
    kObject_Destroy(destination);
    kObject_Destroy(source);
    return status;
}

kStatus DeleteFile(kStorage storage, const kChar* path)
{
    return storage ? kStorage_Delete(storage, path) : kFile_Delete(path);
}

// Backing a directory up onto itself would empty each file before copying it.
bool SameDirectory(kStorage storage, const kChar* a, const kChar* b)
{
    Path pa, pb;
    if (storage == kNULL)
    {
        kChar ra[PATH_MAX], rb[PATH_MAX];
        if (realpath(a, ra) && realpath(b, rb)) return strcmp(ra, rb) == 0;
        return false;
    }
    return kSuccess(StorageDirectory(&pa, a)) && kSuccess(StorageDirectory(&pb, b)) &&
           strcmp(pa.chars, pb.chars) == 0;
}
} // namespace

kFx(kStatus)
    kL3dSensor_ReadIdentity(kL3dSensorIdentity* identity, kStorage storage, const kChar* directory)
{
    kXml xml = kNULL;
    kCheck(kL3dSensor_ReadXml(&xml, storage, directory, kL3D_SENSOR_IDENTITY_FILE_NAME, kNULL));

    kL3dSensorIdentity id = {};
    kXmlItem root = kXml_Root(xml);
    kStatus status =
        root && kStrEquals(kXml_ItemName(xml, root), kIdentityRoot) ? kOK : kSTATUS_BAD_FORMAT;
    if (kSuccess(status)) status = kXml_Child32u(xml, root, "SerialNumber", &id.serialNumber);
    if (kSuccess(status))
        status = kXml_ChildText(xml, root, "Model", id.model.chars, sizeof(id.model.chars));
    if (kSuccess(status)) status = kXml_Child32u(xml, root, "CameraCount", &id.cameraCount);
    if (kSuccess(status)) *identity = id;
    kObject_Destroy(xml);
    return status;
}

kFx(kStatus) kL3dSensor_WriteIdentity(const kL3dSensorIdentity* identity, kStorage storage,
                                      const kChar* directory)
{
    kCheckArgs(identity && memchr(identity->model.chars, 0, sizeof(identity->model.chars)));
    kXml xml = kNULL;
    kXmlItem root = kNULL;
    kStatus status;
    kTest(kXml_Construct(&xml, kNULL));
    kTest(kXml_AddItem(xml, kNULL, kIdentityRoot, &root));
    kTest(kXml_SetChild32u(xml, root, "SerialNumber", identity->serialNumber));
    kTest(kXml_SetChildText(xml, root, "Model", identity->model.chars));
    kTest(kXml_SetChild32u(xml, root, "CameraCount", identity->cameraCount));
    status = kL3dSensor_WriteXml(xml, storage, directory, kL3D_SENSOR_IDENTITY_FILE_NAME);
cleanup:
    kObject_Destroy(xml);
    return status;
}

kFx(kStatus) kL3dSensor_ReadXml(kXml* xml, kStorage storage, const kChar* directory,
                                const kChar* fileName, kAlloc allocator)
{
    Path path;
    kCheck(Join(&path, DirectoryOf(storage, directory), fileName));
    kStream stream = kNULL;
    kCheck(kL3dFile_Get(storage, path.chars, kTRUE, &stream, kNULL));
    kStatus status = kXml_Read(xml, stream, allocator);
    kObject_Destroy(stream);
    return status;
}

kFx(kStatus)
    kL3dSensor_WriteXml(kXml xml, kStorage storage, const kChar* directory, const kChar* fileName)
{
    kCheckArgs(kObject_Is(xml, kTypeOf(kXml)));
    Path path;
    kCheck(Join(&path, DirectoryOf(storage, directory), fileName));
    kStream stream = kNULL;
    kCheck(kL3dFile_Get(storage, path.chars, kFALSE, &stream, kNULL));
    kStatus status = kXml_Write(xml, stream);
    if (kSuccess(status)) status = kStream_Flush(stream);
    kObject_Destroy(stream);
    return status;
}

kFx(kStatus)
    kL3dSensor_BackupFiles(kStorage storage, const kChar* directory, const kChar* backupDirectory)
{
    const kChar* dir = DirectoryOf(storage, directory);
    const kChar* backup = DirectoryOf(storage, backupDirectory);
    kCheckArgs(!SameDirectory(storage, dir, backup));

    kArrayList names = kNULL;
    kCheck(ListFiles(storage, dir, &names, kNULL));
    kStatus status = storage ? kOK : kDirectory_Create(backup);
    for (kSize i = 0; i < kArrayList_Count(names) && kSuccess(status); ++i)
    {
        const kChar* name = kString_Chars(*(kString*)kArrayList_At(names, i));
        Path from, to;
        if (kSuccess(status = Join(&from, dir, name)) && kSuccess(status = Join(&to, backup, name)))
            status = CopyFile(storage, from.chars, to.chars);
    }
    kObject_Dispose(names);
    return status;
}

kFx(kStatus) kL3dSensor_ClearFiles(kStorage storage, const kChar* directory)
{
    const kChar* dir = DirectoryOf(storage, directory);
    kArrayList names = kNULL;
    kCheck(ListFiles(storage, dir, &names, kNULL));
    kStatus status = kOK;
    for (kSize i = 0; i < kArrayList_Count(names) && kSuccess(status); ++i)
    {
        Path path;
        if (kSuccess(status = Join(&path, dir, kString_Chars(*(kString*)kArrayList_At(names, i)))))
            status = DeleteFile(storage, path.chars);
    }
    kObject_Dispose(names);
    return status;
}

kFx(kStatus) kL3dSensor_AcquisitionPoint(kChar* name, kSize capacity, k32u camera, k32u state)
{
    return kStrPrintf(name, capacity, "Camera %u/State %u", camera, state);
}

kFx(kStatus) kL3dHealthMsg_GetStatById(kHealthMsg msg, k32u id, k64s* value)
{
    const kObject content = kHealthMsg_Content(msg);
    if (!kObject_Is(content, kTypeOf(kArrayList)) ||
        kArrayList_ItemType(content) != kTypeOf(kHealthStat))
        return kSTATUS_NOT_FOUND;

    const kHealthStat* stats = (const kHealthStat*)kArrayList_Data(content);
    for (kSize i = 0; i < kArrayList_Count(content); ++i)
    {
        if (stats[i].id == id)
        {
            *value = stats[i].value;
            return kOK;
        }
    }
    return kSTATUS_NOT_FOUND;
}

kFx(kStatus) kL3dStamp_UpdateWindow(kStamp* stamp, const kL3dCameraWindow* window)
{
    kCheckArgs(stamp && window);
    const kL3dCameraWindow& w = *window;
    kCheckArgs(w.xSubsampling > 0 && w.ySubsampling > 0 && w.xSubsampling <= k8U_MAX &&
               w.ySubsampling <= k8U_MAX);
    kCheckArgs(w.x <= k16U_MAX && w.y <= k16U_MAX && w.width <= k16U_MAX && w.height <= k16U_MAX);

    stamp->roiX = (k16u)w.x;
    stamp->roiY = (k16u)w.y;
    stamp->roiWidth = (k16u)w.width;
    stamp->roiHeight = (k16u)w.height;
    stamp->roiXSubsampling = (k8u)w.xSubsampling;
    stamp->roiYSubsampling = (k8u)w.ySubsampling;
    stamp->width = (k16u)(w.width / w.xSubsampling);
    stamp->height = (k16u)(w.height / w.ySubsampling);
    return kOK;
}
