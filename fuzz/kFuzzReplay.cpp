// Runs a fuzz target over files and folders of inputs without libFuzzer, so that the corpus
// of every reader is replayed by the ordinary test suite. Exit status 0 when every input ran.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace
{
void Run(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                               std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}
} // namespace

int main(int argc, char** argv)
{
    size_t count = 0;
    for (int i = 1; i < argc; ++i)
    {
        std::filesystem::path path(argv[i]);
        if (std::filesystem::is_directory(path))
        {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(path))
                if (entry.is_regular_file()) Run(entry.path()), ++count;
        }
        else if (std::filesystem::is_regular_file(path))
            Run(path), ++count;
        else
        {
            fprintf(stderr, "no such input: %s\n", argv[i]);
            return 2;
        }
    }
    printf("%zu inputs replayed\n", count);
    return count ? 0 : 1;
}
