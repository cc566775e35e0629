/* Files of the fuzz targets: inputs reach the readers through the file system. */
#ifndef K_FUZZ_FILES_H
#define K_FUZZ_FILES_H

#include <kBasis.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

namespace kfuzz
{
/* A file of this process in the temporary directory. */
inline std::string TempPath(const char* name)
{
    kChar dir[1024], path[1200];
    const std::string file = std::string(name) + "-" + std::to_string(getpid());
    if (!kSuccess(kDirectory_Temp(dir, sizeof(dir))) ||
        !kSuccess(kPath_Combine(dir, file.c_str(), path, sizeof(path))))
        abort();
    return path;
}

/* Whole contents of a file, compared byte for byte. */
inline std::vector<uint8_t> ReadFile(const std::string& path)
{
    void* data = kNULL;
    kSize size = 0;
    if (!kSuccess(kFile_Load(path.c_str(), &data, &size, kNULL))) abort();
    std::vector<uint8_t> bytes(static_cast<uint8_t*>(data), static_cast<uint8_t*>(data) + size);
    kMemFree(data);
    return bytes;
}

} // namespace kfuzz

#endif
