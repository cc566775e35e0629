/* Shared body of the kdat loader targets: bytes go through a file to kLoad5 or kLoad6. */
#ifndef K_DAT_FUZZ_H
#define K_DAT_FUZZ_H

#include "kFuzzFiles.h"
#include "../tests/support/kDatTestFiles.h"

#include <kTessel.h>

#include <cstring>

/* libFuzzer's own mutator; absent (null) when the target replays its corpus as a test. */
extern "C" __attribute__((weak)) size_t LLVMFuzzerMutate(uint8_t* data, size_t size,
                                                         size_t maxSize);

namespace kdatfuzz
{
typedef kStatus (*LoadFx)(kObject* object, const kChar* fileName, kAlloc allocator);
typedef kStatus (*SaveFx)(kObject object, const kChar* fileName);

/*
 * Any bytes load or give one of the content statuses. A loaded object saves, loads again, and
 * saves to the same bytes the second time.
 */
inline void Check(const uint8_t* data, size_t size, LoadFx load, SaveFx save)
{
    static const std::string input = kfuzz::TempPath("kdat-in"), first = kfuzz::TempPath("kdat-a"),
                             second = kfuzz::TempPath("kdat-b");
    if (!kSuccess(kFile_Save(input.c_str(), data, size))) abort();

    kObject object = kNULL;
    kStatus status = load(&object, input.c_str(), kNULL);
    if (!kSuccess(status))
    {
        if (object || (status != kSTATUS_BAD_FORMAT && status != kSTATUS_INCOMPLETE &&
                       status != kSTATUS_BAD_VERSION && status != kSTATUS_MEMORY))
            abort();
        return;
    }

    kObject again = kNULL;
    if (!kSuccess(save(object, first.c_str()))) abort();
    if (!kSuccess(load(&again, first.c_str(), kNULL))) abort();
    if (!kSuccess(save(again, second.c_str()))) abort();
    if (kfuzz::ReadFile(first) != kfuzz::ReadFile(second)) abort();
    kObject_Dispose(again);
    kObject_Dispose(object);
}

/*
 * Half of the mutations damage the payload of an uncompressed frame and seal it again (lengths,
 * checksums, header CRC), so that the readers of every type meet the damage instead of the
 * checksums stopping it.
 */
inline size_t Mutate(uint8_t* data, size_t size, size_t maxSize, unsigned seed)
{
    constexpr size_t kHeaders = 16 + 48;
    k32u flags = 0;
    if (size >= kHeaders) memcpy(&flags, data + 20, 4);
    if (seed % 2 || size < kHeaders || maxSize <= kHeaders || memcmp(data, "kDAT", 4) != 0 ||
        memcmp(data + 16, "FRAM", 4) != 0 || flags != 0)
        return LLVMFuzzerMutate(data, size, maxSize);

    size_t payload = LLVMFuzzerMutate(data + kHeaders, size - kHeaders, maxSize - kHeaders);
    ktest::Bytes bytes(data + kHeaders, data + kHeaders + payload);
    k64u length = payload, a = 0, b = 0;
    ktest::ReferenceChecksum(bytes, &a, &b);
    memcpy(data + 24, &length, 8);
    memcpy(data + 32, &length, 8);
    memcpy(data + 40, &a, 8);
    memcpy(data + 48, &b, 8);
    k32u crc = ktest::ReferenceCrc32(data + 16, 44);
    memcpy(data + 60, &crc, 4);
    return kHeaders + payload;
}
} // namespace kdatfuzz

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned int seed)
{
    return kdatfuzz::Mutate(data, size, maxSize, seed);
}

#endif
