#include <kBasis/kDirectory.h>

#include <cstring>
#include <filesystem>

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
