// Delta stream decoder: any event lists and parameters must decode or be refused with -997,
// never write outside the items. The items sit between guard words that must survive.
//
// Input: prediction (4 bytes), the four bit counts (1 byte each), the item count (2 bytes),
// the counts of first fails, second fails and null runs (1 byte each), then the pairs of the
// three event lists (8 bytes each, in that order) and the deltas (4 bytes each) from the rest.
#include <kSolan/kSolan.h>
#include <kSolan/kpp/Vs/kppDeltaCompressor.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace
{
using kpp::Vs::DeltaCompressor;

struct Reader
{
    const uint8_t* data;
    size_t size;

    template <typename T>
    T Take()
    {
        T value{};
        const size_t n = size < sizeof(T) ? size : sizeof(T);
        memcpy(&value, data, n);
        data += n;
        size -= n;
        return value;
    }
};

kArrayList ListOf(kType type, Reader& in, size_t count, size_t itemSize)
{
    kArrayList list = kNULL;
    if (!kSuccess(kArrayList_Construct(&list, type, 0, kNULL))) abort();
    const size_t n = count * itemSize <= in.size ? count : in.size / itemSize;
    if (!kSuccess(kArrayList_Import(list, type, in.data, n))) abort();
    in.data += n * itemSize;
    in.size -= n * itemSize;
    return list;
}

template <typename Item, typename Accessor>
void Decode(const DeltaCompressor& codec, const DeltaCompressor::Encoding& encoding, kSize count)
{
    const k32u guard = 0xA5A5A5A5u;
    std::vector<Item> items(count + 2);
    memcpy(&items.front(), &guard, 4);
    memcpy(&items.back(), &guard, 4);
    kStatus status = codec.Decode<Item, Accessor>(encoding, items.data() + 1, count);
    if (!kSuccess(status) && status != kSTATUS_BAD_PARAMETER) abort();
    if (memcmp(&items.front(), &guard, 4) || memcmp(&items.back(), &guard, 4)) abort();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static kAssembly assembly = []
    {
        kAssembly a = kNULL;
        if (!kSuccess(kSolan_Construct(&a))) abort();
        return a;
    }();
    (void)assembly;

    Reader in{data, size};
    DeltaCompressor codec;
    codec.Prediction() = in.Take<k32s>();
    codec.DeltaBitCount() = in.Take<k8u>();
    codec.FailFirstBitCount() = in.Take<k8u>();
    codec.FailSecondBitCount() = in.Take<k8u>();
    codec.IndexBitCount() = in.Take<k8u>();
    const kSize count = in.Take<k16u>();
    const size_t firstCount = in.Take<k8u>(), secondCount = in.Take<k8u>(),
                 nullCount = in.Take<k8u>();

    const kType pairType = kTypeOf(kVsDeltaCompressorPair);
    kArrayList first = ListOf(pairType, in, firstCount, 8);
    kArrayList second = ListOf(pairType, in, secondCount, 8);
    kArrayList nulls = ListOf(pairType, in, nullCount, 8);
    kArrayList deltas = ListOf(kTypeOf(k32s), in, in.size / 4, 4);

    DeltaCompressor::Encoding encoding;
    if (!kSuccess(encoding.firstFails.Attach(first)) ||
        !kSuccess(encoding.secondFails.Attach(second)) || !kSuccess(encoding.nulls.Attach(nulls)) ||
        !kSuccess(encoding.deltas.Attach(deltas)))
        abort();
    kObject_Destroy(first);
    kObject_Destroy(second);
    kObject_Destroy(nulls);
    kObject_Destroy(deltas);

    Decode<kCompactSpot, DeltaCompressor::CompactSpotCenterAccessor>(codec, encoding, count);
    Decode<kPhasePixel2, DeltaCompressor::Pixel2IntensityAccessor>(codec, encoding, count);
    return 0;
}
