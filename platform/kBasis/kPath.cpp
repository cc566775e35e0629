#include <kBasis/kPath.h>

#include <cstring>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace
{
kStatus Emit(const std::string& value, kChar* result, kSize capacity)
{
    kCheckArgs(value.size() < capacity);
    memcpy(result, value.c_str(), value.size() + 1);
    return kOK;
}

/* Runs a path computation whose text may need memory; the standard library reports that by
   throwing. */
template <typename Compute>
kStatus Produce(kChar* result, kSize capacity, Compute compute)
{
    try
    {
        return Emit(compute(), result, capacity);
    }
    catch (const std::bad_alloc&)
    {
        return kSTATUS_MEMORY;
    }
}
} // namespace

kFx(kChar) kPath_Separator(void) { return '/'; }

kFx(kBool) kPath_IsAbsolute(const kChar* path) { return path && path[0] == '/'; }

kFx(kStatus) kPath_Combine(const kChar* path1, const kChar* path2, kChar* result, kSize capacity)
{
    kCheckArgs(path1 && path2 && result);
    return Produce(result, capacity,
                   [&]
                   {
                       if (!path2[0]) return std::string(path1);
                       return (fs::path(path1) / path2).string();
                   });
}

kFx(kStatus) kPath_Directory(const kChar* path, kChar* result, kSize capacity)
{
    kCheckArgs(path && result);
    return Produce(result, capacity,
                   [&]
                   {
                       std::string text(path);
                       kSize last = text.find_last_of('/');
                       if (last == std::string::npos) return std::string();
                       kSize end = text.find_last_not_of('/', last);
                       return end == std::string::npos ? std::string("/") : text.substr(0, end + 1);
                   });
}

kFx(kStatus) kPath_FileName(const kChar* path, kChar* result, kSize capacity)
{
    kCheckArgs(path && result);
    return Produce(result, capacity, [&] { return fs::path(path).filename().string(); });
}

kFx(kStatus) kPath_Extension(const kChar* path, kChar* result, kSize capacity)
{
    kCheckArgs(path && result);
    return Produce(result, capacity,
                   [&]
                   {
                       std::string extension = fs::path(path).extension().string();
                       return extension.empty() ? extension : extension.substr(1);
                   });
}
