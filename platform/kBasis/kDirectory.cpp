#include <kBasis/kDirectory.h>
#include <kBasis/kString.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace fs = std::filesystem;

kFx(kStatus) kDirectory_Create(const kChar* path)
{
    kCheckArgs(path && path[0]);
    std::error_code error;
    fs::create_directories(path, error);
    return !error && fs::is_directory(path, error) ? kOK : kSTATUS_STREAM;
}

kFx(kBool) kDirectory_Exists(const kChar* path)
{
    std::error_code error;
    return path && fs::is_directory(path, error);
}

namespace
{
kStatus ReadNames(const kChar* path, std::vector<std::string>& names)
{
    std::error_code error;
    fs::directory_iterator it(path, error);
    kCheckTrue(!error, kSTATUS_STREAM);
    for (; it != fs::directory_iterator(); it.increment(error))
    {
        kCheckTrue(!error, kSTATUS_STREAM);
        if (it->is_regular_file(error)) names.push_back(it->path().filename().string());
    }
    kCheckTrue(!error, kSTATUS_STREAM);
    std::sort(names.begin(), names.end());
    return kOK;
}

kStatus BuildList(const std::vector<std::string>& names, kArrayList list, kAlloc allocator)
{
    for (const std::string& name : names)
    {
        kString text = kNULL;
        kCheck(kString_Construct(&text, name.c_str(), allocator));
        kStatus status = kArrayList_Add(list, &text);
        if (!kSuccess(status))
        {
            kObject_Destroy(text);
            return status;
        }
    }
    return kOK;
}
} // namespace

kFx(kStatus) kDirectory_ListFiles(const kChar* path, kArrayList* files, kAlloc allocator)
{
    kCheckArgs(path && files);
    *files = kNULL;
    kCheckTrue(kDirectory_Exists(path), kSTATUS_NOT_FOUND);

    std::vector<std::string> names;
    try
    {
        kCheck(ReadNames(path, names));
    }
    catch (const std::bad_alloc&)
    {
        return kSTATUS_MEMORY;
    }

    kArrayList list = kNULL;
    kStatus status;
    kTest(kArrayList_Construct(&list, kTypeOf(kString), names.size(), allocator));
    kTest(BuildList(names, list, allocator));
    *files = list;
    return kOK;

cleanup:
    kObject_Dispose(list);
    return status;
}

kFx(kStatus) kDirectory_Temp(kChar* result, kSize capacity)
{
    kCheckArgs(result);
    std::error_code error;
    fs::path temp = fs::temp_directory_path(error);
    kCheckTrue(!error, kSTATUS_NOT_FOUND);
    const std::string& text = temp.native();
    kCheckArgs(text.size() < capacity);
    memcpy(result, text.c_str(), text.size() + 1);
    return kOK;
}
